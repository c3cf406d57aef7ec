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

#include "blocxx/File.hpp"
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

// Steps on CIM objects.
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

// Steps on files.
void deleteFile(const String& path);
/// Closes the file if it is still open and deletes it in any case.
void closeAndDeleteAllowedUsersFile(blocxx::File file, const String& path);
/// Creates the file with these contents.
void cleanupWriteFile(const String& path, const String& contents);
/// Moves a backup back into place, with that owner and mode.
void restoreFile(const String& backupPath, const String& targetPath, uid_t uid, gid_t gid,
                 mode_t mode);
/// Takes back a rename.
void RenameFileOrDir_Cleanup(const String& from, const String& to);
/// Removes a working copy of the repository with everything in it.
void RemoveReposWorkCopyDir(const String& directory);

}  // namespace KOVNS2
