// SPDX-License-Identifier: Apache-2.0
//
// Lists what is in a repository: names, one a line and sorted, or MOF, in the order of the
// repository, in which superclasses come before their subclasses. Names are collected to be sorted;
// MOF is passed on object by object. All functions throw CIMException that says what was attempted.
#pragma once

#include "utilities/common/Repository.hpp"
#include "utilities/owshow/Output.hpp"

namespace OwShow {

using namespace OwUtilities;  // NOLINT(google-build-using-namespace)

enum class Kind { QUALIFIER_TYPES, CLASSES, INSTANCES };

void listNamespaces(const Repository& repository, const Sink& out);

/// What is listed: all of a kind in a namespace.
struct Selection {
    Kind kind;
    String ns;
    /// Of instances only: those of this class and its subclasses. Empty: those of all classes.
    String className;
};

/// The names, of instances their object paths.
void listNames(CIMOMHandleIFC& handle, const Selection& selection, const Sink& out);
void listMOF(CIMOMHandleIFC& handle, const Selection& selection, const Sink& out);

/// Shows one class or instance as MOF.
void showObject(CIMOMHandleIFC& handle, const CIMObjectPath& path, const Sink& out);

}  // namespace OwShow
