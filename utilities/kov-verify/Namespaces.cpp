// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Namespaces.hpp"

#include "blocxx/Format.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/provider/ProviderModel.hpp"

namespace KovVerify {

namespace NamespaceModel = KOVNS2::NamespaceModel;
using blocxx::Format;
using KOVNS2::ProviderModel::text;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMValue;

namespace {

constexpr const char* ROOT = "root";

CIMInstance right(const String& ns, const String& user, const char* capability) {
    CIMInstance instance(NamespaceModel::USER_ACL);
    instance.setProperty("nspace", CIMValue(ns));
    instance.setProperty("username", CIMValue(user));
    instance.setProperty("capability", CIMValue(capability));
    return instance;
}

/// Checks one namespace.
class NamespaceCheck {
public:
    NamespaceCheck(Context& context, const String& product, const String& ns)
        : m_context(context), m_product(product), m_ns(ns) {
        const auto [first, last] = context.rights.equal_range(blocxx::toLower(ns));
        for (auto it = first; it != last; ++it) {
            m_rights.push_back(it->second);
        }
    }

    void run() const {
        if (!m_context.hasNamespace(m_ns)) {
            m_context.findings.add(Format("the namespace \"%1\" is missing", m_ns),
                                   registerAgain());
            return;
        }
        bool rootHasRights = false;
        for (const CIMInstance& present : m_rights) {
            check(present);
            rootHasRights = rootHasRights ||
                            (text(present, "nspace") == m_ns && text(present, "username") == ROOT);
        }
        if (!rootHasRights) {
            m_context.findings.add(Format("root has no rights in the namespace \"%1\"", m_ns),
                                   grant(ROOT, NamespaceModel::READ_WRITE));
        }
    }

private:
    /// Deletes the reservation with the rights, and registers the namespace for the same users.
    String registerAgain() const {
        Array<CIMObjectPath> gone{NamespaceModel::reservedByPath(m_product, m_ns),
                                  NamespaceModel::reservationPath(m_ns)};
        String arguments = "--register-namespace " + Commands::word(m_ns);
        bool hasUser = false;
        for (const CIMInstance& present : m_rights) {
            const String user = text(present, "username");
            const bool mayWrite = text(present, "capability") == NamespaceModel::READ_WRITE;
            gone.push_back(CIMObjectPath(NamespaceModel::SECURITY_NS, present));
            if (user != ROOT) {
                arguments += (mayWrite ? " --username " : " --ro-username ") + Commands::word(user);
            }
            hasUser = hasUser || (mayWrite && user != ROOT);
        }
        arguments += hasUser ? "" : " --username root";
        return m_context.commands.deleteInstances(gone) + " && " +
               m_context.commands.fennik(arguments, m_product);
    }

    String grant(const String& user, const char* capability) const {
        return m_context.commands.write(right(m_ns, user, capability), NamespaceModel::SECURITY_NS);
    }

    void check(const CIMInstance& present) const {
        const String user = text(present, "username");
        const String capability = text(present, "capability");
        if (text(present, "nspace") != m_ns) {
            m_context.findings.add(
                Format("\"%1\" has rights in the namespace \"%2\" under the name \"%3\", which "
                       "fennik does not know",
                       user, m_ns, text(present, "nspace")),
                m_context.commands.deleteInstances(
                    {CIMObjectPath(NamespaceModel::SECURITY_NS, present)}));
        } else if (user == ROOT ? capability != NamespaceModel::READ_WRITE
                                : capability != NamespaceModel::READ_WRITE &&
                                      capability != NamespaceModel::READ_ONLY) {
            const char* const wanted =
                user == ROOT ? NamespaceModel::READ_WRITE : NamespaceModel::READ_ONLY;
            m_context.findings.add(
                Format("\"%1\" has the rights \"%2\" in the namespace \"%3\", and fennik gives "
                       "%4; the command gives \"%5\"",
                       user, capability, m_ns,
                       user == ROOT ? "root \"rwRW\"" : "\"rwRW\" or \"rR\"", wanted),
                grant(user, wanted));
        }
    }

    Context& m_context;
    const String& m_product;
    const String& m_ns;
    Array<CIMInstance> m_rights;
};

}  // namespace

void readNamespaces(Context& context, const OwUtilities::Repository& repository) {
    auto addName = OpenWBEM::makeResultHandler<String>([&](const String& name) {
        context.budget.take(name);
        context.namespaces.insert(blocxx::toLower(name));
    });
    repository.enumNameSpace(addName);
    auto addRight = OpenWBEM::makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        context.rights.emplace(blocxx::toLower(text(instance, "nspace")), instance);
    });
    context.handle->enumInstances(NamespaceModel::SECURITY_NS, NamespaceModel::USER_ACL, addRight);
}

void checkNamespaces(Context& context, const String& product) {
    for (const String& ns : KOVNS2::listNamespaces(context.handle, product)) {
        NamespaceCheck(context, product, ns).run();
    }
}

}  // namespace KovVerify
