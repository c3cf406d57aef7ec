// SPDX-License-Identifier: Apache-2.0
//
// Makes values of a declared type from initializers.
#pragma once

#include "openwbem/model/CIMValue.hpp"
#include "openwbem/model/Embedding.hpp"
#include "openwbem/mof/SyntaxTree.hpp"

namespace OpenWBEM::MOF {

/// The text of a string, all its pieces joined. Throws CompileError.
String readString(const Literal& literal);

/// Makes the values that depend on other objects. Both functions throw CompileError.
class ObjectResolver {
public:
    /// `className` is the declared class of the reference.
    virtual CIMObjectPath resolveReference(const Literal& literal, const String& className) = 0;
    /// An instance or class from its MOF.
    virtual CIMValue resolveEmbedded(const Literal& literal, const Embedding& embedding) = 0;

protected:
    ~ObjectResolver() = default;
};

/// The value of `initializer` in the declared `type`; null when there is none. `at` is the place of
/// an empty array, for messages. Throws CompileError.
CIMValue makeValue(const Initializer& initializer, const CIMDataType& type,
                   const Embedding& embedding, ObjectResolver& objects, const char* at);

/// The type that a name and a suffix declare. Throws CompileError.
CIMDataType makeType(const TypeName& name, const ArraySuffix& array);

}  // namespace OpenWBEM::MOF
