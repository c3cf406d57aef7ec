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

    CIMClass cls() const;
    CIMInstance instance() const;
    CIMObjectPath path() const;
    CIMQualifierType qualifierType() const;
    const StringArray* list() const { return m_list ? &*m_list : nullptr; }

    String ns;
    String name;
    EDeepFlag deep;
    ELocalOnlyFlag localOnly;
    EIncludeQualifiersFlag qualifiers;
    EIncludeClassOriginFlag classOrigin;
    AssociationFilter filter;

private:
    Codec::Bytes m_object;  // in the request
    std::optional<StringArray> m_list;
};

}  // namespace OwCimomd
