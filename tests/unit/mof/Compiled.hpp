// SPDX-License-Identifier: Apache-2.0
//
// Shared by the tests of the compiler: compiling a text, and the message when that fails.
#pragma once

#include <gtest/gtest.h>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace OpenWBEM::MOF {

/// Qualifier types that most texts need.
inline const String PRELUDE = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Indication : boolean = false, Scope(class, indication), Flavor(DisableOverride);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
Qualifier EmbeddedObject : boolean = false, Scope(property, method, parameter), Flavor(DisableOverride);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(Restricted);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride);
Qualifier ValueMap : string[], Scope(property, method, parameter);
Qualifier MaxLen : uint32 = null, Scope(property, method, parameter);
)";

struct Compiled {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;

    const CIMClass& cls(std::string_view name) const {
        for (const CIMClass& c : classes) {
            if (blocxx::equalsIgnoreCase(c.getName(), name)) {
                return c;
            }
        }
        throw std::out_of_range(String(name));
    }
};

inline Compiled compileText(const String& mof, const CIMOMHandleIFCRef& handle = {}) {
    Compiled result;
    compileMOF(mof, handle, "root", result.instances, result.classes, result.qualifierTypes);
    return result;
}

/// Compiles the PRELUDE and `mof`.
inline Compiled compileWith(const String& mof) {
    return compileText(PRELUDE + mof);
}

/// The message of the failure to compile, or "".
inline String failureOf(const String& mof, const CIMOMHandleIFCRef& handle = {}) {
    try {
        compileText(mof, handle);
        return {};
    } catch (const MOFCompilerException& e) {
        return e.getMessage();
    }
}

/// The first line of the message for the PRELUDE and `mof`, without the place, or "".
inline String complaintOf(const String& mof) {
    const String message = failureOf(PRELUDE + mof);
    const size_t begin = message.find("error: ");
    return begin == String::npos ? message
                                 : message.substr(begin + 7, message.find('\n') - begin - 7);
}

}  // namespace OpenWBEM::MOF
