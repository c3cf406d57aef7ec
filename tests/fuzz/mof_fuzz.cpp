// SPDX-License-Identifier: Apache-2.0
//
// Any bytes compile or fail with the compiler's own exception, as a text for one namespace and as
// one for several that may include parts of itself. Compiled objects are rendered, and the text
// compiles to equal objects.
#include <cstdio>
#include <cstdlib>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace {

using namespace OpenWBEM;

constexpr const char* PREAMBLE =
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n"
    "Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);\n"
    "Qualifier EmbeddedInstance : string, Scope(property, method, parameter);\n"
    "Qualifier EmbeddedObject : boolean = false, Scope(property), Flavor(DisableOverride);\n"
    "Qualifier Override : string, Scope(property, reference, method), Flavor(Restricted);\n"
    "Qualifier Q : string[], Scope(any);\n"
    "class A { [Key] uint32 k; string s; real64 r; char16 c[]; datetime d; "
    "[EmbeddedInstance(\"A\")]\n"
    "string e; [EmbeddedObject] string o[]; };\n"
    "[Association] class L { [Key] A REF a; [Key] L REF l; };\n";

struct Compiled {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
};

Compiled compileText(const String& text) {
    Compiled result;
    MOF::compileMOF(text, {}, "root", result.instances, result.classes, result.qualifierTypes);
    return result;
}

/// An included text is what follows the last occurrence of its name in the input.
void compileWithIncludes(const String& input) {
    const auto rest = [&](const String& name, const String&) {
        const size_t at = input.rfind(name);
        if (at == String::npos) {
            throw blocxx::Exception(__FILE__, __LINE__, "there is no such part");
        }
        return Source{name, input.substr(at + name.size())};
    };
    try {
        MOF::compile({"fuzz.mof", PREAMBLE + input}, {}, "root", rest, MOF::Defaults::LEFT_OUT);
    } catch (const MOF::MOFCompilerException& e) {
        if (e.getSourceLine() == 0 || e.getSourceColumn() == 0) {
            std::fprintf(stderr, "no place: %s\n", e.getMessage());
            std::abort();
        }
    }
}

template <class Object>
void appendAll(String& out, const Array<Object>& objects) {
    for (const Object& object : objects) {
        out += MOF::toMOF(object) + "\n";
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const String input(reinterpret_cast<const char*>(data), size);
    compileWithIncludes(input);
    Compiled first;
    try {
        first = compileText(PREAMBLE + input);
    } catch (const MOF::MOFCompilerException&) {
        return 0;
    }
    String text;
    appendAll(text, first.qualifierTypes);
    appendAll(text, first.classes);
    appendAll(text, first.instances);
    try {
        const Compiled second = compileText(text);
        if (first.qualifierTypes == second.qualifierTypes && first.classes == second.classes &&
            first.instances == second.instances) {
            return 0;
        }
        std::fprintf(stderr, "not equal after rendering:\n%s\n", text.c_str());
    } catch (const MOF::MOFCompilerException& e) {
        std::fprintf(stderr, "rendered text does not compile: %s\n%s\n", e.getMessage(),
                     text.c_str());
    }
    std::abort();
}
