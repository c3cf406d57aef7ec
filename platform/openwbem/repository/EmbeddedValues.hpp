// SPDX-License-Identifier: Apache-2.0
//
// Validates objects embedded in property values against the classes and qualifier types of their
// namespace. An embedded object must be as valid as a stored one, or its MOF could not be compiled
// again.
#pragma once

#include <optional>
#include <set>

#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/ClassDerivation.hpp"

namespace OpenWBEM {

/// What embedded objects are held against: a namespace as it is, or as a change would make it.
struct EmbeddingSchema {
    std::function<std::optional<CIMClass>(const String& name)> findClass;  ///< derived
    QualifierTypeLookup qualifierTypes;
};

/// What embedded objects refer to, by names in lower case: the classes of instances and the
/// superclasses of classes, and the qualifiers of both.
struct EmbeddedNames {
    std::set<String> classes;
    std::set<String> qualifiers;
};

/// Whether the value is an embedded object or an array of them.
bool holdsObjects(const CIMValue& value);
/// Whether the property is declared to hold objects.
bool takesEmbedded(const CIMProperty& declared);

/// The value of a property declared like `declared`, each instance in it completed from its class
/// (see InstanceCompletion). Throws CIMException unless it holds objects that fit the schema, where
/// it is declared to hold objects, and none elsewhere: INVALID_CLASS for an unknown class,
/// TYPE_MISMATCH for plain text and for an object that may not stand there, and what the object
/// itself deserves.
CIMValue completeEmbedded(const CIMProperty& declared, const CIMValue& value,
                          const EmbeddingSchema& schema);

/// Adds what the objects in the value refer to.
void collectEmbeddedNames(const CIMValue& value, EmbeddedNames& names);

}  // namespace OpenWBEM
