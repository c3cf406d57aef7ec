// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/mof/FakeHandle.hpp"

#include <gtest/gtest.h>

namespace OpenWBEM::MOF {

namespace {

[[noreturn]] void unexpected(const char* operation) {
    ADD_FAILURE() << "the compiler must not call " << operation;
    OPENWBEM_THROW_CIM(NOT_SUPPORTED, operation);
}

}  // namespace

CIMClass FakeHandle::getClass(const String& ns, const String& className, ELocalOnlyFlag localOnly,
                              EIncludeQualifiersFlag includeQualifiers,
                              EIncludeClassOriginFlag /*includeClassOrigin*/,
                              const StringArray* propertyList) {
    EXPECT_EQ(localOnly, E_NOT_LOCAL_ONLY);
    EXPECT_EQ(includeQualifiers, E_INCLUDE_QUALIFIERS);
    EXPECT_EQ(propertyList, nullptr);
    asked.push_back(className);
    if (const auto failure = closed.find(ns); failure != closed.end()) {
        throw CIMException(__FILE__, __LINE__, failure->second, "no namespace " + ns);
    }
    auto found = classes.find(ns + ":" + blocxx::toLower(className));
    if (found == classes.end()) {
        found = classes.find(blocxx::toLower(className));
    }
    if (found == classes.end()) {
        throw CIMException(__FILE__, __LINE__, absence, "no class " + className);
    }
    return found->second;
}

CIMQualifierType FakeHandle::getQualifierType(const String& /*ns*/, const String& name) {
    asked.push_back(name);
    const auto found = qualifierTypes.find(blocxx::toLower(name));
    if (found == qualifierTypes.end()) {
        throw CIMException(__FILE__, __LINE__, absence, "no qualifier type " + name);
    }
    return found->second;
}

void FakeHandle::enumClass(const String&, const String&, CIMClassResultHandlerIFC&, EDeepFlag,
                           ELocalOnlyFlag, EIncludeQualifiersFlag, EIncludeClassOriginFlag) {
    unexpected("enumClass");
}

void FakeHandle::enumClassNames(const String&, const String&, StringResultHandlerIFC&, EDeepFlag) {
    unexpected("enumClassNames");
}

void FakeHandle::createClass(const String&, const CIMClass&) {
    unexpected("createClass");
}

void FakeHandle::modifyClass(const String&, const CIMClass&) {
    unexpected("modifyClass");
}

void FakeHandle::deleteClass(const String&, const String&) {
    unexpected("deleteClass");
}

void FakeHandle::enumInstances(const String&, const String&, CIMInstanceResultHandlerIFC&,
                               EDeepFlag, ELocalOnlyFlag, EIncludeQualifiersFlag,
                               EIncludeClassOriginFlag, const StringArray*) {
    unexpected("enumInstances");
}

void FakeHandle::enumInstanceNames(const String&, const String&, CIMObjectPathResultHandlerIFC&) {
    unexpected("enumInstanceNames");
}

CIMInstance FakeHandle::getInstance(const String&, const CIMObjectPath&, ELocalOnlyFlag,
                                    EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                                    const StringArray*) {
    unexpected("getInstance");
}

CIMObjectPath FakeHandle::createInstance(const String&, const CIMInstance&) {
    unexpected("createInstance");
}

void FakeHandle::modifyInstance(const String&, const CIMInstance&, EIncludeQualifiersFlag,
                                const StringArray*) {
    unexpected("modifyInstance");
}

void FakeHandle::deleteInstance(const String&, const CIMObjectPath&) {
    unexpected("deleteInstance");
}

void FakeHandle::enumQualifierTypes(const String&, CIMQualifierTypeResultHandlerIFC&) {
    unexpected("enumQualifierTypes");
}

void FakeHandle::setQualifierType(const String&, const CIMQualifierType&) {
    unexpected("setQualifierType");
}

void FakeHandle::deleteQualifierType(const String&, const String&) {
    unexpected("deleteQualifierType");
}

void FakeHandle::associators(const String&, const CIMObjectPath&, CIMInstanceResultHandlerIFC&,
                             const AssociationFilter&, EIncludeQualifiersFlag,
                             EIncludeClassOriginFlag, const StringArray*) {
    unexpected("associators");
}

void FakeHandle::associatorNames(const String&, const CIMObjectPath&,
                                 CIMObjectPathResultHandlerIFC&, const AssociationFilter&) {
    unexpected("associatorNames");
}

void FakeHandle::references(const String&, const CIMObjectPath&, CIMInstanceResultHandlerIFC&,
                            const AssociationFilter&, EIncludeQualifiersFlag,
                            EIncludeClassOriginFlag, const StringArray*) {
    unexpected("references");
}

void FakeHandle::referenceNames(const String&, const CIMObjectPath&, CIMObjectPathResultHandlerIFC&,
                                const AssociationFilter&) {
    unexpected("referenceNames");
}

void FakeHandle::associatorsClasses(const String&, const CIMObjectPath&, CIMClassResultHandlerIFC&,
                                    const AssociationFilter&, EIncludeQualifiersFlag,
                                    EIncludeClassOriginFlag, const StringArray*) {
    unexpected("associatorsClasses");
}

void FakeHandle::referencesClasses(const String&, const CIMObjectPath&, CIMClassResultHandlerIFC&,
                                   const AssociationFilter&, EIncludeQualifiersFlag,
                                   EIncludeClassOriginFlag, const StringArray*) {
    unexpected("referencesClasses");
}

void FakeHandle::commit() {
    unexpected("commit");
}

}  // namespace OpenWBEM::MOF
