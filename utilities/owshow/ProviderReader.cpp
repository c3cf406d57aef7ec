// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/ProviderReader.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"

namespace OwShow {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
using blocxx::Format;
using Layout::INTEROP_NS;
using Layout::KOV_NS;
namespace PrivilegeFiles = KOVNS2::PrivilegeFiles;
namespace ProviderModel = KOVNS2::ProviderModel;
using ProviderModel::text;

namespace {

/// The values of an array of strings, with `separator` in front of each.
String listed(const CIMValue& values, const char* separator) {
    String text;
    for (size_t i = 0; values.isArray() && i < values.getArraySize(); ++i) {
        text += separator + values.getElement(i).toString();
    }
    return text;
}

}  // namespace

void addFile(Node& tree, const String& label, const String& path, const char* ifMissing) {
    struct stat status {};
    String text = label + ": " + path;
    if (::lstat(blocxx::FileSystem::systemPath(path), &status) != 0) {
        text += Format(" (%1)", errno == ENOENT ? ifMissing : std::strerror(errno)).toString();
    }
    tree.add(std::move(text));
}

Node ProviderReader::read(const CIMInstance& record) {
    Node tree{text(record, "RegistrationInstanceID"), {}};
    if (record.getClassName() != ProviderModel::OOP1_PROVIDER) {
        tree.text = CIMObjectPath(KOV_NS, record).toString();
        return tree;
    }
    m_budget.take(tree.text);
    CIMObjectPath path(text(record, "RegistrationClassName"), INTEROP_NS);
    path.setKeyValue("InstanceID", CIMValue(tree.text));
    addSection(tree, "registration: " + path.toString(),
               [&](Node& section) { addRegistration(section, path); });
    addDeclared(tree, record);
    addFile(tree, "privilege file of the agent",
            m_prefix + PrivilegeFiles::oopPrivilegeFile(ProviderModel::keysOnly(path)), "missing");
    return tree;
}

void ProviderReader::addRegistration(Node& tree, const CIMObjectPath& path) {
    const CIMInstance instance = m_handle.getInstance(INTEROP_NS, path);
    tree.add("program: " + text(instance, "Process") +
             listed(instance.getPropertyValue("Args"), " "));
    if (!instance.getPropertyValue(ProviderModel::PRIVILEGES_FILE).isNull()) {
        addFile(tree, "privilege file of the provider",
                m_prefix + PrivilegeFiles::providerPrivilegeFile(instance), "missing");
    }
    if (instance.getClassName() != ProviderModel::OOP_PROCESS) {
        addServed(tree, instance);
        return;
    }
    auto add = makeResultHandler<CIMInstance>(
        [&](const CIMInstance& capabilities) { addServed(tree, capabilities); });
    m_handle.associators(INTEROP_NS, path, add,
                         {.assocClass = ProviderModel::OOP_PROCESS_CAPABILITIES,
                          .resultClass = ProviderModel::OOP_CAPABILITIES,
                          .role = {},
                          .resultRole = {}});
}

void ProviderReader::addServed(Node& tree, const CIMInstance& instance) {
    Node& served = tree.add("serves " + text(instance, "ClassName"));
    const String namespaces = listed(instance.getPropertyValue("NamespaceNames"), " ");
    if (!namespaces.empty()) {
        served.text += " in" + namespaces;
    }
    m_budget.take(served.text);
}

void ProviderReader::addDeclared(Node& tree, const CIMInstance& record) {
    constexpr struct {
        const char* title;
        const char* property;
    } LISTS[] = {{"qualifier types", ProviderModel::MOF_QUALIFIER_TYPES},
                 {"classes", ProviderModel::MOF_CLASSES},
                 {"instances", ProviderModel::MOF_INSTANCES}};
    Node mof{"MOF in " + text(record, ProviderModel::MOF_NAMESPACE), {}};
    for (const auto& [title, property] : LISTS) {
        const CIMValue names = record.getPropertyValue(property);
        if (names.isArray() && names.getArraySize() > 0) {
            Node& list = mof.add(title);
            for (size_t i = 0; i < names.getArraySize(); ++i) {
                m_budget.take(list.add(names.getElement(i).toString()).text);
            }
        }
    }
    if (!mof.children.empty()) {
        tree.children.push_back(std::move(mof));
    }
}

}  // namespace OwShow
