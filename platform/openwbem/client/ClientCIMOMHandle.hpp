// SPDX-License-Identifier: Apache-2.0
//
// Carries out the operations of CIMOMHandleIFC through the running daemon. Each call is one round
// trip and is committed when it returns; commit() makes it durable. Enumerations arrive in
// portions. Operations throw the CIMExceptions that a repository opened directly would throw, and
// CIMException FAILED when the daemon cannot be reached or the connection is lost.
//
// A handle belongs to one thread and cannot be shared with a child process. Releasing a handle
// never fails, even when its daemon has gone.
#pragma once

#include <memory>

#include "openwbem/client/WBEMProtocolHandler.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/model/ObjectStoring.hpp"

namespace OpenWBEM {

class ClientConnection;
struct ClientCall;

/// The kernel identifies the user of the local transport, which encrypts nothing. References of
/// these types are always null.
class ClientAuthCBIFC : public blocxx::IntrusiveCountableBase {};
using ClientAuthCBIFCRef = blocxx::IntrusiveReference<ClientAuthCBIFC>;
class SSLClientCtx : public blocxx::IntrusiveCountableBase {};
using SSLClientCtxRef = blocxx::IntrusiveReference<SSLClientCtx>;

class ClientCIMOMHandle : public CIMOMHandleIFC {
public:
    /// The daemon of this machine.
    static constexpr const char* LOCAL_URL = "owbinary.wbem://localhost:owipc";

    /// A handle that connects at its first call. `url` is LOCAL_URL or "owbinary.wbem://localhost:"
    /// with the absolute path of a daemon's socket. Throws CIMException INVALID_PARAMETER for any
    /// other.
    static blocxx::IntrusiveReference<ClientCIMOMHandle> createFromURL(
        const String& url, const ClientAuthCBIFCRef& authCallback = ClientAuthCBIFCRef(),
        const SSLClientCtxRef& sslContext = SSLClientCtxRef());
    ~ClientCIMOMHandle() override;

    const WBEMProtocolHandlerRef& getWBEMProtocolHandler() const noexcept { return m_protocol; }
    /// Whether a daemon answers; any user may ask. Throws CIMException FAILED when none does.
    void ping();

    // CIMOMHandleIFC
    void enumClass(const String& ns, const String& className, CIMClassResultHandlerIFC& result,
                   EDeepFlag deep, ELocalOnlyFlag localOnly,
                   EIncludeQualifiersFlag includeQualifiers,
                   EIncludeClassOriginFlag includeClassOrigin) override;
    void enumClassNames(const String& ns, const String& className, StringResultHandlerIFC& result,
                        EDeepFlag deep) override;
    CIMClass getClass(const String& ns, const String& className, ELocalOnlyFlag localOnly,
                      EIncludeQualifiersFlag includeQualifiers,
                      EIncludeClassOriginFlag includeClassOrigin,
                      const StringArray* propertyList) override;
    void createClass(const String& ns, const CIMClass& cls) override;
    void modifyClass(const String& ns, const CIMClass& cls) override;
    void deleteClass(const String& ns, const String& className) override;
    void enumInstances(const String& ns, const String& className,
                       CIMInstanceResultHandlerIFC& result, EDeepFlag deep,
                       ELocalOnlyFlag localOnly, EIncludeQualifiersFlag includeQualifiers,
                       EIncludeClassOriginFlag includeClassOrigin,
                       const StringArray* propertyList) override;
    void enumInstanceNames(const String& ns, const String& className,
                           CIMObjectPathResultHandlerIFC& result) override;
    CIMInstance getInstance(const String& ns, const CIMObjectPath& path, ELocalOnlyFlag localOnly,
                            EIncludeQualifiersFlag includeQualifiers,
                            EIncludeClassOriginFlag includeClassOrigin,
                            const StringArray* propertyList) override;
    CIMObjectPath createInstance(const String& ns, const CIMInstance& instance) override;
    void modifyInstance(const String& ns, const CIMInstance& instance,
                        EIncludeQualifiersFlag includeQualifiers,
                        const StringArray* propertyList) override;
    void deleteInstance(const String& ns, const CIMObjectPath& path) override;
    CIMQualifierType getQualifierType(const String& ns, const String& name) override;
    void enumQualifierTypes(const String& ns, CIMQualifierTypeResultHandlerIFC& result) override;
    void setQualifierType(const String& ns, const CIMQualifierType& qualifierType) override;
    void deleteQualifierType(const String& ns, const String& name) override;
    void associators(const String& ns, const CIMObjectPath& path,
                     CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                     EIncludeQualifiersFlag includeQualifiers,
                     EIncludeClassOriginFlag includeClassOrigin,
                     const StringArray* propertyList) override;
    void associatorNames(const String& ns, const CIMObjectPath& path,
                         CIMObjectPathResultHandlerIFC& result,
                         const AssociationFilter& filter) override;
    void references(const String& ns, const CIMObjectPath& path,
                    CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                    EIncludeQualifiersFlag includeQualifiers,
                    EIncludeClassOriginFlag includeClassOrigin,
                    const StringArray* propertyList) override;
    void referenceNames(const String& ns, const CIMObjectPath& path,
                        CIMObjectPathResultHandlerIFC& result,
                        const AssociationFilter& filter) override;
    void associatorsClasses(const String& ns, const CIMObjectPath& path,
                            CIMClassResultHandlerIFC& result, const AssociationFilter& filter,
                            EIncludeQualifiersFlag includeQualifiers,
                            EIncludeClassOriginFlag includeClassOrigin,
                            const StringArray* propertyList) override;
    void referencesClasses(const String& ns, const CIMObjectPath& path,
                           CIMClassResultHandlerIFC& result, const AssociationFilter& filter,
                           EIncludeQualifiersFlag includeQualifiers,
                           EIncludeClassOriginFlag includeClassOrigin,
                           const StringArray* propertyList) override;
    /// Makes the daemon sync everything that its calls have committed.
    void commit() override;

    /// Creates the objects, or modifies those that exist, many of them in one transaction each.
    /// Throws ObjectStoringException for an object that cannot be stored, and CIMException when the
    /// connection fails. The transactions before the failure stay.
    void store(const String& ns, const ObjectsToStore& objects);

private:
    explicit ClientCIMOMHandle(const String& socketPath);

    String carryOut(const ClientCall& call);
    /// Passes each result, decoded by `decode`, to `result`.
    template <class T, class Decode>
    void enumerate(const ClientCall& call, ResultHandlerIFC<T>& result, Decode decode);

    WBEMProtocolHandlerRef m_protocol;
    std::unique_ptr<ClientConnection> m_connection;
};
using ClientCIMOMHandleRef = blocxx::IntrusiveReference<ClientCIMOMHandle>;

}  // namespace OpenWBEM
