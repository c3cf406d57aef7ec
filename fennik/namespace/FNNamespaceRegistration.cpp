// SPDX-License-Identifier: Apache-2.0
#include "fennik/namespace/FNNamespaceRegistration.hpp"

#include <boost/bind/bind.hpp>

#include "blocxx/FileSystem.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/NameRules.hpp"
#include "fennik/common/TextUtils.hpp"
#include "fennik/namespace/NamespaceClashes.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/namespace/NamespaceUtils.hpp"
#include "layout/Layout.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2 {

using namespace OpenWBEM::WBEMFlags;
using namespace NamespaceModel;
using blocxx::FileSystem::getFileContents;
using blocxx::FileSystem::NamedBy;
using OpenWBEM::CIMClass;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMQualifierType;
using OpenWBEM::CIMValue;

namespace {

/// Registers namespaces for one product.
class Registration {
public:
    Registration(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                 const String& prefix, CleanupActions_t& undo)
        : m_handle(handle),
          m_productName(productName),
          m_qualifiersFile(prefix + Layout::QUALIFIERS_FILE),
          m_undo(undo),
          m_productPath(CheckProductRegistration(handle, productName)),
          m_namespaces(GetNSUtils(handle)) {}

    void registerNamespace(const String& ns, const StringArray& userNames,
                           const StringArray& readOnlyUserNames) {
        createNamespace(ns);
        grantAccess(ns, userNames, readOnlyUserNames);
        importQualifiers(ns);
        associate(ns, reserve(ns));
    }

private:
    void createNamespace(const String& ns) {
        log().debug("Creating namespace \"%1\"", ns);
        m_namespaces->CreateNamespace(ns);
        m_undo.push_back(boost::bind(&deleteNamespace, m_namespaces, ns));
    }

    void grantAccess(const String& ns, const StringArray& userNames,
                     const StringArray& readOnlyUserNames) {
        const CIMClass aclClass = fetchClass(SECURITY_NS, USER_ACL);
        for (const String& user : userNames) {
            if (user != "root") {
                log().debug("Giving user \"%1\" read/write access to \"%2\"", user, ns);
                createAccess(aclClass, ns, user, READ_WRITE);
            }
        }
        for (const String& user : readOnlyUserNames) {
            if (user != "root") {
                log().debug("Giving user \"%1\" read access to \"%2\"", user, ns);
                createAccess(aclClass, ns, user, READ_ONLY);
            }
        }
        log().debug("Giving root read/write access to \"%1\"", ns);
        createAccess(aclClass, ns, "root", READ_WRITE);
    }

    void createAccess(const CIMClass& aclClass, const String& ns, const String& user,
                      const char* capability) {
        CIMInstance access = aclClass.newInstance();
        access.setProperty("nspace", CIMValue(ns));
        access.setProperty("username", CIMValue(user));
        access.setProperty("capability", CIMValue(capability));
        create(SECURITY_NS, access);
    }

    void importQualifiers(const String& ns) {
        log().debug("Importing qualifiers into namespace \"%1\"", ns);
        for (const CIMQualifierType& qualifierType : standardQualifiers(ns)) {
            setUndoably(*m_handle, ns, qualifierType, m_undo);
        }
    }

    /// Compiled for the first namespace and used for all: the declarations are the same.
    const OpenWBEM::Array<CIMQualifierType>& standardQualifiers(const String& ns) {
        if (!m_qualifiersRead) {
            OpenWBEM::Array<CIMInstance> instances;
            OpenWBEM::Array<CIMClass> classes;
            OpenWBEM::MOF::compileMOF(getFileContents(m_qualifiersFile, NamedBy::US), m_handle, ns,
                                      instances, classes, m_qualifiers, m_qualifiersFile);
            m_qualifiersRead = true;
        }
        return m_qualifiers;
    }

    CIMObjectPath reserve(const String& ns) {
        log().debug("Marking namespace \"%1\" as reserved", ns);
        CIMInstance reservation = fetchClass(KOV_NS, RESERVED_NAMESPACE).newInstance();
        reservation.setProperty("Name", CIMValue(ns));
        return create(KOV_NS, reservation);
    }

    void associate(const String& ns, const CIMObjectPath& reservation) {
        log().debug("Creating product->namespace association \"%1\"->\"%2\"", m_productName, ns);
        CIMInstance association = fetchClass(KOV_NS, PRODUCT_RESERVED_NAMESPACE).newInstance();
        association.setProperty("Product", CIMValue(m_productPath));
        association.setProperty("ReservedNamespace", CIMValue(reservation));
        create(KOV_NS, association);
    }

