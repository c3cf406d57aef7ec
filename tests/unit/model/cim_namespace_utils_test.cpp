// SPDX-License-Identifier: Apache-2.0
//
// Namespaces through their CIM_Namespace instances, and the collecting forms of the enumerations.
#include "openwbem/model/CIMNameSpaceUtils.hpp"

#include <gmock/gmock.h>

namespace OpenWBEM {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::Invoke;
using ::testing::Return;
using ::testing::Throw;

class HandleMock : public CIMOMHandleIFC {
public:
    MOCK_METHOD(OperationResult, carryOut, (const OperationCall&), (override));
    MOCK_METHOD(void, commit, (), (override));
};

/// A call of that operation.
auto is(Operation operation) {
    return Field(&OperationCall::operation, operation);
}

template <class T>
void deliver(const OperationCall& call, const T& object) {
    std::get<ResultHandlerIFC<T>*>(call.results)->handle(object);
}

CIMClass namespaceClass(std::initializer_list<const char*> keys) {
    CIMPropertyArray properties;
    for (const char* name : keys) {
        properties.push_back(CIMProperty(name, CIMDataType::STRING).setKey(true));
    }
    properties.emplace_back("ClassInfo", CIMDataType::UINT16);
    properties.emplace_back("DescriptionOfClassInfo", CIMDataType::STRING);
    return CIMClass("CIM_Namespace").setProperties(std::move(properties));
}

TEST(CIMNameSpaceUtilsTest, CreatingANamespaceCreatesACompleteInstance) {
    HandleMock handle;
    const CIMClass cls =
        namespaceClass({"SystemCreationClassName", "SystemName", "ObjectManagerCreationClassName",
                        "ObjectManagerName", "CreationClassName", "Name"});
    EXPECT_CALL(handle, carryOut(is(Operation::GET_CLASS)))
        .WillOnce(Invoke([&cls](const OperationCall& call) {
            EXPECT_EQ("root", call.ns);
            EXPECT_EQ("CIM_Namespace", call.as<String>());
            return cls;
        }));
    CIMInstance made;
    EXPECT_CALL(handle, carryOut(is(Operation::CREATE_INSTANCE)))
        .WillOnce(Invoke([&made](const OperationCall& call) {
            EXPECT_EQ("root", call.ns);
            made = call.as<CIMInstance>();
            return CIMObjectPath("root", made);
        }));
    CIMNameSpaceUtils::createCIM_Namespace(handle, "root/new", 3, "what is in it", "root");
    EXPECT_TRUE(made.getPropertyValue("Name") == CIMValue("root/new"));
    EXPECT_TRUE(made.getPropertyValue("CreationClassName") == CIMValue("CIM_Namespace"));
    EXPECT_TRUE(made.getPropertyValue("ClassInfo") == CIMValue(uint16_t{3}));
    EXPECT_TRUE(made.getPropertyValue("DescriptionOfClassInfo") == CIMValue("what is in it"));
    EXPECT_EQ(6U, made.getKeys().size());
    for (const CIMProperty& key : made.getKeys()) {
        EXPECT_FALSE(key.getValue().isNull()) << key.getName();
    }
}

TEST(CIMNameSpaceUtilsTest, OnlyPropertiesOfTheClassAreFilled) {
    HandleMock handle;
    EXPECT_CALL(handle, carryOut(is(Operation::GET_CLASS)))
        .WillOnce(Return(namespaceClass({"CreationClassName", "Name"})));
    EXPECT_CALL(handle, carryOut(is(Operation::CREATE_INSTANCE)))
        .WillOnce(Invoke([](const OperationCall& call) {
            EXPECT_EQ(4U, call.as<CIMInstance>().getProperties().size());
            return CIMObjectPath("root", call.as<CIMInstance>());
        }));
    CIMNameSpaceUtils::createCIM_Namespace(handle, "new", 0, "", "root");
}

TEST(CIMNameSpaceUtilsTest, WhatTheHandleThrowsPassesThrough) {
    HandleMock handle;
    EXPECT_CALL(handle, carryOut(is(Operation::GET_CLASS)))
        .WillOnce(Return(namespaceClass({"CreationClassName", "Name"})));
    EXPECT_CALL(handle, carryOut(is(Operation::CREATE_INSTANCE)))
        .WillOnce(Throw(CIMException("f", 1, CIMException::ALREADY_EXISTS, "new")));
    try {
        CIMNameSpaceUtils::createCIM_Namespace(handle, "new", 0, "", "root");
        FAIL();
    } catch (const CIMException& e) {
        EXPECT_EQ(CIMException::ALREADY_EXISTS, e.getErrNo());
    }
}

TEST(CIMNameSpaceUtilsTest, NamesAreThoseOfTheInstances) {
    HandleMock handle;
    EXPECT_CALL(handle, carryOut(is(Operation::ENUM_INSTANCES)))
        .WillOnce(Invoke([](const OperationCall& call) {
            EXPECT_EQ("root", call.ns);
            EXPECT_EQ("CIM_Namespace", call.as<String>());
            for (const char* name : {"root", "kov"}) {
                deliver(call, CIMInstance("CIM_Namespace").setProperty("Name", CIMValue(name)));
            }
            return OperationResult();
        }));
    EXPECT_THAT(CIMNameSpaceUtils::enumCIM_Namespace(handle, "root"), ElementsAre("root", "kov"));
}

TEST(CIMOMHandleTest, CollectingFormsKeepTheOrderOfDelivery) {
    HandleMock handle;
    EXPECT_CALL(handle, carryOut(is(Operation::ENUM_CLASS_NAMES)))
        .WillOnce(Invoke([](const OperationCall& call) {
            EXPECT_EQ(E_DEEP, call.deep);
            deliver(call, String("B"));
            deliver(call, String("A"));
            return OperationResult();
        }));
    EXPECT_THAT(handle.enumClassNamesA("ns", "C", E_DEEP), ElementsAre("B", "A"));
    EXPECT_CALL(handle, carryOut(is(Operation::ENUM_CLASS)))
        .WillOnce(Invoke([](const OperationCall& call) {
            EXPECT_EQ(E_DEEP, call.deep);
            EXPECT_EQ(E_LOCAL_ONLY, call.wanted.localOnly);
            EXPECT_EQ(E_EXCLUDE_QUALIFIERS, call.wanted.qualifiers);
            EXPECT_EQ(E_INCLUDE_CLASS_ORIGIN, call.wanted.classOrigin);
            deliver(call, CIMClass("X"));
            return OperationResult();
        }));
    EXPECT_THAT(handle.enumClassA("ns", "", E_DEEP, E_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                                  E_INCLUDE_CLASS_ORIGIN),
                ElementsAre(CIMClass("X")));
    EXPECT_CALL(handle, carryOut(is(Operation::ENUM_INSTANCES)))
        .WillOnce(Return(OperationResult()));
    EXPECT_TRUE(handle.enumInstancesA("ns", "C").empty());
    EXPECT_CALL(handle, carryOut(is(Operation::ENUM_INSTANCE_NAMES)))
        .WillOnce(Return(OperationResult()));
    EXPECT_TRUE(handle.enumInstanceNamesA("ns", "C").empty());
    EXPECT_CALL(handle, carryOut(is(Operation::ENUM_QUALIFIER_TYPES)))
        .WillOnce(Return(OperationResult()));
    EXPECT_TRUE(handle.enumQualifierTypesA("ns").empty());
    const CIMObjectPath path("C");
    EXPECT_CALL(handle, carryOut(is(Operation::ASSOCIATORS)))
        .WillOnce(Invoke([&path](const OperationCall& call) {
            EXPECT_EQ("ns", call.ns);
            EXPECT_EQ(path, call.as<CIMObjectPath>());
            deliver(call, CIMInstance(call.filter->assocClass));
            return OperationResult();
        }));
    EXPECT_THAT(handle.associatorsA("ns", path, AssociationFilter{"L", "", "", ""}),
                ElementsAre(CIMInstance("L")));
}

}  // namespace
}  // namespace OpenWBEM
