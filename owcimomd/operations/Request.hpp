// SPDX-License-Identifier: Apache-2.0
//
// What clients ask for, whatever the form in which they have sent it. A request is unpacked once
// its user has the right to it, so that nobody else can make the daemon work.
#pragma once

#include <functional>

#include "openwbem/model/OperationCall.hpp"

namespace OwCimomd {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

/// An operation with its arguments. The functions throw CIMException for what the client has sent
/// amiss.
class Request {
public:
    virtual ~Request() = default;

    /// Null when there is no such operation.
    virtual const OperationTraits* traits() const = 0;
    virtual String ns() const = 0;
    /// Called once. The call refers to this.
    virtual OperationCall unpack() = 0;
};

/// Objects to be created, or changed where they exist, in the order of the functions.
class Storing {
public:
    virtual ~Storing() = default;

    /// Throws CIMException INVALID_PARAMETER when there are more objects than are allowed.
    virtual void check() const = 0;
    virtual String ns() const = 0;
    virtual size_t qualifierTypes() const = 0;
    virtual size_t classes() const = 0;
    virtual size_t instances() const = 0;
    virtual CIMQualifierType qualifierType(size_t index) const = 0;
    virtual CIMClass cls(size_t index) const = 0;
    virtual CIMInstance instance(size_t index) const = 0;
    /// Whether the class `index` is just like `existing`, so that nothing has to be written.
    virtual bool isSame(size_t index, const CIMClass& existing) const = 0;
};

/// Something that an operation has found or made.
using Result = std::variant<const String*, const CIMClass*, const CIMInstance*,
                            const CIMQualifierType*, const CIMObjectPath*>;
using ResultReceiver = std::function<void(const Result&)>;

}  // namespace OwCimomd
