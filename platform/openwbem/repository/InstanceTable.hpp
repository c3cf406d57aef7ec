// SPDX-License-Identifier: Apache-2.0
//
// The instances of the namespaces, and the index of the references that they hold.
#pragma once

#include <functional>
#include <optional>

#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/repository/Connection.hpp"
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
    explicit InstanceTable(Connection& connection) : m_connection(connection) {}

    /// `key` is the canonical key of the path.
    std::optional<InstanceRow> find(int64_t ns, const String& key);
    std::optional<int64_t> findId(int64_t ns, const String& key);
    std::optional<InstanceRow> read(int64_t id);
    bool hasInstances(int64_t cls);
    /// Greater than the id of any instance so far.
    int64_t nextId();

    /// False when an instance of that path exists. The path has its namespace.
    [[nodiscard]] bool insert(int64_t ns, int64_t cls, const CIMObjectPath& path,
                              const CIMInstance& instance);
    void update(int64_t ns, int64_t id, const CIMInstance& instance);
    void remove(int64_t id);

    /// What is read of a row, as it is stored.
    enum class Column { BODY, PATH };
    using Blob = std::pair<int64_t, String>;  // the id of the row and what was read
    /// The next rows of instances of exactly that class, with an id above `last` and below `end`,
    /// in the order of creation. Whoever goes through rows portion by portion may change the
    /// repository between them: a row that is deleted meanwhile may still be delivered, one that is
    /// created from `end` on is not.
    Array<Blob> blobsAfter(Column column, int64_t cls, int64_t last, int64_t end);
    /// The next references from instances of namespace `ns` to `target` (see targetKey), likewise.
    Array<ReferenceRow> referencesAfter(int64_t ns, const String& target, int64_t end,
                                        const ReferenceRow& last);
    /// Calls `visit`, which may change the row, for each instance of exactly that class.
    void forEach(int64_t cls, const std::function<void(int64_t id, const CIMInstance&)>& visit);

    /// How an object is named in the index of references.
    static String targetKey(const CIMObjectPath& path);

private:
    void insertReferences(int64_t ns, int64_t id, const CIMInstance& instance);

    Connection& m_connection;
};

}  // namespace OpenWBEM