    CIMClass fetchClass(const char* ns, const char* className) {
        return m_handle->getClass(ns, className, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                  E_INCLUDE_CLASS_ORIGIN);
    }

    CIMObjectPath create(const char* ns, const CIMInstance& instance) {
        return createUndoably(*m_handle, ns, instance, m_undo);
    }

    const OpenWBEM::CIMOMHandleIFCRef& m_handle;
    const String& m_productName;
    const String m_qualifiersFile;
    CleanupActions_t& m_undo;
    const CIMObjectPath m_productPath;
    const NamespaceUtilsRef m_namespaces;
    bool m_qualifiersRead = false;
    OpenWBEM::Array<CIMQualifierType> m_qualifiers;
};

}  // namespace

void registerNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                        const StringArray& userNames, const StringArray& readOnlyUserNames,
                        const StringArray& namespaces, const String& prefix,
                        CleanupActions_t& undo) {
    log().debug("Registering namespaces for product \"%1\": \"%2\"", productName,
                untokenize(namespaces, "\" \""));
    CheckNSBeginWithProd(namespaces, productName, ErrorCode::FOREIGN_NAMESPACE_TO_REGISTER);
    Registration registration(handle, productName, prefix, undo);
    NameRules::checkUsers(userNames);
    NameRules::checkUsers(readOnlyUserNames);
    NamespaceClashes::checkUsers(userNames, readOnlyUserNames);
    NamespaceClashes::checkNamespaces(*handle, namespaces);
    NamespaceClashes::checkInstances(*handle, productName, userNames, readOnlyUserNames,
                                     namespaces);
    for (const String& ns : namespaces) {
        registration.registerNamespace(ns, userNames, readOnlyUserNames);
    }
}

namespace {

void removeAccess(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const StringArray& users) {
    log().debug("Removing user permissions for namespace \"%1\"", ns);
    for (const String& user : users) {
        handle.deleteInstance(SECURITY_NS, accessPath(ns, user));
    }
}

void removeReservation(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                       const String& ns) {
    log().debug("Deleting product->namespace association");
    handle.deleteInstance(KOV_NS, reservedByPath(productName, ns));
    log().debug("Deleting namespace reservation for \"%1\"", ns);
    handle.deleteInstance(KOV_NS, reservationPath(ns));
}

}  // namespace

void deregisterNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName,
                          const StringArray& namespaces) {
    log().debug("Deregistering namespaces for product \"%1\": \"%2\"", productName,
                untokenize(namespaces, "\" \""));
    CheckNSBeginWithProd(namespaces, productName, ErrorCode::FOREIGN_NAMESPACE_TO_DEREGISTER);
    CheckProductRegistration(handle, productName);
    const NamespaceUtilsRef namespaceUtils = GetNSUtils(handle);
    for (const String& ns : namespaces) {
        StringArray users;
        loadNamespaceUsers(handle, ns, users);
        removeAccess(*handle, ns, users);
        log().debug("Deleting namespace \"%1\"", ns);
        namespaceUtils->DeleteNamespace(ns);
        removeReservation(*handle, productName, ns);
    }
}

StringArray listNamespaces(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& productName) {
    log().debug("Obtaining registered namespaces for product \"%1\"", productName);
    StringArray namespaces;
    auto appendName = OpenWBEM::makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        namespaces.push_back(instance.getPropertyValue("Name").toString());
    });
    handle->associators(KOV_NS, productPath(productName), appendName,
                        {.assocClass = PRODUCT_RESERVED_NAMESPACE,
                         .resultClass = RESERVED_NAMESPACE,
                         .role = {},
                         .resultRole = {}});
    log().debug("Product \"%1\" has registered namespaces \"%2\"", productName,
                untokenize(namespaces, "\" \""));
    return namespaces;
}

void loadNamespaceUsers(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& ns,
                        StringArray& userNames) {
    log().debug("Obtaining valid users for namespace \"%1\"", ns);
    auto appendUser = OpenWBEM::makeResultHandler<CIMInstance>([&](const CIMInstance& access) {
        if (access.getPropertyValue("nspace").toString() == ns) {
            userNames.push_back(access.getPropertyValue("username").toString());
        }
    });
    handle->enumInstances(SECURITY_NS, USER_ACL, appendUser);
    log().debug("Found users \"%1\"", untokenize(userNames, "\" \""));
}

}  // namespace KOVNS2
