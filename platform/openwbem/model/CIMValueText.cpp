// SPDX-License-Identifier: Apache-2.0
//
// The text of single values, for CIMValue::toString().
#include "blocxx/Utf8.hpp"
#include "openwbem/model/CIMValueRep.hpp"

namespace OpenWBEM::ValueDetail {

void appendText(String& out, bool value) {
    out += ValueText::textOf(value);
}

void appendText(String& out, Char16 value) {
    // Half of a surrogate pair has no UTF-8 form, and U+0000 would end the text for some readers.
    if (value.unit == 0 || !blocxx::Utf8::append(out, value.unit)) {
        ValueText::appendHexEscape(out, value.unit);
    }
}

void appendText(String& out, const String& value) {
    out += value;
}
void appendText(String& out, const CIMDateTime& value) {
    out += value.toString();
}
void appendText(String& out, const CIMObjectPath& value) {
    out += value.toString();
}

void appendText(String& out, const CIMInstance& value) {
    out += "instance of " + value.getClassName() + " {";
    for (const CIMProperty& property : value.getProperties()) {
        out += ' ' + property.getName() + " = " + property.getValue().toString() + ';';
    }
    out += " }";
}

void appendText(String& out, const CIMClass& value) {
    out += "class " + value.getName();
}

}  // namespace OpenWBEM::ValueDetail
