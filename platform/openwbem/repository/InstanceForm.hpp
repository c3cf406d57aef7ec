// SPDX-License-Identifier: Apache-2.0
//
// Converts instances between their stored form and the form in which they are returned.
#pragma once

#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM {

/// What an operation wants to see of an instance (DSP0200 5.3.2.2, 5.3.2.4). Made once for all
/// instances of an operation.
class InstanceForm {
public:
    /// `ns`: where the instances are.
    InstanceForm(const WantedParts& wanted, const String& ns)
        : m_ns(ns),
          m_withPath(wanted.withPath),
          m_needsClass(wanted.localOnly == E_LOCAL_ONLY ||
                       wanted.qualifiers == E_INCLUDE_QUALIFIERS ||
                       wanted.classOrigin == E_INCLUDE_CLASS_ORIGIN),
          m_includeQualifiers(wanted.qualifiers == E_INCLUDE_QUALIFIERS),
          m_filter(wanted) {}

    /// Leaves out what `cls`, which must outlive this, does not have.
    void setOnlyPropertiesOf(const CIMClass& cls) { m_onlyPropertiesOf = &cls; }
    /// Whether the instance's class has something to add to what is stored.
    bool needsClass() const noexcept { return m_needsClass; }
    /// `cls` is the instance's class; it may be null when it is not needed.
    CIMInstance of(CIMInstance stored, const CIMClass* cls) const;

private:
    String m_ns;
    bool m_withPath;
    bool m_needsClass;
    bool m_includeQualifiers;
    ModelSupport::ObjectFilter m_filter;
    const CIMClass* m_onlyPropertiesOf = nullptr;
};

/// The instance with each reference complete: in the namespace `ns` where it names none, and with
/// keys in the spelling and types of the referenced class where that is known.
CIMInstance withResolvedReferences(RepositoryStore& store, CIMInstance instance, const String& ns);
/// The same for one path, and all the way down for the paths in its keys. Throws CIMException
/// INVALID_PARAMETER when they stand in each other deeper than a value may.
CIMObjectPath resolvedReference(RepositoryStore& store, CIMObjectPath path, const String& ns);

}  // namespace OpenWBEM
