// SPDX-License-Identifier: Apache-2.0
//
// The repository of an installation, for a utility. Uses the daemon for this machine's repository
// when one answers; otherwise opens the repository directly.
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

    /// Opens the repository below `prefix`; an empty one means this machine's. Throws CIMException
    /// when there is no repository or it cannot be opened.
    static std::unique_ptr<Repository> open(const String& prefix);

    virtual CIMOMHandleIFCRef handle() const = 0;
    /// Passes the names of all namespaces to `result`. Throws CIMException, ACCESS_DENIED when the
    /// daemon does not let the user list them.
    virtual void enumNameSpace(StringResultHandlerIFC& result) const = 0;
    /// Compares names without regard to case. Also true when the daemon does not let the user list
    /// the namespaces.
    virtual bool hasNameSpace(const String& name) const = 0;
    /// Creates the objects, or modifies those that exist. Throws ObjectStoringException.
    virtual void store(const String& ns, const ObjectsToStore& objects) = 0;
    /// True: everything done through the handle is rolled back unless close() succeeds. False: each
    /// operation is committed when it returns.
    virtual bool isUnitOfWork() const = 0;
    /// Makes everything durable. Throws CIMException.
    virtual void close() = 0;
};

}  // namespace OwUtilities
