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

OperationResult FakeHandle::carryOut(const OperationCall& call) {
    switch (call.operation) {
        case Operation::GET_CLASS:
            return findClass(call);
        case Operation::GET_QUALIFIER_TYPE:
            return findQualifierType(call.as<String>());
        default:
            unexpected(traitsOf(call.operation).name);
    }
}

CIMClass FakeHandle::findClass(const OperationCall& call) {
    const String& ns = call.ns;
    const String& className = call.as<String>();
    EXPECT_EQ(call.wanted.localOnly, E_NOT_LOCAL_ONLY);
    EXPECT_EQ(call.wanted.qualifiers, E_INCLUDE_QUALIFIERS);
    EXPECT_EQ(call.wanted.propertyList, nullptr);
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

CIMQualifierType FakeHandle::findQualifierType(const String& name) {
    asked.push_back(name);
    const auto found = qualifierTypes.find(blocxx::toLower(name));
    if (found == qualifierTypes.end()) {
        throw CIMException(__FILE__, __LINE__, absence, "no qualifier type " + name);
    }
    return found->second;
}

void FakeHandle::commit() {
    unexpected("commit");
}

}  // namespace OpenWBEM::MOF
