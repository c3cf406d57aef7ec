// SPDX-License-Identifier: Apache-2.0
//
// The repository of an installation, for a utility: that of this machine through the daemon when it
// answers, any other and any that no daemon serves opened directly.
#pragma once

#include <memory>

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/model/ObjectStoring.hpp"

namespace OwUtilities {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

class Repository {
public:
    Repository() = default;
    virtual ~Repository() = default;
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    /// `prefix` empty: this machine's. Throws CIMException when there is none, or it cannot be
    /// used.
    static std::unique_ptr<Repository> open(const String& prefix);

    virtual CIMOMHandleIFCRef handle() const = 0;
    virtual bool hasNameSpace(const String& name) const = 0;
    /// Creates the objects, or changes them where they exist. Throws ObjectStoringException.
    virtual void store(const String& ns, const ObjectsToStore& objects) = 0;
    /// Whether everything done through the handle is undone unless close() succeeds. Otherwise each
    /// operation stays, whatever fails afterwards.
    virtual bool isUnitOfWork() const = 0;
    /// Makes everything durable. Throws CIMException.
    virtual void close() = 0;
};

}  // namespace OwUtilities
