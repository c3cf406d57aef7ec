// SPDX-License-Identifier: Apache-2.0
//
// Inheritance, once, for everybody: from a class as declared and its derived superclass to the
// class with everything it inherits. Overrides are checked, qualifiers propagate by their flavors
// (DSP0004 5.5.4, 5.6.3.34 Override), keys are marked, class origins set. Derived classes share
// what they inherit with their superclass.
#pragma once

#include <functional>

#include "openwbem/model/CIMClass.hpp"

namespace OpenWBEM {

/// Finds the qualifier type of that name; null when there is none. The pointer must stay valid
/// while the derivation runs.
using QualifierTypeLookup = std::function<const CIMQualifierType*(std::string_view name)>;

/// What is wrong with a declaration, and where in it.
class ClassDerivationException : public blocxx::Exception {
public:
    /// The features in question, so that a compiler can find its place in the text; empty when the
    /// class itself is meant.
    ClassDerivationException(const char* file, int line, int cimStatus, const String& message,
                             String feature, String parameter, String qualifier);
    const String& feature() const noexcept { return m_feature; }
    const String& parameter() const noexcept { return m_parameter; }
    const String& qualifier() const noexcept { return m_qualifier; }

    const char* type() const noexcept override { return "ClassDerivationException"; }
    ClassDerivationException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;

private:
    String m_feature;
    String m_parameter;
    String m_qualifier;
};

/// What a null default of an overriding property means: that nothing was said, or that the
/// inherited default is replaced by null. A derived class is exact, so that one is to be kept.
enum class NullDefaults { INHERIT, KEEP };

/// Derives `declared` from `superClass` (null for a class at the top; already derived otherwise).
/// Features and qualifiers of `declared` that are marked as propagated are dropped first, so that a
/// derived class may be given again; with NullDefaults::KEEP one that is known to have been derived
/// from that superclass is given back as it is, its qualifiers checked.
/// Checked: no feature or parameter twice (a property and a method cannot share a name either); the
/// superclass not Terminal; each qualifier declared, in scope, of its type, not
/// changing an inherited DisableOverride value; an overriding feature has the type it had (a
/// reference may be narrowed, a fixed array keeps its size), an overriding method also the names
/// and types of its parameters in their order; references only in associations; keys not added
/// below a superclass that has keys. Throws ClassDerivationException, whose error code is the CIM
/// status.
CIMClass deriveClass(const CIMClass& declared, const CIMClass* superClass,
                     const QualifierTypeLookup& qualifierTypes, NullDefaults nullDefaults);

}  // namespace OpenWBEM
