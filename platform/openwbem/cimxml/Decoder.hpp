// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: reads elements into the objects of the model. Each function reads the
// element that the reader has reached, to its end, unless it says otherwise.
//
// They throw RequestException for an element that is not as DSP0201 has it, and ContentException
// for one whose content the model cannot hold. Names are not checked here, as with all arguments:
// the operation itself refuses invalid ones, with the same message on every way. Names in values of
// objects are checked, because nobody else does.
#pragma once

#include "openwbem/cimxml/Reader.hpp"
#include "openwbem/cimxml/ValueTexts.hpp"

namespace OpenWBEM::CIMXML {

class Decoder {
public:
    explicit Decoder(Reader& reader) noexcept : m_reader(reader) {}

    // Decoder.cpp: CLASS, INSTANCE, QUALIFIER.DECLARATION, VALUE.NAMEDINSTANCE
    CIMClass cls();
    CIMInstance instance();
    CIMQualifierType qualifierType();
    NamedInstance namedInstance();

    // PathDecoder.cpp
    /// CLASSNAME.
    String className();
    CIMObjectPath instanceName();
    /// VALUE.REFERENCE.
    CIMObjectPath reference();
    /// INSTANCENAME, CLASSNAME, or either with a path before it.
    CIMObjectPath path();
    /// LOCALNAMESPACEPATH.
    String localNamespace();

    // ValueDecoder.cpp
    /// The texts of a VALUE.ARRAY.
    StringArray texts();
    /// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY, as the type says. `embeds` is what a
    /// string may be instead: the attribute EmbeddedObject.
    CIMValue value(const CIMDataType& type, std::string_view embeds = {});
    CIMDataType::Type type(const String& name) const;
    /// The type that the attribute TYPE names.
    CIMDataType::Type type() const { return type(m_reader.required("TYPE")); }

private:
    Decoder(Reader& reader, unsigned embedded, bool isInValue) noexcept
        : m_reader(reader), m_embedded(embedded), m_isInValue(isInValue) {}

    CIMQualifier qualifier();
    CIMProperty property();
    CIMMethod method();
    CIMParameter parameter();
    // Read the element into the list when it is of that kind.
    bool take(CIMQualifierArray& qualifiers);
    bool take(CIMPropertyArray& properties);
    bool take(CIMParameterArray& parameters);
    bool take(CIMMethodArray& methods);
    CIMFlavor flavor() const;
    uint8_t scopes();
    std::string_view embeds() const;
    uint32_t arraySize() const;
    CIMDataType declaredType(bool isReference, bool isArray) const;

    CIMProperty key();
    CIMValue keyValue();
    void namespacePath(String& host, String& ns);

    CIMValue valueOf(CIMDataType::Type type, String text) const;
    template <class T>
    T single();
    template <class T>
    CIMValue array();
    CIMValue embedded(std::string_view embeds);
    CIMValue embeddedArray(std::string_view embeds);

    String name(const char* attribute, const char* what) const;
    String nameOrNothing(const char* attribute, const char* what) const;
    /// Throws ContentException unless the list can have one more.
    void checkRoom(size_t listed) const;

    Reader& m_reader;
    unsigned m_embedded = 0;  ///< how many embedded objects are around
    bool m_isInValue = false;
};

}  // namespace OpenWBEM::CIMXML
