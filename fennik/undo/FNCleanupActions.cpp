// SPDX-License-Identifier: Apache-2.0
#include "fennik/undo/FNCleanupActions.hpp"

#include "blocxx/Interruption.hpp"
#include "fennik/common/UnitLog.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2 {

using OpenWBEM::CIMException;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;

void executeCleanupActions(CleanupActions_t& list) {
    const blocxx::Interruption::Deferred deferred;
    for (auto action = list.rbegin(); action != list.rend(); ++action) {
        (*action)();
    }
}

void runUndoStep(const boost::function<void()>& operation, const boost::function<String()>& attempt,
                 const char* remedy) {
    try {
        operation();
    } catch (const blocxx::Exception& e) {
        logError(UndoMessages::HEAD + attempt() + " failed with error:\n" + toString(e) +
                 UndoMessages::LEAD_IN + remedy + "\n");
    }
}

namespace {

/// Runs the undo of a change that was perhaps not made.
void undoIfMade(Made made, const boost::function<void()>& undo) {
    try {
        undo();
    } catch (const CIMException& e) {
        if (made == Made::CERTAINLY || e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
    }
}

}  // namespace

CIMObjectPath createUndoably(CIMOMHandleIFC& handle, const String& ns,
                             const OpenWBEM::CIMInstance& instance, CleanupActions_t& undo) {
    const auto push = [&](const CIMObjectPath& path, Made made) {
        undo.push_back([&handle, ns, path, made] { deleteInstance(handle, ns, path, made); });
    };
    try {
        CIMObjectPath path = handle.createInstance(ns, instance);
        push(path, Made::CERTAINLY);
        return path;
    } catch (const OpenWBEM::OutcomeUnknownException&) {
        push(CIMObjectPath(ns, instance), Made::PERHAPS);
        throw;
    }
}

void setUndoably(CIMOMHandleIFC& handle, const String& ns,
                 const OpenWBEM::CIMQualifierType& qualifierType, CleanupActions_t& undo) {
    const auto push = [&](Made made) {
        undo.push_back([&handle, ns, name = qualifierType.getName(), made] {
            deleteQualifierType(handle, ns, name, made);
        });
    };
    try {
        handle.setQualifierType(ns, qualifierType);
        push(Made::CERTAINLY);
    } catch (const OpenWBEM::OutcomeUnknownException&) {
        push(Made::PERHAPS);
        throw;
    }
}

void modifyInstance(CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMInstance& instance) {
    runUndoStep([&] { handle.modifyInstance(ns, instance, OpenWBEM::E_INCLUDE_QUALIFIERS); },
                [&] {
                    return "The attempt to modify the instance:\n" +
                           OpenWBEM::MOF::toMOF(instance) + "\n in namespace " + ns;
                },
                "modify the instance accordingly. The owmofc utility can be used.");
}

void deleteInstance(CIMOMHandleIFC& handle, const String& ns, const CIMObjectPath& path,
                    Made made) {
    // "namspace", without a blank before it: administrators' scripts look for this text.
    runUndoStep([&] { undoIfMade(made, [&] { handle.deleteInstance(ns, path); }); },
                [&] {
                    return "The attempt to delete the instance:\n" + path.toString() +
                           "\nin namspace " + ns;
                },
                "delete the instance. The owdeleteinstance utility can be used.");
}

void createInstance(CIMOMHandleIFC& handle, const String& ns,
                    const OpenWBEM::CIMInstance& instance) {
    runUndoStep([&] { handle.createInstance(ns, instance); },
                [&] {
                    return "The attempt to create the instance:\n" +
                           OpenWBEM::MOF::toMOF(instance) + "\n in namespace " + ns;
                },
                "create the instance. The owmofc utility can be used.");
}

void createClass(CIMOMHandleIFC& handle, const String& ns, const OpenWBEM::CIMClass& cls) {
    runUndoStep([&] { handle.createClass(ns, cls); },
                [&] {
                    return "The attempt to create the class:\n" + OpenWBEM::MOF::toMOF(cls) +
                           "\n in namespace " + ns;
                },
                "create the class. The owmofc utility can be used.");
}

void deleteClass(CIMOMHandleIFC& handle, const String& ns, const String& className) {
    runUndoStep([&] { handle.deleteClass(ns, className); },
                [&] { return "The attempt to delete the class " + ns + ":" + className; },
                "delete the class. The owmofc utility can be used.");
}

void setQualifierType(CIMOMHandleIFC& handle, const String& ns,
                      const OpenWBEM::CIMQualifierType& qualifierType) {
    runUndoStep([&] { handle.setQualifierType(ns, qualifierType); },
                [&] {
                    return "The attempt to set the qualifier type " + ns + ":" +
                           OpenWBEM::MOF::toMOF(qualifierType);
                },
                "set the qualifier type. The owmofc utility can be used.");
}

void deleteQualifierType(CIMOMHandleIFC& handle, const String& ns, const String& name, Made made) {
    runUndoStep([&] { undoIfMade(made, [&] { handle.deleteQualifierType(ns, name); }); },
                [&] { return "The attempt to delete the qualifier type " + ns + ":" + name; },
                "delete the qualifier type. The owmofc utility can be used.");
}

}  // namespace KOVNS2
