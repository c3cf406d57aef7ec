// SPDX-License-Identifier: Apache-2.0
//
// Namespaces through their CIM_Namespace instances, and the collecting forms of the enumerations.
#include "openwbem/model/CIMNameSpaceUtils.hpp"

#include <gmock/gmock.h>

namespace OpenWBEM {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Invoke;
using ::testing::Return;
using ::testing::Throw;

class HandleMock : public CIMOMHandleIFC {
public:
    MOCK_METHOD(void, enumClass,
                (const String&, const String&, CIMClassResultHandlerIFC&, EDeepFlag, ELocalOnlyFlag,
                 EIncludeQualifiersFlag, EIncludeClassOriginFlag),
                (override));
    MOCK_METHOD(void, enumClassNames,
                (const String&, const String&, StringResultHandlerIFC&, EDeepFlag), (override));
    MOCK_METHOD(CIMClass, getClass,
                (const String&, const String&, ELocalOnlyFlag, EIncludeQualifiersFlag,
                 EIncludeClassOriginFlag, const StringArray*),
                (override));
    MOCK_METHOD(void, createClass, (const String&, const CIMClass&), (override));
    MOCK_METHOD(void, modifyClass, (const String&, const CIMClass&), (override));
    MOCK_METHOD(void, deleteClass, (const String&, const String&), (override));
    MOCK_METHOD(void, enumInstances,
                (const String&, const String&, CIMInstanceResultHandlerIFC&, EDeepFlag,
                 ELocalOnlyFlag, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                 const StringArray*),
                (override));
    MOCK_METHOD(void, enumInstanceNames,
                (const String&, const String&, CIMObjectPathResultHandlerIFC&), (override));
    MOCK_METHOD(CIMInstance, getInstance,
                (const String&, const CIMObjectPath&, ELocalOnlyFlag, EIncludeQualifiersFlag,
                 EIncludeClassOriginFlag, const StringArray*),
                (override));
    MOCK_METHOD(CIMObjectPath, createInstance, (const String&, const CIMInstance&), (override));
    MOCK_METHOD(void, modifyInstance,
                (const String&, const CIMInstance&, EIncludeQualifiersFlag, const StringArray*),
                (override));
    MOCK_METHOD(void, deleteInstance, (const String&, const CIMObjectPath&), (override));
    MOCK_METHOD(CIMQualifierType, getQualifierType, (const String&, const String&), (override));
    MOCK_METHOD(void, enumQualifierTypes, (const String&, CIMQualifierTypeResultHandlerIFC&),
                (override));
    MOCK_METHOD(void, setQualifierType, (const String&, const CIMQualifierType&), (override));
    MOCK_METHOD(void, deleteQualifierType, (const String&, const String&), (override));
    MOCK_METHOD(void, associators,
                (const String&, const CIMObjectPath&, CIMInstanceResultHandlerIFC&,
                 const AssociationFilter&, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                 const StringArray*),
                (override));
    MOCK_METHOD(void, associatorNames,
                (const String&, const CIMObjectPath&, CIMObjectPathResultHandlerIFC&,
                 const AssociationFilter&),
                (override));
    MOCK_METHOD(void, references,
                (const String&, const CIMObjectPath&, CIMInstanceResultHandlerIFC&,
                 const AssociationFilter&, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                 const StringArray*),
                (override));
    MOCK_METHOD(void, referenceNames,
                (const String&, const CIMObjectPath&, CIMObjectPathResultHandlerIFC&,
                 const AssociationFilter&),
                (override));
    MOCK_METHOD(void, associatorsClasses,
                (const String&, const CIMObjectPath&, CIMClassResultHandlerIFC&,
                 const AssociationFilter&, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                 const StringArray*),
                (override));
    MOCK_METHOD(void, referencesClasses,
                (const String&, const CIMObjectPath&, CIMClassResultHandlerIFC&,
                 const AssociationFilter&, EIncludeQualifiersFlag, EIncludeClassOriginFlag,
                 const StringArray*),
                (override));
    MOCK_METHOD(void, commit, (), (override));
};

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
    EXPECT_CALL(handle, getClass("root", "CIM_Namespace", _, _, _, _)).WillOnce(Return(cls));
    CIMInstance made;
    EXPECT_CALL(handle, createInstance("root", _))
        .WillOnce(Invoke([&made](const String&, const CIMInstance& instance) {
            made = instance;
            return CIMObjectPath("root", instance);
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
    EXPECT_CALL(handle, getClass).WillOnce(Return(namespaceClass({"CreationClassName", "Name"})));
    EXPECT_CALL(handle, createInstance)
        .WillOnce(Invoke([](const String&, const CIMInstance& instance) {
            EXPECT_EQ(4U, instance.getProperties().size());
            return CIMObjectPath("root", instance);
        }));
    CIMNameSpaceUtils::createCIM_Namespace(handle, "new", 0, "", "root");
}

TEST(CIMNameSpaceUtilsTest, WhatTheHandleThrowsPassesThrough) {
    HandleMock handle;
    EXPECT_CALL(handle, getClass).WillOnce(Return(namespaceClass({"CreationClassName", "Name"})));
    EXPECT_CALL(handle, createInstance)
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
    EXPECT_CALL(handle, enumInstances("root", "CIM_Namespace", _, _, _, _, _, _))
        .WillOnce(
            Invoke([](const String&, const String&, CIMInstanceResultHandlerIFC& result, auto...) {
                for (const char* name : {"root", "kov"}) {
                    result.handle(CIMInstance("CIM_Namespace").setProperty("Name", CIMValue(name)));
                }
            }));
    EXPECT_THAT(CIMNameSpaceUtils::enumCIM_Namespace(handle, "root"), ElementsAre("root", "kov"));
}

TEST(CIMOMHandleTest, CollectingFormsKeepTheOrderOfDelivery) {
    HandleMock handle;
    EXPECT_CALL(handle, enumClassNames("ns", "C", _, E_DEEP))
        .WillOnce(
            Invoke([](const String&, const String&, StringResultHandlerIFC& result, EDeepFlag) {
                result.handle("B");
                result.handle("A");
            }));
    EXPECT_THAT(handle.enumClassNamesA("ns", "C", E_DEEP), ElementsAre("B", "A"));
    EXPECT_CALL(handle, enumClass("ns", "", _, E_DEEP, E_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                                  E_INCLUDE_CLASS_ORIGIN))
        .WillOnce(Invoke([](const String&, const String&, CIMClassResultHandlerIFC& result,
                            auto...) { result.handle(CIMClass("X")); }));
    EXPECT_THAT(handle.enumClassA("ns", "", E_DEEP, E_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                                  E_INCLUDE_CLASS_ORIGIN),
                ElementsAre(CIMClass("X")));
    EXPECT_CALL(handle, enumInstances).WillOnce(Return());
    EXPECT_TRUE(handle.enumInstancesA("ns", "C").empty());
    EXPECT_CALL(handle, enumInstanceNames).WillOnce(Return());
    EXPECT_TRUE(handle.enumInstanceNamesA("ns", "C").empty());
    EXPECT_CALL(handle, enumQualifierTypes).WillOnce(Return());
    EXPECT_TRUE(handle.enumQualifierTypesA("ns").empty());
    const CIMObjectPath path("C");
    EXPECT_CALL(handle, associators("ns", path, _, _, _, _, _))
        .WillOnce(Invoke([](const String&, const CIMObjectPath&,
                            CIMInstanceResultHandlerIFC& result, const AssociationFilter& filter,
                            auto...) { result.handle(CIMInstance(filter.assocClass)); }));
    EXPECT_THAT(handle.associatorsA("ns", path, AssociationFilter{"L", "", "", ""}),
                ElementsAre(CIMInstance("L")));
}

}  // namespace
}  // namespace OpenWBEM
