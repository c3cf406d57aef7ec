// SPDX-License-Identifier: Apache-2.0
//
// Qualifier types are not known here. All flavors are written out, so that the text does not depend
// on the defaults of the types.
#include "openwbem/mof/MOFRenderer.hpp"

#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/ValueText.hpp"

namespace OpenWBEM::MOF {

namespace {

constexpr const char* INDENT = "    ";

/// Whether the text becomes a string in another text. Old tools repair embedded instances line by
/// line (see fennik/mofrepair) and take what follows "NAME =" up to the end of the line. So no line
/// of an embedded text has both, and no string in it can be taken for several lines.
enum class Form { PLAIN, EMBEDDED };

String render(const CIMInstance& instance, Form form);
String render(const CIMClass& cls, Form form);

/// Appends U+FFFE or U+FFFF, which XML cannot hold, as an escape and returns its size in `text`.
/// Returns 0 for anything else.
size_t appendNonCharacter(String& out, std::string_view text) {
    constexpr std::string_view FFFE = "\xEF\xBF\xBE";
    constexpr std::string_view FFFF = "\xEF\xBF\xBF";
    if (!text.starts_with(FFFE) && !text.starts_with(FFFF)) {
        return 0;
    }
    ValueText::appendHexEscape(out, text.starts_with(FFFE) ? u'\xFFFE' : u'\xFFFF');
    return FFFE.size();
}

bool needsHexEscape(char c, Form form) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ||
           (form == Form::EMBEDDED && c == '\\');
}

void appendString(String& out, std::string_view text, Form form = Form::PLAIN) {
    // In an embedded text, the line feed and the backslash are hex escapes instead.
    const std::string_view escaped = form == Form::PLAIN ? "\"\b\t\f\r\n\\" : "\"\b\t\f\r";
    constexpr std::string_view LETTERS = "\"btfrn\\";
    out += '"';
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (const size_t at = escaped.find(c); at != std::string_view::npos) {
            out += '\\';
            out += LETTERS[at];
        } else if (needsHexEscape(c, form)) {
            ValueText::appendHexEscape(out, static_cast<char16_t>(c));
        } else if (const size_t size = appendNonCharacter(out, text.substr(i)); size != 0) {
            i += size - 1;
        } else {
            out += c;
        }
    }
    out += '"';
}

/// A value that is not an array.
void appendSingle(String& out, const CIMValue& value, Form form) {
    switch (value.getType()) {
        case CIMDataType::INVALID:
            out += "NULL";
            break;
        case CIMDataType::CHAR16:
            ValueText::appendQuotedChar(out, value.get<Char16>());
            break;
        case CIMDataType::STRING:
            appendString(out, value.get<String>(), form);
            break;
        case CIMDataType::DATETIME:
            appendString(out, value.get<CIMDateTime>().toString());
            break;
        case CIMDataType::REFERENCE:
            appendString(out, value.get<CIMObjectPath>().toString(), form);
            break;
        case CIMDataType::EMBEDDEDINSTANCE:
            appendString(out, render(value.get<CIMInstance>(), Form::EMBEDDED), form);
            break;
        case CIMDataType::EMBEDDEDCLASS:
            appendString(out, render(value.get<CIMClass>(), Form::EMBEDDED), form);
            break;
        default:
            out += value.toString();
            break;
    }
}

void appendArray(String& out, const CIMValue& value, Form form) {
    out += '{';
    for (size_t i = 0; i < value.getArraySize(); ++i) {
        if (i != 0) {
            out += ", ";
        }
        appendSingle(out, value.getElement(i), form);
    }
    out += '}';
}

void appendValue(String& out, const CIMValue& value, Form form = Form::PLAIN) {
    if (value.isArray()) {
        appendArray(out, value, form);
    } else {
        appendSingle(out, value, form);
    }
}

/// Appends all flavors, with `separator` between them.
void appendFlavors(String& out, const CIMFlavor& flavor, const char* separator) {
    out += flavor.overridable ? "EnableOverride" : "DisableOverride";
    out += separator;
    out += flavor.toSubclass ? "ToSubclass" : "Restricted";
    if (flavor.translatable) {
        out += separator;
        out += "Translatable";
    }
}

void appendQualifier(String& out, const CIMQualifier& qualifier) {
    const CIMValue& value = qualifier.getValue();
    out += qualifier.getName();
    if (value.isArray()) {
        out += ' ';
        appendArray(out, value, Form::PLAIN);
    } else {
        out += " (";
        appendSingle(out, value, Form::PLAIN);
        out += ')';
    }
    out += " : ";
    appendFlavors(out, qualifier.getFlavor(), " ");
}

/// Appends the element's own qualifiers in brackets, each on a line of its own, then `end`. Appends
/// nothing when there are none.
void appendQualifiers(String& out, const CIMQualifierArray& qualifiers, const String& indent,
                      std::string_view end) {
    const char* separator = "[";
    bool any = false;
    for (const CIMQualifier& qualifier : qualifiers) {
        if (qualifier.isPropagated()) {
            continue;
        }
        out += any ? ",\n " + indent : indent + separator;
        appendQualifier(out, qualifier);
        any = true;
    }
    if (any) {
        out += ']';
        out += end;
    }
}

