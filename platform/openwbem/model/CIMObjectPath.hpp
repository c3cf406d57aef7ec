// SPDX-License-Identifier: Apache-2.0
//
// The path of a class or an instance (DSP0004 8.2): host and namespace, class name, key values.
//
// Text form:  [ "//" host "/" ] [ namespace ":" ] class [ "." key "=" value { "," key "=" value } ]
// Values: strings, datetimes and references in double quotes with \ before \ and "; char16 in
// single quotes likewise; numbers in decimal; TRUE and FALSE. A text does not show the width of a
// number, or whether a quoted value is a string, datetime or reference: until syncWithClass(), the
// keys of a parsed path are STRING, UINT64, SINT64, REAL64, BOOLEAN and CHAR16.
#pragma once

#include "openwbem/model/CIMProperty.hpp"

namespace OpenWBEM {

class CIMObjectPath {
public:
    CIMObjectPath() = default;
    explicit CIMObjectPath(String className, String nameSpace = String());
    /// The path of an instance: its class and the properties marked as keys.
    CIMObjectPath(String nameSpace, const CIMInstance& instance);

    const String& getClassName() const noexcept { return m_rep->className; }
    const String& getNameSpace() const noexcept { return m_rep->nameSpace; }
    const String& getHost() const noexcept { return m_rep->host; }
    /// In the order given. Only their names, types and values count.
    const CIMPropertyArray& getKeys() const noexcept { return m_rep->keys; }
    bool isClassPath() const noexcept { return getKeys().empty(); }

    CIMObjectPath& setClassName(String className);
    CIMObjectPath& setNameSpace(String nameSpace);
    CIMObjectPath& setHost(String host);
    CIMObjectPath& setKeys(CIMPropertyArray keys);
    /// Replaces or appends one key.
    CIMObjectPath& setKeyValue(const String& name, CIMValue value);
    /// The value of a key (name without regard to case); null when there is no such key.
    CIMValue getKeyValue(std::string_view name) const;

    String toString() const;
    /// The text form without host and namespace.
    String modelPath() const;
    /// Parses the text form. Throws a CIMException INVALID_PARAMETER that names the column and what
    /// was expected there.
    static CIMObjectPath parse(std::string_view text);

    /// Gives the keys the spelling, order and types that they have in the class. A key without a
    /// name is the only one of a class (DSP0201 5.2.4, INSTANCENAME). Throws
    /// CIMException INVALID_PARAMETER and changes nothing when a key is missing, unknown, given
    /// twice, or has a value that its type cannot hold.
    CIMObjectPath& syncWithClass(const CIMClass& cls);

    /// A text that all paths of the same instance share, for use as an index key: names in lower
    /// case and sorted, values exact. A reference without a namespace gets that of this path, whose
    /// own namespace and host are left out.
    String canonicalKey() const;

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// Class, namespace and key names without regard to case; key values exactly; keys in any
    /// order.
    friend bool operator==(const CIMObjectPath& a, const CIMObjectPath& b);

private:
    struct Rep : CowRep<Rep> {
        String className;
        String nameSpace;
        String host;
        CIMPropertyArray keys;
    };
    CowReference<Rep> m_rep;
};

std::ostream& operator<<(std::ostream& out, const CIMObjectPath& path);

}  // namespace OpenWBEM
