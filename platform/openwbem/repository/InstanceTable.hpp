// SPDX-License-Identifier: Apache-2.0
//
// The instances of the namespaces, and the index of the references that they hold.
#pragma once

#include <functional>
#include <optional>

#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/repository/Database.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace OpenWBEM {

struct InstanceRow {
    int64_t id;
    int64_t cls;
    CIMInstance instance;
};

/// That an instance of class `cls` refers to an object through its property `role` (in lower case).
struct ReferenceRow {
    int64_t instance;
    int64_t cls;
    String role;
};

class InstanceTable {
public:
    explicit InstanceTable(Database& database) : m_database(database) {}

    /// `key` is the canonical key of the path.
    std::optional<InstanceRow> find(int64_t ns, const String& key);
    std::optional<InstanceRow> read(int64_t id);
    bool hasInstances(int64_t cls);
    /// Greater than the id of any instance so far.
    int64_t nextId();

    /// False when an instance of that path exists. The path has its namespace.
    [[nodiscard]] bool insert(int64_t ns, int64_t cls, const CIMObjectPath& path,
                              const CIMInstance& instance);
    void update(int64_t ns, int64_t id, const CIMInstance& instance);
    void remove(int64_t id);

    /// Calls `visit` for each instance of exactly that class with an id below `end`, in the order
    /// of creation. Rows are read in portions, so `visit` may change the repository: an instance
    /// that is deleted meanwhile may still be delivered, one that is created from `end` on is not.
    void forEachInstance(int64_t cls, int64_t end, const std::function<void(CIMInstance)>& visit);
    /// The same for the paths, without a namespace, reading nothing else.
    void forEachPath(int64_t cls, int64_t end, const std::function<void(CIMObjectPath)>& visit);

    /// The same for the ids alone.
    void forEachRowId(int64_t cls, int64_t end, const std::function<void(int64_t)>& visit);

    /// References from instances of namespace `ns` to `target` (see targetKey), likewise in
    /// portions.
    void forEachReference(int64_t ns, const String& target,
                          const std::function<void(const ReferenceRow&)>& visit);

    /// How an object is named in the index of references.
    static String targetKey(const CIMObjectPath& path);

private:
    using Visit = std::function<void(int64_t id, Codec::Bytes)>;
    void forEachRow(const char* sql, int64_t cls, int64_t end, const Visit& visit);
    Array<ReferenceRow> referencesAfter(int64_t ns, const String& target, int64_t end,
                                        const ReferenceRow& last);
    void insertReferences(int64_t ns, int64_t id, const CIMInstance& instance);

    Database& m_database;
};

}  // namespace OpenWBEM
