// SPDX-License-Identifier: Apache-2.0
//
// Responses of DSP0200 (5.3, 5.4) in pieces, so that results can be sent while more are read: head,
// results, tail. A failure before the head is a response of its own.
#pragma once

#include "openwbem/cimxml/IntrinsicMethod.hpp"
#include "openwbem/cimxml/Writing.hpp"

namespace OpenWBEM::CIMXML {

/// Everything before the results: CIM to IRETURNVALUE (DSP0201 5.2.6), which a method without
/// results does not have.
void appendHead(String& out, const String& id, const IntrinsicCall& call);

// Append one result in the method's form (IntrinsicCall::form()); the results of a Pull... are
// those of the Open... that began the enumeration, and are appended with its call. `place`
// completes paths. The path of an instance is made of its keys unless it is given. They throw
// CIMException: FAILED as those of Writing.hpp do, and NO_SUCH_PROPERTY when GetProperty asks for
// one that the instance lacks. `out` is as before then.
void appendResult(String& out, const IntrinsicCall& call, const Place& place, const String& name);
void appendResult(String& out, const IntrinsicCall& call, const Place& place, const CIMClass& cls);
void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMInstance& instance);
void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMObjectPath& path, const CIMInstance& instance);
void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMObjectPath& path);
void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMQualifierType& qualifierType);
/// Of an operation that is no enumeration; nothing for none.
void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const OperationResult& result);
/// Of EnumerationCount.
void appendResult(String& out, const IntrinsicCall& call, uint64_t count);

/// Where a pulled enumeration stands after a response.
struct PullState {
    bool isAtEnd;
    String enumerationContext;  ///< of no meaning at the end
};

/// Everything after the results. `state` becomes the output parameters EndOfSequence and
/// EnumerationContext, which Open... and Pull... have (DSP0200 5.3.2.24).
void appendTail(String& out, const IntrinsicCall& call, const PullState* state = nullptr);

/// A whole response with an ERROR (DSP0201 5.2.6) to a request with that id and method.
String failure(const String& id, const String& method, const CIMException& e,
               bool isExtrinsic = false);

}  // namespace OpenWBEM::CIMXML
