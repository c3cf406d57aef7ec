// SPDX-License-Identifier: Apache-2.0
//
// Part of Operations: the arguments of a request, as the operations of a repository take them.
#pragma once

#include "openwbem/wire/CIMCodec.hpp"
#include "owcimomd/operations/Operations.hpp"

namespace OwCimomd {

class Operations::Arguments {
public:
    /// Throws CIMException INVALID_PARAMETER for more or longer names than Operations allows.
    explicit Arguments(wire::Request::Reader request);
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    CIMClass cls() const;
    CIMInstance instance() const;
    CIMObjectPath path() const;
    CIMQualifierType qualifierType() const;

    String ns;
    String name;
    EDeepFlag deep;
    WantedParts wanted;
    AssociationFilter filter;

private:
    Codec::Bytes m_object;  // in the request
    StringArray m_list;     // what `wanted` refers to
};

}  // namespace OwCimomd
