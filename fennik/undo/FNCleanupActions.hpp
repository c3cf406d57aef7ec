// SPDX-License-Identifier: Apache-2.0
//
// The undo list and the undo steps on CIM objects. Right after a step succeeds, the operation
// pushes a closure of one of the functions below with copies of its arguments. When a later step
// fails, the operation's caller runs the list from last to first.
//
// An undo step does not throw when it fails: it logs what could not be restored and what to do by
// hand, and the remaining steps still run. Handles are bound by reference and must outlive the
// list.
#pragma once

#include <boost/function.hpp>

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;

using CleanupActions_t = std::vector<boost::function<void()>>;

/// Calls every closure, from the last pushed to the first, with signals deferred. Does not empty
/// the list.
void executeCleanupActions(CleanupActions_t& list);

/// Runs `operation`. When it throws, runs the list and rethrows the same exception.
template <class Operation>
void undoOnFailure(CleanupActions_t& list, Operation operation) {
    try {
        operation();
    } catch (...) {
        executeCleanupActions(list);
        throw;
    }
}

/// Runs the undo step `operation`. Logs a blocxx::Exception that it throws, with the text that
/// `attempt` returns ("The attempt to ...") and `remedy`, what to do by hand; other exceptions pass
/// through.
void runUndoStep(const boost::function<void()>& operation, const boost::function<String()>& attempt,
                 const char* remedy);

/// The fixed parts of the message about an undo step that failed. For sources with undo steps only.
namespace UndoMessages {

inline constexpr const char* HEAD =
    "The operation failed, and restoration to the previous state has also failed.\n";
inline constexpr const char* LEAD_IN =
    "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you should\n";
/// The same without the newline before it.
inline constexpr const char* LEAD_IN_LINE = LEAD_IN + 1;

}  // namespace UndoMessages

/// Creates the instance and pushes the step that deletes it. When the connection is lost meanwhile,
/// the step is pushed, too, and deletes the instance if it is there. Returns its path. Throws
/// CIMException.
OpenWBEM::CIMObjectPath createUndoably(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                                       const OpenWBEM::CIMInstance& instance,
                                       CleanupActions_t& undo);
/// The same for a qualifier type that does not exist yet.
void setUndoably(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                 const OpenWBEM::CIMQualifierType& qualifierType, CleanupActions_t& undo);

/// Whether a change that a step undoes was made. PERHAPS: finding nothing to undo is no failure.
enum class Made { CERTAINLY, PERHAPS };

// Steps on CIM objects. Those on files are in FileCleanupActions.hpp.
void modifyInstance(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMInstance& instance);
void deleteInstance(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMObjectPath& path, Made made = Made::CERTAINLY);
void createInstance(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMInstance& instance);
void createClass(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const OpenWBEM::CIMClass& cls);
void deleteClass(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const String& className);
void setQualifierType(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                      const OpenWBEM::CIMQualifierType& qualifierType);
void deleteQualifierType(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const String& name,
                         Made made = Made::CERTAINLY);

}  // namespace KOVNS2
