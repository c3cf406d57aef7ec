// SPDX-License-Identifier: Apache-2.0
//
// Each intrinsic method as the operation that it asks for: parameters, defaults and refusals.
#include "openwbem/cimxml/IntrinsicMethod.hpp"
#include "tests/unit/cimxml/Documents.hpp"

namespace OpenWBEM::CIMXML {
namespace {

const String CLASS_NAME = "<CLASSNAME NAME=\"C\"/>";
const String INSTANCE_NAME =
    "<INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"k\"><KEYVALUE>v</KEYVALUE></KEYBINDING>"
    "</INSTANCENAME>";

String value(const String& text) {
    return "<VALUE>" + text + "</VALUE>";
}

IntrinsicCall parse(const String& method, const String& parameters = {}) {
    return IntrinsicCall(Request::parse(call(method, parameters)));
}

/// The refusal of the call, or "accepted".
String refusal(const String& method, const String& parameters = {}) {
    try {
        parse(method, parameters);
        return "accepted";
    } catch (const CIMException& e) {
        return e.getMessage();
    }
}

CIMObjectPath path() {
    return CIMObjectPath("C").setKeyValue("k", CIMValue("v"));
}

struct Expected {
    Operation operation;
    ResultForm form;
    ELocalOnlyFlag localOnly = E_NOT_LOCAL_ONLY;
    EIncludeQualifiersFlag qualifiers = E_EXCLUDE_QUALIFIERS;
    EIncludeClassOriginFlag classOrigin = E_EXCLUDE_CLASS_ORIGIN;
    EDeepFlag deep = E_SHALLOW;
    Pull pull = Pull::NONE;
};

void expectCall(const IntrinsicCall& call, const Expected& expected) {
    const OperationCall operation = call.call();
    EXPECT_EQ(operation.operation, expected.operation);
    EXPECT_EQ(operation.ns, "root/x");
    EXPECT_EQ(operation.wanted.localOnly, expected.localOnly);
    EXPECT_EQ(operation.wanted.qualifiers, expected.qualifiers);
    EXPECT_EQ(operation.wanted.classOrigin, expected.classOrigin);
    EXPECT_EQ(operation.deep, expected.deep);
    // By a filter, others tell that associations are followed.
    EXPECT_EQ(operation.filter != nullptr, followsAssociations(traitsOf(operation.operation)));
    EXPECT_EQ(call.form(), expected.form);
    EXPECT_EQ(call.pull(), expected.pull);
}

const String CLASS_PARAMETER = parameter("ClassName", CLASS_NAME);
const String INSTANCE_PARAMETER = parameter("InstanceName", INSTANCE_NAME);
const String OBJECT_PARAMETER = parameter("ObjectName", INSTANCE_NAME);
const String ALL_FALSE = parameter("LocalOnly", value("FALSE")) +
                         parameter("IncludeQualifiers", value("FALSE")) +
                         parameter("IncludeClassOrigin", value("FALSE"));
const String ALL_TRUE = parameter("LocalOnly", value("TRUE")) +
                        parameter("IncludeQualifiers", value("TRUE")) +
                        parameter("IncludeClassOrigin", value("TRUE"));
const String LIST =
    parameter("PropertyList", "<VALUE.ARRAY><VALUE>a</VALUE><VALUE>b</VALUE></VALUE.ARRAY>");

TEST(CIMXMLMethodTest, GetClassHasTheStandardsDefaults) {
    const IntrinsicCall call = parse("getclass", CLASS_PARAMETER);
    EXPECT_STREQ(call.name(), "GetClass");
    expectCall(call, {Operation::GET_CLASS, ResultForm::CLASS, E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS});
    EXPECT_EQ(call.call().as<String>(), "C");
    EXPECT_EQ(call.call().wanted.propertyList, nullptr);
}

TEST(CIMXMLMethodTest, GetClassTakesAllParameters) {
    const IntrinsicCall all = parse("GetClass", CLASS_PARAMETER + ALL_TRUE + LIST);
    expectCall(all, {Operation::GET_CLASS, ResultForm::CLASS, E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                     E_INCLUDE_CLASS_ORIGIN});
    ASSERT_NE(all.call().wanted.propertyList, nullptr);
    EXPECT_EQ(*all.call().wanted.propertyList, (StringArray{"a", "b"}));
    expectCall(parse("GetClass", CLASS_PARAMETER + ALL_FALSE),
               {Operation::GET_CLASS, ResultForm::CLASS});
}

TEST(CIMXMLMethodTest, GetInstanceLeavesNothingOutForLocalOnly) {
    const IntrinsicCall standard = parse("GetInstance", INSTANCE_PARAMETER);
    expectCall(standard, {Operation::GET_INSTANCE, ResultForm::INSTANCE});
    EXPECT_EQ(standard.call().as<CIMObjectPath>(), path());
    const IntrinsicCall all = parse("GetInstance", INSTANCE_PARAMETER + ALL_TRUE + LIST);
    expectCall(all, {Operation::GET_INSTANCE, ResultForm::INSTANCE, E_NOT_LOCAL_ONLY,
                     E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN});
    ASSERT_NE(all.call().wanted.propertyList, nullptr);
    EXPECT_EQ(all.propertyList(), nullptr);
}

TEST(CIMXMLMethodTest, ObjectsAreCreatedAndDeleted) {
    const auto createClass = parse("CreateClass", parameter("NewClass", "<CLASS NAME=\"C\"/>"));
    expectCall(createClass, {Operation::CREATE_CLASS, ResultForm::NOTHING});
    EXPECT_EQ(createClass.call().as<CIMClass>(), CIMClass("C"));
    const auto modifyClass =
        parse("ModifyClass", parameter("ModifiedClass", "<CLASS NAME=\"C\"/>"));
    expectCall(modifyClass, {Operation::MODIFY_CLASS, ResultForm::NOTHING});
    const auto deleteClass = parse("DeleteClass", CLASS_PARAMETER);
    expectCall(deleteClass, {Operation::DELETE_CLASS, ResultForm::NOTHING});
    EXPECT_EQ(deleteClass.call().as<String>(), "C");
    const auto createInstance =
        parse("CreateInstance", parameter("NewInstance", "<INSTANCE CLASSNAME=\"C\"/>"));
    expectCall(createInstance, {Operation::CREATE_INSTANCE, ResultForm::INSTANCE_NAME});
    EXPECT_EQ(createInstance.call().as<CIMInstance>(), CIMInstance("C"));
    const auto deleteInstance = parse("DeleteInstance", INSTANCE_PARAMETER);
    expectCall(deleteInstance, {Operation::DELETE_INSTANCE, ResultForm::NOTHING});
    EXPECT_EQ(deleteInstance.call().as<CIMObjectPath>(), path());
}

String modified(const String& name, const String& properties) {
    return parameter("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + name +
                                             "<INSTANCE CLASSNAME=\"c\">" + properties +
                                             "</INSTANCE></VALUE.NAMEDINSTANCE>");
}

TEST(CIMXMLMethodTest, ModifyInstanceTakesKeysFromThePath) {
    const auto call = parse(
        "ModifyInstance",
        modified(INSTANCE_NAME, "<PROPERTY NAME=\"p\" TYPE=\"uint8\"><VALUE>1</VALUE></PROPERTY>") +
            LIST);
    expectCall(call, {Operation::MODIFY_INSTANCE, ResultForm::NOTHING, E_NOT_LOCAL_ONLY,
                      E_INCLUDE_QUALIFIERS});
    CIMInstance expected("C");
    expected.setProperty("p", CIMValue(uint8_t{1})).setProperty("k", CIMValue("v"));
    CIMProperty key = *expected.getProperty("k");
    expected.setProperty(key.setKey(true));
    EXPECT_EQ(call.call().as<CIMInstance>(), expected);
    EXPECT_EQ(*call.call().wanted.propertyList, (StringArray{"a", "b"}));
    EXPECT_EQ(CIMObjectPath("", call.call().as<CIMInstance>()).modelPath(), "c.k=\"v\"");
    expectCall(parse("ModifyInstance",
                     modified(INSTANCE_NAME, "") + parameter("IncludeQualifiers", value("false"))),
               {Operation::MODIFY_INSTANCE, ResultForm::NOTHING});
}

TEST(CIMXMLMethodTest, ModifyInstanceDoesNotChangeKeys) {
    const auto key = [](const String& text) {
        return "<PROPERTY NAME=\"K\" TYPE=\"string\"><VALUE>" + text + "</VALUE></PROPERTY>";
    };
    const auto same = parse("ModifyInstance", modified(INSTANCE_NAME, key("v")));
    EXPECT_EQ(CIMObjectPath("", same.call().as<CIMInstance>()).modelPath(), "c.K=\"v\"");
    EXPECT_EQ(refusal("ModifyInstance", modified(INSTANCE_NAME, key("w"))),
              "invalid parameter: the instance has another value of the key \"k\" than its path");
    EXPECT_EQ(refusal("ModifyInstance", modified("<INSTANCENAME CLASSNAME=\"D\"/>", "")),
              "invalid parameter: the instance is not of the class that its path names");
    EXPECT_EQ(refusal("ModifyInstance",
                      modified("<INSTANCENAME CLASSNAME=\"C\"><KEYVALUE/></INSTANCENAME>", "")),
              "invalid parameter: the path of the instance must name its key");
}

TEST(CIMXMLMethodTest, ClassesAreEnumerated) {
    const auto standard = parse("EnumerateClasses");
    expectCall(standard,
               {Operation::ENUM_CLASS, ResultForm::CLASS, E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS});
    EXPECT_EQ(standard.call().as<String>(), "");
    const auto all = parse("EnumerateClasses", CLASS_PARAMETER + ALL_FALSE +
                                                   parameter("DeepInheritance", value("TRUE")));
    expectCall(all, {Operation::ENUM_CLASS, ResultForm::CLASS, E_NOT_LOCAL_ONLY,
                     E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, E_DEEP});
    EXPECT_EQ(all.call().as<String>(), "C");
    const auto names = parse("EnumerateClassNames", parameter("ClassName", ""));
    expectCall(names, {Operation::ENUM_CLASS_NAMES, ResultForm::CLASS_NAME});
    EXPECT_EQ(names.call().as<String>(), "");
}

TEST(CIMXMLMethodTest, InstancesAreEnumeratedWithAllPropertiesThatTheirPathsNeed) {
    const auto standard = parse("EnumerateInstances", CLASS_PARAMETER);
    expectCall(standard, {Operation::ENUM_INSTANCES, ResultForm::NAMED_INSTANCE, E_NOT_LOCAL_ONLY,
                          E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, E_DEEP});
    EXPECT_EQ(standard.propertyList(), nullptr);
    const auto all = parse("EnumerateInstances", CLASS_PARAMETER + ALL_TRUE + LIST +
                                                     parameter("DeepInheritance", value("FALSE")));
    expectCall(all, {Operation::ENUM_INSTANCES, ResultForm::NAMED_INSTANCE, E_NOT_LOCAL_ONLY,
                     E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN});
    EXPECT_EQ(all.call().wanted.propertyList, nullptr);
    ASSERT_NE(all.propertyList(), nullptr);
    EXPECT_EQ(*all.propertyList(), (StringArray{"a", "b"}));
    expectCall(parse("EnumerateInstanceNames", CLASS_PARAMETER),
               {Operation::ENUM_INSTANCE_NAMES, ResultForm::INSTANCE_NAME});
}

const String FILTER = parameter("AssocClass", "<CLASSNAME NAME=\"A\"/>") +
                      parameter("ResultClass", "<CLASSNAME NAME=\"R\"/>") +
                      parameter("Role", value("r")) + parameter("ResultRole", value("s"));

TEST(CIMXMLMethodTest, AssociatorsTakeAllFilters) {
    const auto call = parse("Associators", OBJECT_PARAMETER + FILTER);
    expectCall(call, {Operation::ASSOCIATORS, ResultForm::OBJECT_WITH_PATH});
    EXPECT_EQ(call.call().as<CIMObjectPath>(), path());
    const AssociationFilter& filter = *call.call().filter;
    EXPECT_EQ(filter.assocClass, "A");
    EXPECT_EQ(filter.resultClass, "R");
    EXPECT_EQ(filter.role, "r");
    EXPECT_EQ(filter.resultRole, "s");
    const auto names = parse("AssociatorNames", OBJECT_PARAMETER);
    expectCall(names, {Operation::ASSOCIATOR_NAMES, ResultForm::OBJECT_PATH});
    EXPECT_EQ(names.call().filter->assocClass, "");
}

TEST(CIMXMLMethodTest, ReferencesTakeTwoFilters) {
    const String filter =
        parameter("ResultClass", "<CLASSNAME NAME=\"R\"/>") + parameter("Role", value("r"));
    const auto call = parse("References", OBJECT_PARAMETER + filter + LIST);
    expectCall(call, {Operation::REFERENCES, ResultForm::OBJECT_WITH_PATH});
    EXPECT_EQ(call.call().filter->resultClass, "R");
    EXPECT_EQ(call.call().filter->role, "r");
    EXPECT_EQ(call.call().wanted.propertyList, nullptr);
    ASSERT_NE(call.propertyList(), nullptr);
    expectCall(parse("ReferenceNames", OBJECT_PARAMETER),
               {Operation::REFERENCE_NAMES, ResultForm::OBJECT_PATH});
    EXPECT_EQ(refusal("References", OBJECT_PARAMETER + FILTER),
              "invalid parameter: References has no parameter \"assocclass\"");
}

TEST(CIMXMLMethodTest, AssociationsOfAClassLeadToClasses) {
    const String cls = parameter("ObjectName", CLASS_NAME);
    const auto call = parse("Associators", cls + LIST);
    expectCall(call, {Operation::ASSOCIATORS_CLASSES, ResultForm::OBJECT_WITH_PATH});
    EXPECT_EQ(call.call().as<CIMObjectPath>(), CIMObjectPath("C"));
    ASSERT_NE(call.call().wanted.propertyList, nullptr);
    EXPECT_EQ(call.propertyList(), nullptr);
    expectCall(parse("AssociatorNames", cls),
               {Operation::ASSOCIATORS_CLASSES, ResultForm::OBJECT_PATH});
    expectCall(parse("References", cls),
               {Operation::REFERENCES_CLASSES, ResultForm::OBJECT_WITH_PATH});
    expectCall(parse("ReferenceNames", cls),
               {Operation::REFERENCES_CLASSES, ResultForm::OBJECT_PATH});
}

TEST(CIMXMLMethodTest, QualifierTypesHaveTheirMethods) {
    const String name = parameter("QualifierName", value("Q"));
    const auto get = parse("GetQualifier", name);
    expectCall(get, {Operation::GET_QUALIFIER_TYPE, ResultForm::QUALIFIER_TYPE});
    EXPECT_EQ(get.call().as<String>(), "Q");
    const auto erase = parse("DeleteQualifier", name);
    expectCall(erase, {Operation::DELETE_QUALIFIER_TYPE, ResultForm::NOTHING});
    EXPECT_EQ(erase.call().as<String>(), "Q");
    const auto set = parse(
        "SetQualifier",
        parameter("QualifierDeclaration", "<QUALIFIER.DECLARATION NAME=\"Q\" TYPE=\"string\"/>"));
    expectCall(set, {Operation::SET_QUALIFIER_TYPE, ResultForm::NOTHING});
    EXPECT_EQ(set.call().as<CIMQualifierType>().getName(), "Q");
    const auto all = parse("EnumerateQualifiers");
    expectCall(all, {Operation::ENUM_QUALIFIER_TYPES, ResultForm::QUALIFIER_TYPE});
    EXPECT_TRUE(std::holds_alternative<std::monostate>(all.call().operand));
}

TEST(CIMXMLMethodTest, GetPropertyGetsAnInstanceWithThatProperty) {
    const auto call =
        parse("GetProperty", INSTANCE_PARAMETER + parameter("PropertyName", value("p")));
    expectCall(call, {Operation::GET_INSTANCE, ResultForm::PROPERTY_VALUE});
    EXPECT_EQ(*call.call().wanted.propertyList, StringArray{"p"});
    EXPECT_EQ(refusal("GetProperty", INSTANCE_PARAMETER),
              "invalid parameter: GetProperty needs the parameter PropertyName");
}

const String PULL = parameter("OperationTimeout", value("30")) +
                    parameter("ContinueOnError", value("TRUE")) +
                    parameter("MaxObjectCount", value("100"));

TEST(CIMXMLMethodTest, PulledEnumerationsBeginTheSameOperations) {
    const auto call = parse("OpenEnumerateInstances", CLASS_PARAMETER + LIST + PULL);
    expectCall(call, {Operation::ENUM_INSTANCES, ResultForm::INSTANCE_WITH_PATH, E_NOT_LOCAL_ONLY,
                      E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, E_DEEP, Pull::OPEN});
    EXPECT_EQ(call.pullArguments().operationTimeout, 30U);
    EXPECT_EQ(call.pullArguments().maxObjectCount, 100U);
    EXPECT_TRUE(call.pullArguments().continueOnError);
    EXPECT_EQ(call.call().wanted.propertyList, nullptr);
    ASSERT_NE(call.propertyList(), nullptr);
    const auto expectOpen = [](const char* method, const String& parameters, Operation operation,
                               ResultForm form) {
        const auto open = parse(method, parameters);
        expectCall(open, {operation, form, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                          E_EXCLUDE_CLASS_ORIGIN, E_SHALLOW, Pull::OPEN});
        EXPECT_EQ(open.pullArguments().operationTimeout, std::nullopt);
        EXPECT_EQ(open.pullArguments().maxObjectCount, 0U);
        EXPECT_FALSE(open.pullArguments().continueOnError);
    };
    expectOpen("OpenEnumerateInstancePaths", CLASS_PARAMETER, Operation::ENUM_INSTANCE_NAMES,
               ResultForm::INSTANCE_PATH);
    expectOpen("OpenAssociatorInstances", INSTANCE_PARAMETER + FILTER, Operation::ASSOCIATORS,
               ResultForm::INSTANCE_WITH_PATH);
    expectOpen("OpenAssociatorInstancePaths", INSTANCE_PARAMETER + FILTER,
               Operation::ASSOCIATOR_NAMES, ResultForm::INSTANCE_PATH);
    expectOpen("OpenReferenceInstances", INSTANCE_PARAMETER, Operation::REFERENCES,
               ResultForm::INSTANCE_WITH_PATH);
    expectOpen("OpenReferenceInstancePaths", INSTANCE_PARAMETER, Operation::REFERENCE_NAMES,
               ResultForm::INSTANCE_PATH);
}

TEST(CIMXMLMethodTest, PulledEnumerationsGoOnByTheirContexts) {
    const String context = parameter("EnumerationContext", value("c"));
    const String both = context + parameter("MaxObjectCount", value("5"));
    const auto expectPull = [](const IntrinsicCall& call, Pull pull, ResultForm form) {
        EXPECT_EQ(call.pull(), pull);
        EXPECT_EQ(call.form(), form);
        EXPECT_EQ(call.ns(), "root/x");
        EXPECT_EQ(call.pullArguments().enumerationContext, "c");
    };
    const auto pull = parse("PullInstancesWithPath", both);
    expectPull(pull, Pull::PULL, ResultForm::INSTANCE_WITH_PATH);
    EXPECT_EQ(pull.pullArguments().maxObjectCount, 5U);
    expectPull(parse("PullInstancePaths", both), Pull::PULL, ResultForm::INSTANCE_PATH);
    expectPull(parse("PullInstances", both), Pull::PULL, ResultForm::INSTANCE);
    expectPull(parse("CloseEnumeration", context), Pull::CLOSE, ResultForm::NOTHING);
    expectPull(parse("EnumerationCount", context), Pull::COUNT, ResultForm::NUMBER);
    EXPECT_EQ(refusal("PullInstancePaths", context),
              "invalid parameter: PullInstancePaths needs the parameter MaxObjectCount");
    EXPECT_EQ(refusal("CloseEnumeration"),
              "invalid parameter: CloseEnumeration needs the parameter EnumerationContext");
}

TEST(CIMXMLMethodTest, AFilterQueryIsNotSupported) {
    EXPECT_EQ(refusal("OpenEnumerateInstances",
                      CLASS_PARAMETER + parameter("FilterQueryLanguage", value("DMTF:FQL")) +
                          parameter("FilterQuery", value("a=1"))),
              "filtered enumeration not supported: no query language is supported");
    EXPECT_EQ(
        refusal("OpenEnumerateInstances", CLASS_PARAMETER + parameter("FilterQueryLanguage", "") +
                                              parameter("FilterQuery", value(""))),
        "accepted");
}

TEST(CIMXMLMethodTest, OtherMethodsAreNotSupported) {
    for (const char* method :
         {"ExecQuery", "SetProperty", "OpenQueryInstances", "NoSuchMethod", ""}) {
        EXPECT_EQ(refusal(method),
                  "not supported: this server has no method \"" + String(method) + '"');
    }
    Request extrinsic;
    extrinsic.isExtrinsic = true;
    extrinsic.method = "GetClass";
    try {
        const IntrinsicCall call(extrinsic);
        ADD_FAILURE() << call.name();
    } catch (const CIMException& e) {
        EXPECT_STREQ(e.getMessage(), "not supported: no class has a method that can be called");
    }
}

TEST(CIMXMLMethodTest, ArgumentsThatAMethodDoesNotTakeAreRefused) {
    EXPECT_EQ(refusal("GetClass"), "invalid parameter: GetClass needs the parameter ClassName");
    EXPECT_EQ(refusal("GetClass", parameter("ClassName", "")),
              "invalid parameter: GetClass needs the parameter ClassName");
    EXPECT_EQ(refusal("GetClass", CLASS_PARAMETER + parameter("Other", "")),
              "invalid parameter: GetClass has no parameter \"other\"");
    EXPECT_EQ(refusal("GetClass", CLASS_PARAMETER + parameter("DeepInheritance", value("TRUE"))),
              "invalid parameter: GetClass has no parameter \"deepinheritance\"");
    EXPECT_EQ(refusal("EnumerateQualifiers", CLASS_PARAMETER),
              "invalid parameter: EnumerateQualifiers has no parameter \"classname\"");
}

TEST(CIMXMLMethodTest, ArgumentsOfAnotherKindAreRefused) {
    const auto kind = [](const String& name, const String& method, const String& wanted) {
        return "invalid parameter: the parameter " + name + " of " + method + " must be " + wanted;
    };
    EXPECT_EQ(refusal("GetClass", parameter("ClassName", value("C"))),
              kind("ClassName", "GetClass", "a CLASSNAME"));
    EXPECT_EQ(refusal("GetInstance", parameter("InstanceName", CLASS_NAME)),
              kind("InstanceName", "GetInstance", "an INSTANCENAME"));
    EXPECT_EQ(
        refusal("GetInstance",
                parameter("InstanceName",
                          "<VALUE.REFERENCE><LOCALCLASSPATH><LOCALNAMESPACEPATH>"
                          "<NAMESPACE NAME=\"n\"/></LOCALNAMESPACEPATH><CLASSNAME NAME=\"C\"/>"
                          "</LOCALCLASSPATH></VALUE.REFERENCE>")),
        kind("InstanceName", "GetInstance", "an INSTANCENAME"));
    EXPECT_EQ(refusal("Associators", parameter("ObjectName", value("C"))),
              kind("ObjectName", "Associators", "an INSTANCENAME"));
    EXPECT_EQ(refusal("CreateClass", parameter("NewClass", CLASS_NAME)),
              kind("NewClass", "CreateClass", "a CLASS"));
    EXPECT_EQ(refusal("CreateInstance", parameter("NewInstance", CLASS_NAME)),
              kind("NewInstance", "CreateInstance", "an INSTANCE"));
    EXPECT_EQ(
        refusal("ModifyInstance", parameter("ModifiedInstance", "<INSTANCE CLASSNAME=\"C\"/>")),
        kind("ModifiedInstance", "ModifyInstance", "a VALUE.NAMEDINSTANCE"));
    EXPECT_EQ(refusal("SetQualifier", parameter("QualifierDeclaration", value("Q"))),
              kind("QualifierDeclaration", "SetQualifier", "a QUALIFIER.DECLARATION"));
    EXPECT_EQ(refusal("GetQualifier", parameter("QualifierName", CLASS_NAME)),
              kind("QualifierName", "GetQualifier", "a VALUE"));
    EXPECT_EQ(refusal("GetClass", CLASS_PARAMETER + parameter("PropertyList", value("a"))),
              kind("PropertyList", "GetClass", "a VALUE.ARRAY"));
    EXPECT_EQ(refusal("GetClass", CLASS_PARAMETER + parameter("LocalOnly", CLASS_NAME)),
              kind("LocalOnly", "GetClass", "a VALUE"));
}

TEST(CIMXMLMethodTest, ValuesOfAnotherTypeAreRefused) {
    EXPECT_EQ(refusal("GetClass", CLASS_PARAMETER + parameter("LocalOnly", value("yes"))),
              "invalid parameter: the parameter LocalOnly of GetClass: \"yes\" is no boolean");
    EXPECT_EQ(
        refusal("OpenEnumerateInstances",
                CLASS_PARAMETER + parameter("OperationTimeout", value("-1"))),
        "invalid parameter: the parameter OperationTimeout of OpenEnumerateInstances: \"-1\" is "
        "no uint32");
}

TEST(CIMXMLMethodTest, APropertyListIsNotTooLong) {
    String names;
    for (int i = 0; i < 4097; ++i) {
        names += "<VALUE/>";
    }
    EXPECT_EQ(
        refusal("GetClass", CLASS_PARAMETER + parameter("PropertyList", "<VALUE.ARRAY>" + names +
                                                                            "</VALUE.ARRAY>")),
        "invalid parameter: the property list has more than 4096 names");
}

TEST(CIMXMLMethodTest, AFailureOfTheRequestIsThatOfTheCall) {
    EXPECT_EQ(refusal("CreateInstance",
                      parameter("NewInstance",
                                "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"p\" TYPE=\"boolean\">"
                                "<VALUE>x</VALUE></PROPERTY></INSTANCE>")),
              "invalid parameter: argument \"NewInstance\": property \"p\": \"x\" is no boolean");
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
