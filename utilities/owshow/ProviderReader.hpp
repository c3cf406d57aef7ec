// SPDX-License-Identifier: Apache-2.0
//
// Reads the record of a provider as a tree: its registration, what it serves, what its MOF has
// declared, and its privilege files.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "utilities/owshow/Sections.hpp"

namespace OwShow {

/// Adds a file, with `ifMissing` behind it when it does not exist, or with the reason why that is
/// not known. Does not open it.
void addFile(Node& tree, const String& label, const String& path, const char* ifMissing);

class ProviderReader {
public:
    /// `prefix` is in front of the files.
    ProviderReader(OpenWBEM::CIMOMHandleIFC& handle, String prefix, Budget& budget)
        : m_handle(handle), m_prefix(std::move(prefix)), m_budget(budget) {}

    Node read(const OpenWBEM::CIMInstance& record);

private:
    void addRegistration(Node& tree, const OpenWBEM::CIMObjectPath& path);
    void addServed(Node& tree, const OpenWBEM::CIMInstance& instance);
    void addDeclared(Node& tree, const OpenWBEM::CIMInstance& record);

    OpenWBEM::CIMOMHandleIFC& m_handle;
    String m_prefix;
    Budget& m_budget;
};

}  // namespace OwShow
