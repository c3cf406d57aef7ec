// SPDX-License-Identifier: Apache-2.0
//
// The undo list and the steps that it is made of. An operation pushes, right after a step
// succeeded, a closure over one of the primitives below and copies of its arguments; when a later
// step fails, its caller runs the list from the last to the first.
//
// A primitive never throws for the failure of its own undo: it logs what could not be restored and
// what has to be done by hand, and the remaining steps still run. Handles are bound by reference
// and must outlive the list.
#pragma once

#include <boost/function.hpp>

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;

using CleanupActions_t = std::vector<boost::function<void()>>;

/// Calls every closure, from the last pushed to the first; nothing interrupts them. Leaves the list
/// as it is.
void executeCleanupActions(CleanupActions_t& list);

/// Runs `operation`; when it throws, runs the list and lets the same exception go on.
template <class Operation>
void undoOnFailure(CleanupActions_t& list, Operation operation) {
    try {
        operation();
    } catch (...) {
        executeCleanupActions(list);
        throw;
    }
}

/// What an undo step that fails tells the administrator.
struct UndoReport {
    boost::function<String()> attempt;  ///< "The attempt to ...", built only when it is needed
    const char* remedy;                 ///< what to do by hand
};
/// Runs the undo step `operation`. A blocxx::Exception out of it is logged with `report` and goes
/// no further; other exceptions pass.
void runUndoStep(const boost::function<void()>& operation, const UndoReport& report);

/// The fixed frame of every message about an undo step that failed, and the way it is logged. For
/// the units that hold undo steps only.
namespace UndoMessages {

inline constexpr const char* HEAD =
    "The operation failed, and restoration to the previous state has also failed.\n";
inline constexpr const char* LEAD_IN =
    "\nOnce the cause of the error has been resolved, to restore KOV to a valid state you should\n";
/// The same without the newline before it.
inline constexpr const char* LEAD_IN_LINE = LEAD_IN + 1;

/// Logs at error level. The message has reached standard error even when the debug log cannot be
/// written: that must not keep the remaining undo steps from running.
void logUndoFailure(const blocxx::String& message) noexcept;

}  // namespace UndoMessages

// Steps on CIM objects. Those on files are in FileCleanupActions.hpp.
void modifyInstance(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMInstance& instance);
void deleteInstance(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMObjectPath& path);
void createInstance(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMInstance& instance);
void createClass(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const OpenWBEM::CIMClass& cls);
void deleteClass(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const String& className);
void setQualifierType(OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                      const OpenWBEM::CIMQualifierType& qualifierType);
void deleteQualifierType(OpenWBEM::CIMOMHandleIFC& handle, const String& ns, const String& name);

}  // namespace KOVNS2
