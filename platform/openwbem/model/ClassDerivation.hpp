// SPDX-License-Identifier: Apache-2.0
//
// Inheritance: makes, from a class as declared and its derived superclass, the class with
// everything that it inherits. Checks overrides, propagates qualifiers by their flavors
// (DSP0004 5.5.4), marks keys and sets class origins. Derived classes share what they inherit with
// their superclass.
#pragma once

#include <functional>

#include "openwbem/model/CIMClass.hpp"

namespace OpenWBEM {

/// Finds the qualifier type of that name; null when there is none. The pointer must stay valid
/// until the derivation ends.
using QualifierTypeLookup = std::function<const CIMQualifierType*(std::string_view name)>;

/// What is wrong with a declaration, and where in it.
class ClassDerivationException : public blocxx::Cloneable<ClassDerivationException> {
public:
    /// The names of the elements at fault, so that a compiler can find them in its text. `feature`
    /// is empty when the class itself is at fault.
    ClassDerivationException(const char* file, int line, int cimStatus, const String& message,
                             String feature, String parameter, String qualifier);
    const String& feature() const noexcept { return m_feature; }
    const String& parameter() const noexcept { return m_parameter; }
    const String& qualifier() const noexcept { return m_qualifier; }

    const char* type() const noexcept override { return "ClassDerivationException"; }

private:
    String m_feature;
    String m_parameter;
    String m_qualifier;
};

/// What a null default of an overriding property does: inherit the default of the superclass, or
/// replace it by null. Use KEEP for a class that has been derived before.
enum class NullDefaults { INHERIT, KEEP };

/// Derives `declared` from `superClass`, which is itself derived, or null for a class at the top.
/// Drops features and qualifiers that are marked as propagated first, so that a derived class can
/// be derived again. With NullDefaults::KEEP, a class that is known to be derived from that
/// superclass is returned as it is after a check of its qualifiers.
///
/// Throws ClassDerivationException, whose error code is the CIM status, unless
/// - each name is given once; properties and methods share one set of names
/// - the superclass is not Terminal, and the superclass of an association is an association
/// - each qualifier is declared, in scope, of its type, and changes no DisableOverride value
/// - an overriding feature has the type of the overridden one (a fixed array its size; the classes
///   of references may differ), and an overriding method has the same parameters
/// - only associations have references, and no key is added below a superclass with keys.
CIMClass deriveClass(const CIMClass& declared, const CIMClass* superClass,
                     const QualifierTypeLookup& qualifierTypes, NullDefaults nullDefaults);

}  // namespace OpenWBEM
