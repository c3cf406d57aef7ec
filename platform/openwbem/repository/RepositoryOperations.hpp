// SPDX-License-Identifier: Apache-2.0
//
// What the operations of a handle do in a repository. The handle frames each: with a ReadOperation
// those that read, with a WriteOperation those that change, which therefore may throw at any point.
// They throw the CIMExceptions of the operation.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/repository/Enumeration.hpp"
#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM::RepositoryOperations {

// RepositoryClasses.cpp
CIMClass getClass(RepositoryStore& store, const OperationCall& call);
void createClass(RepositoryStore& store, const OperationCall& call);
void modifyClass(RepositoryStore& store, const OperationCall& call);
void deleteClass(RepositoryStore& store, const OperationCall& call);

// RepositoryInstances.cpp
CIMInstance getInstance(RepositoryStore& store, const OperationCall& call);
CIMObjectPath createInstance(RepositoryStore& store, const OperationCall& call);
void modifyInstance(RepositoryStore& store, const OperationCall& call);
void deleteInstance(RepositoryStore& store, const OperationCall& call);

// RepositoryQualifierTypes.cpp
CIMQualifierType getQualifierType(RepositoryStore& store, const OperationCall& call);
void setQualifierType(RepositoryStore& store, const OperationCall& call);
void deleteQualifierType(RepositoryStore& store, const OperationCall& call);

// ClassEnumeration.cpp
EnumerationPtr<CIMClass> openClasses(RepositoryStore& store, const OperationCall& call);
EnumerationPtr<String> openClassNames(RepositoryStore& store, const OperationCall& call);
EnumerationPtr<CIMQualifierType> openQualifierTypes(RepositoryStore& store,
                                                    const OperationCall& call);

// InstanceEnumeration.cpp
EnumerationPtr<CIMInstance> openInstances(RepositoryStore& store, const OperationCall& call);
EnumerationPtr<CIMObjectPath> openInstanceNames(RepositoryStore& store, const OperationCall& call);

// RepositoryAssociations.cpp; `handle` reads the objects that associations lead to.
EnumerationPtr<CIMInstance> openAssociators(RepositoryStore& store, const OperationCall& call,
                                            CIMOMHandleIFCRef handle);
EnumerationPtr<CIMObjectPath> openAssociatorNames(RepositoryStore& store, const OperationCall& call,
                                                  CIMOMHandleIFCRef handle);
EnumerationPtr<CIMInstance> openReferences(RepositoryStore& store, const OperationCall& call);
EnumerationPtr<CIMObjectPath> openReferenceNames(RepositoryStore& store, const OperationCall& call);
EnumerationPtr<CIMClass> openAssociatorsClasses(RepositoryStore& store, const OperationCall& call);
EnumerationPtr<CIMClass> openReferencesClasses(RepositoryStore& store, const OperationCall& call);

}  // namespace OpenWBEM::RepositoryOperations
