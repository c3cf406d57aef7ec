// SPDX-License-Identifier: Apache-2.0
//
// Reads registered products as trees: their users, files, namespaces with the users' rights, and
// providers. Throws CIMException that says what was attempted, but not for parts that the caller
// may not read or that are missing.
#pragma once

#include <map>
#include <optional>

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "utilities/owshow/Sections.hpp"

namespace OwShow {

using blocxx::StringArray;

class ProductReader {
public:
    /// `prefix` is in front of the files.
    ProductReader(OpenWBEM::CIMOMHandleIFC& handle, String prefix)
        : m_handle(handle), m_prefix(std::move(prefix)) {}

    /// The names of all products, sorted.
    StringArray names();
    Node read(const String& product);

private:
    /// "USER: RIGHTS", sorted, by the namespace in lower case.
    using Rights = std::map<String, StringArray>;

    void addUsers(Node& tree, const OpenWBEM::CIMInstance& product);
    void addFiles(Node& tree, const String& product);
    void addNamespaces(Node& tree, const String& product);
    void addProviders(Node& tree, const String& product);
    /// Reads the rights to all namespaces at the first call: no operation finds those to one.
    const Rights& rights();
    Rights readRights();

    OpenWBEM::CIMOMHandleIFC& m_handle;
    String m_prefix;
    Budget m_budget;
    std::optional<Rights> m_rights;
};

}  // namespace OwShow
