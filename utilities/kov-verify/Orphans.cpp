// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Orphans.hpp"

#include "blocxx/Format.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "utilities/kov-verify/PlacedFile.hpp"
#include "utilities/kov-verify/ProductFiles.hpp"

namespace KovVerify {

namespace NamespaceModel = KOVNS2::NamespaceModel;
namespace ProviderModel = KOVNS2::ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMObjectPath;

namespace {

constexpr std::string_view OWN_PRIVILEGE_FILES = "oop1-";

class OrphanCheck {
public:
    OrphanCheck(Context& context, const std::set<String>& products)
        : m_context(context), m_products(products) {}

    void run() {
        checkPrivilegeFiles(Layout::PRIVILEGES_DIRECTORY);
        checkPrivilegeFiles(Layout::AGENT_PRIVILEGES_DIRECTORY);
        checkAssociations(NamespaceModel::PRODUCT_RESERVED_NAMESPACE, "ReservedNamespace");
        checkAssociations(ProviderModel::PRODUCT_PROVIDER, "Provider");
        checkOwned(NamespaceModel::RESERVED_NAMESPACE, "the reservation");
        checkOwned(ProviderModel::PROVIDER, "the record of a provider");
        checkRights();
        checkEmptyNamespaces();
    }

private:
    void checkPrivilegeFiles(const char* place) {
        const String directory = m_context.tree.path(place);
        for (const String& name : namesIn(directory)) {
            const String path = directory + "/" + name;
            if (name.starts_with(OWN_PRIVILEGE_FILES) && !m_context.privilegeFiles.contains(path)) {
                m_context.findings.add(Format("\"%1\" is left over: no provider has it", path),
                                       PlacedFile(path).removal());
            }
        }
    }

    void report(const char* what, const CIMObjectPath& path) {
        m_context.findings.add(
            Format("%1 %2 is left over: no registered product has it", what, path.toString()),
            m_context.commands.deleteInstances({path}));
    }

    Array<CIMObjectPath> instancesOf(const char* className) {
        return m_context.handle->enumInstanceNamesA(Layout::KOV_NS, className);
    }

    /// Collects what associations give to a registered product, and reports those of others.
    void checkAssociations(const char* className, const char* end) {
        for (CIMObjectPath& path : instancesOf(className)) {
            const auto product = path.getKeyValue("Product").get<CIMObjectPath>();
            if (m_products.contains(product.getKeyValue("Name").toString())) {
                m_owned.insert(path.getKeyValue(end).get<CIMObjectPath>().canonicalKey());
            } else {
                report("the association", path.setNameSpace(Layout::KOV_NS));
            }
        }
    }

    void checkOwned(const char* className, const char* what) {
        for (CIMObjectPath& path : instancesOf(className)) {
            if (m_owned.contains(path.canonicalKey())) {
                m_reserved.insert(blocxx::toLower(path.getKeyValue("Name").toString()));
            } else {
                report(what, path.setNameSpace(Layout::KOV_NS));
            }
        }
    }

    void checkRights() {
        for (const auto& [ns, right] : m_context.rights) {
            if (!m_context.namespaces.contains(ns) && !m_reserved.contains(ns)) {
                m_context.findings.add(
                    Format("\"%1\" has rights in the namespace \"%2\", which does not exist",
                           right.getPropertyValue("username").toString(), ns),
                    m_context.commands.deleteInstances(
                        {CIMObjectPath(NamespaceModel::SECURITY_NS, right)}));
            }
        }
    }

    /// A failed --register-namespace leaves a namespace without content when the daemon runs.
    void checkEmptyNamespaces() {
        for (const String& ns : m_context.namespaces) {
            const bool isInstallations =
                ns == Layout::INTEROP_NS || ns == Layout::SECURITY_NS || ns == Layout::KOV_NS;
            if (!isInstallations && !m_reserved.contains(ns) &&
                m_context.handle->enumClassNamesA(ns, "").empty()) {
                m_context.findings.add(
                    Format("the namespace \"%1\" is left over: it has no classes, and no product "
                           "has reserved it",
                           ns),
                    m_context.commands.utility("owdeletenamespace --reserved", Commands::word(ns)));
            }
        }
    }

    Context& m_context;
    const std::set<String>& m_products;
    std::set<String> m_owned;
    std::set<String> m_reserved;
};

}  // namespace

void checkOrphans(Context& context, const std::set<String>& products) {
    checkForeignUsers(context, products);
    OrphanCheck(context, products).run();
}

}  // namespace KovVerify