void appendType(String& out, const CIMDataType& type) {
    out += type ? type.toString() : "void";
    out += ' ';
}

/// Appends the brackets of an array, which follow the element's name.
void appendArrayBrackets(String& out, const CIMDataType& type) {
    if (type.isArray()) {
        out += '[';
        if (type.getSize() != 0) {
            ValueText::appendNumber(out, type.getSize());
        }
        out += ']';
    }
}

/// Whether a superclass has the property, too, as far as the property shows it.
bool isOverriding(const CIMProperty& property, const String& className) {
    const String& origin = property.getClassOrigin();
    const CIMQualifier* const qualifier = property.getQualifier("Override");
    return (!origin.empty() && !blocxx::equalsIgnoreCase(origin, className)) ||
           (qualifier != nullptr && !qualifier->isPropagated());
}

void appendProperty(String& out, const CIMProperty& property, const String& className, Form form) {
    appendQualifiers(out, property.getQualifiers(), INDENT, "\n");
    out += INDENT;
    appendType(out, property.getDataType());
    out += property.getName();
    appendArrayBrackets(out, property.getDataType());
    // Without a value the property would inherit the default of the superclass.
    if (!property.getValue().isNull() || isOverriding(property, className)) {
        out += " = ";
        appendValue(out, property.getValue(), form);
    }
    out += ";\n";
}

void appendParameter(String& out, const CIMParameter& parameter) {
    const String indent = String(INDENT) + INDENT;
    appendQualifiers(out, parameter.getQualifiers(), indent, "\n");
    out += indent;
    appendType(out, parameter.getDataType());
    out += parameter.getName();
    appendArrayBrackets(out, parameter.getDataType());
}

void appendMethod(String& out, const CIMMethod& method) {
    appendQualifiers(out, method.getQualifiers(), INDENT, "\n");
    out += INDENT;
    appendType(out, method.getReturnType());
    out += method.getName();
    out += '(';
    const char* separator = "\n";
    for (const CIMParameter& parameter : method.getParameters()) {
        out += separator;
        appendParameter(out, parameter);
        separator = ",\n";
    }
    out += ");\n";
}

void appendScopes(String& out, uint8_t scopes) {
    struct ScopeName {
        uint8_t bit;
        const char* name;
    };
    constexpr ScopeName NAMES[] = {
        {CIMScope::CLASS, "class"},           {CIMScope::ASSOCIATION, "association"},
        {CIMScope::INDICATION, "indication"}, {CIMScope::PROPERTY, "property"},
        {CIMScope::REFERENCE, "reference"},   {CIMScope::METHOD, "method"},
        {CIMScope::PARAMETER, "parameter"}};
    if (scopes == CIMScope::ANY) {
        out += "any";
        return;
    }
    const char* separator = "";
    for (const ScopeName& scope : NAMES) {
        if ((scopes & scope.bit) != 0) {
            out += separator;
            out += scope.name;
            separator = ", ";
        }
    }
}

String render(const CIMClass& cls, Form form) {
    String out;
    appendQualifiers(out, cls.getQualifiers(), "", "\n");
    out += "class " + cls.getName();
    if (!cls.getSuperClass().empty()) {
        out += " : " + cls.getSuperClass();
    }
    out += "\n{\n";
    for (const CIMProperty& property : cls.getProperties()) {
        if (!property.isPropagated()) {
            appendProperty(out, property, cls.getName(), form);
        }
    }
    for (const CIMMethod& method : cls.getMethods()) {
        if (!method.isPropagated()) {
            appendMethod(out, method);
        }
    }
    out += "};\n";
    return out;
}

String render(const CIMInstance& instance, Form form) {
    String out;
    appendQualifiers(out, instance.getQualifiers(), "", "\n");
    out += "instance of " + instance.getClassName() + "\n{\n";
    for (const CIMProperty& property : instance.getProperties()) {
        // Writes null, too: a property that is left out would get the default of the class.
        out += INDENT + property.getName();
        out += form == Form::EMBEDDED ? " =\n        " : " = ";
        appendValue(out, property.getValue(), form);
        out += ";\n";
    }
    out += "};\n";
    return out;
}

}  // namespace

String toMOF(const CIMQualifierType& qualifierType) {
    String out = "Qualifier " + qualifierType.getName() + " : ";
    out += qualifierType.getDataType().toString();
    appendArrayBrackets(out, qualifierType.getDataType());
    out += " = ";
    appendValue(out, qualifierType.getDefaultValue());
    out += ",\n    Scope(";
    appendScopes(out, qualifierType.getScopes());
    out += "),\n    Flavor(";
    appendFlavors(out, qualifierType.getFlavor(), ", ");
    out += ");\n";
    return out;
}

String toMOF(const CIMClass& cls) {
    return render(cls, Form::PLAIN);
}

String toMOF(const CIMInstance& instance) {
    return render(instance, Form::PLAIN);
}

String toMOF(const CIMValue& value) {
    String out;
    appendValue(out, value);
    return out;
}

String toMOFString(std::string_view text) {
    String out;
    out.reserve(text.size() + 2);
    appendString(out, text);
    return out;
}

}  // namespace OpenWBEM::MOF
