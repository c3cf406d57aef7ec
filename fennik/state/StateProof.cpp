// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateProof.hpp"

#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/state/SavedObject.hpp"
#include "fennik/state/StateFormat.hpp"
#include "fennik/state/StateNames.hpp"
#include "fennik/state/StateReading.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2::StateProof {

using namespace StateFormat;
using blocxx::Format;
using OpenWBEM::CIMException;
using OpenWBEM::CIMOMHandleIFCRef;

namespace {

/// From this size on, the handle's caches are released before the MOF is compiled.
constexpr size_t LARGE_MOF = size_t{1024} * 1024;

/// The identifier of a provider, as in the MOF of its registration instance.
String instanceID(const XMLNode& provider) {
    const StringArray mofs =
        extractChildInstanceArrays(provider.mustFindChild(REGISTRATION_INSTANCES), INSTANCE_MOF);
    constexpr std::string_view BEFORE = "InstanceID = ";
    const String mof = mofs.empty() ? String() : mofs.front();
    const size_t at = mof.find(BEFORE);
    return at == String::npos
               ? String("without an identifier")
               : mof.substr(at + BEFORE.size(), mof.find(';', at) - at - BEFORE.size());
}

/// Size and hash. Every repair changes the size; the hash is for repairs that cancel out.
using Fingerprint = std::pair<size_t, size_t>;

Fingerprint fingerprint(const String& mof) {
    return {mof.size(), std::hash<String>()(mof)};
}

/// Proves one product.
class Proof {
public:
    Proof(const String& name, const CIMOMHandleIFCRef& handle) : m_name(name), m_handle(handle) {}

    void prove(const XMLNode& product) const;

private:
    [[noreturn]] void refuse(const String& what, const blocxx::Exception* reason = nullptr,
                             CallSite place = CallSite::here()) const;
    void refuseFault(const String& fault, CallSite place = CallSite::here()) const;
    void proveChild(const XMLNode& child) const;
    void proveUsers(const XMLNode& users) const;
    void proveNamespaces(const XMLNode& registration) const;
    void proveProviders(const XMLNode& providers) const;
    void proveContent(const XMLNode& content) const;
    void compile(const String& ns, String& mof) const;

    const String& m_name;
    const CIMOMHandleIFCRef& m_handle;
};

void Proof::refuse(const String& what, const blocxx::Exception* reason, CallSite place) const {
    throw FennikException(Format("The state of product \"%1\" cannot be saved: %2", m_name, what),
                          ErrorCode::STATE_FILE_NOT_WRITTEN, reason, place);
}

void Proof::refuseFault(const String& fault, CallSite place) const {
    if (!fault.empty()) {
        refuse(fault +
                   ", so it could not be restored. Deregister the product, or what has that "
                   "name, and register it under another one.",
               nullptr, place);
    }
}

void Proof::prove(const XMLNode& product) const {
    try {
        // XML cannot represent most control characters, or bytes that are not UTF-8.
        if (!product.survivesRoundTrip()) {
            refuse("it would be read as another");
        }
    } catch (const OpenWBEM::XMLNodeException& e) {
        refuse(e.getMessage(), &e);
    }
    refuseFault(StateNames::productFault(m_name));
    for (const XMLNode& child : product.getChildren()) {
        proveChild(child);
    }
}

void Proof::proveChild(const XMLNode& child) const {
    if (child.getName() == ALLOWED_USERS) {
        proveUsers(child);
    } else if (child.getName() == NAMESPACE_REGISTRATION) {
        proveNamespaces(child);
    } else if (child.getName() == REGISTERED_PROVIDERS) {
        proveProviders(child);
    } else if (child.getName() == PRODUCT_INSTANCES) {
        for (const XMLNode& content : child.getChildren()) {
            proveContent(content);
        }
    }
}

void Proof::proveUsers(const XMLNode& users) const {
    for (const XMLNode& user : users.getChildren()) {
        refuseFault(StateNames::userFault(user.getText()));
    }
    StateReading::restoreAllowedUsers(users);
}

void Proof::proveNamespaces(const XMLNode& registration) const {
    for (const XMLNode& ns : registration.getChildren()) {
        refuseFault(StateNames::namespaceFault(ns.mustFindChild(NAME).getText()));
        for (const XMLNode& entry : childrenByName(ns, NAMESPACE_ACL_ENTRY)) {
            refuseFault(StateNames::userFault(entry.mustFindChild(USER_NAME).getText()));
        }
    }
}

void Proof::proveProviders(const XMLNode& providers) const {
    for (const XMLNode& provider : providers.getChildren()) {
        const auto fail = [&](const blocxx::Exception& e) {
            refuse(Format("its provider %1 could not be registered again: %2\nRegister the "
                          "providers of the product anew (--register-providers), then save again.",
                          instanceID(provider), e.getMessage()),
                   &e);
        };
        try {
            StateReading::providerRegistration(provider, m_handle);
        } catch (const OpenWBEM::MOF::MOFCompilerException& e) {
            fail(e);
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::INVALID_PARAMETER) {
                throw;  // the handle's own failure
            }
            fail(e);
        }
    }
}

// Moves the MOF out of its element meanwhile. A second copy, beside the compiled objects, would be
// the largest use of memory of a large save.
void Proof::proveContent(const XMLNode& content) const {
    const String& ns = content.mustFindChild(NAME).getText();
    XMLNode text = content.mustFindChild(INSTANCE_MOF);
    String mof = text.takeText();
    if (mof.size() >= LARGE_MOF) {
        m_handle->releaseMemory();
    }
    const Fingerprint before = fingerprint(mof);
    mof = StateReading::repairedMof(StateReading::childText(content, NAME), std::move(mof));
    if (fingerprint(mof) != before) {
        refuse(Format("the content of its namespace %1 would be read as another", ns));
    }
    compile(ns, mof);
    text.setText(std::move(mof));
}

void Proof::compile(const String& ns, String& mof) const {
    try {
        OpenWBEM::MOF::checkMOF(mof, CIMOMHandleIFCRef(), ns);
    } catch (const OpenWBEM::MOF::MOFCompilerException& e) {
        const SavedObject object = findSavedObject(mof, e.getSourceLine(), ns, *m_handle);
        refuse(Format("%1 could not be restored: %2\n%3, then save again.", object.name,
                      e.getMessage(), object.repair),
               &e);
    }
}

}  // namespace

void prove(const XMLNode& product, const String& name, const CIMOMHandleIFCRef& handle) {
    log().debug("Proving that product \"%1\" can be restored", name);
    Proof(name, handle).prove(product);
}

}  // namespace KOVNS2::StateProof
