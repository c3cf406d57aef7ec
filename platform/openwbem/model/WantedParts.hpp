// SPDX-License-Identifier: Apache-2.0
//
// What an operation is to hand out of the objects that it finds.
#pragma once

#include "blocxx/String.hpp"

namespace OpenWBEM {

using blocxx::StringArray;

namespace WBEMFlags {
enum ELocalOnlyFlag { E_NOT_LOCAL_ONLY, E_LOCAL_ONLY };
enum EDeepFlag { E_SHALLOW, E_DEEP };
enum EIncludeQualifiersFlag { E_EXCLUDE_QUALIFIERS, E_INCLUDE_QUALIFIERS };
enum EIncludeClassOriginFlag { E_EXCLUDE_CLASS_ORIGIN, E_INCLUDE_CLASS_ORIGIN };
}  // namespace WBEMFlags

using namespace WBEMFlags;  // NOLINT(google-build-using-namespace): part of every operation

/// DSP0200 5.3.2.1 and 5.3.2.2: `localOnly` drops propagated features and qualifiers, the other two
/// flags drop all qualifiers and class origins; of a non-null list, which must outlive this, only
/// the properties named there stay. `withPath` adds the path to each instance, which cannot be made
/// of an instance that lacks keys.
struct WantedParts {
    ELocalOnlyFlag localOnly = E_NOT_LOCAL_ONLY;
    EIncludeQualifiersFlag qualifiers = E_EXCLUDE_QUALIFIERS;
    EIncludeClassOriginFlag classOrigin = E_EXCLUDE_CLASS_ORIGIN;
    const StringArray* propertyList = nullptr;
    bool withPath = false;
};

}  // namespace OpenWBEM
