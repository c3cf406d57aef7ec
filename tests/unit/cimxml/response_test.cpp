// SPDX-License-Identifier: Apache-2.0
//
// Responses in pieces: the envelope, a result in each form, and failures.
#include "openwbem/cimxml/Response.hpp"

#include "tests/unit/cimxml/Documents.hpp"

namespace OpenWBEM::CIMXML {
namespace {

const Place PLACE{"here", "root"};
const String HEAD =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
    "<MESSAGE ID=\"&lt;7&gt;\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP>";
const String TAIL = "</SIMPLERSP></MESSAGE></CIM>";

const String CLASS_NAME = parameter("ClassName", "<CLASSNAME NAME=\"C\"/>");
const String INSTANCE_NAME = parameter("InstanceName", "<INSTANCENAME CLASSNAME=\"C\"/>");
const String OBJECT_NAME = parameter("ObjectName", "<INSTANCENAME CLASSNAME=\"C\"/>");
const String LIST = parameter("PropertyList", "<VALUE.ARRAY><VALUE>P</VALUE></VALUE.ARRAY>");

IntrinsicCall parse(const String& method, const String& parameters = {}) {
    return IntrinsicCall(Request::parse(call(method, parameters)));
}

CIMInstance instance() {
    return CIMInstance("C").setProperties(
        {CIMProperty("k", CIMDataType::STRING, CIMValue("v")).setKey(true),
         CIMProperty("p", CIMDataType::UINT8, CIMValue(uint8_t{1})),
         CIMProperty("q", CIMDataType::UINT8, CIMValue(uint8_t{2}))});
}

CIMObjectPath path() {
    return CIMObjectPath("C").setKeyValue("k", CIMValue("v"));
}

/// A result of a method as the client reads it.
template <class T, class Object>
T received(const IntrinsicCall& call, const Object& object) {
    String out;
    appendHead(out, "1", call);
    appendResult(out, call, PLACE, object);
    appendTail(out, call);
    const ReceivedResponse response = ReceivedResponse::parse(out);
    EXPECT_EQ(response.results.size(), 1U);
    return std::get<T>(response.results.at(0));
}

/// The path with the place that it is completed with.
CIMObjectPath placed(CIMObjectPath path) {
    return path.setHost("here").setNameSpace("root");
}

TEST(CIMXMLResponseTest, ResultsStandBetweenHeadAndTail) {
    const auto call = parse("EnumerateClassNames");
    String out;
    appendHead(out, "<7>", call);
    EXPECT_EQ(out, HEAD + "<IMETHODRESPONSE NAME=\"EnumerateClassNames\"><IRETURNVALUE>");
    out.clear();
    appendResult(out, call, PLACE, String("A"));
    EXPECT_EQ(out, "<CLASSNAME NAME=\"A\"/>");
    out.clear();
    appendTail(out, call);
    EXPECT_EQ(out, "</IRETURNVALUE></IMETHODRESPONSE>" + TAIL);
}

TEST(CIMXMLResponseTest, AMethodWithoutResultsHasNoReturnValue) {
    const auto call = parse("DeleteClass", CLASS_NAME);
    String out;
    appendHead(out, "<7>", call);
    appendResult(out, call, PLACE, OperationResult());
    appendTail(out, call);
    EXPECT_EQ(out, HEAD + "<IMETHODRESPONSE NAME=\"DeleteClass\"></IMETHODRESPONSE>" + TAIL);
}

TEST(CIMXMLResponseTest, APulledEnumerationSaysWhereItStands) {
    const auto call = parse("OpenEnumerateInstances", CLASS_NAME);
    String out;
    PullState state{false, "c<"};
    appendTail(out, call, &state);
    EXPECT_EQ(out,
              "</IRETURNVALUE><PARAMVALUE NAME=\"EndOfSequence\" PARAMTYPE=\"boolean\">"
              "<VALUE>FALSE</VALUE></PARAMVALUE>"
              "<PARAMVALUE NAME=\"EnumerationContext\" PARAMTYPE=\"string\"><VALUE>c&lt;</VALUE>"
              "</PARAMVALUE></IMETHODRESPONSE>" +
                  TAIL);
    out.clear();
    state.isAtEnd = true;
    appendHead(out, "1", call);
    appendTail(out, call, &state);
    const ReceivedResponse response = ReceivedResponse::parse(out);
    EXPECT_TRUE(response.results.empty());
    EXPECT_EQ(response.outputs.at("EndOfSequence"), CIMValue("TRUE"));
    EXPECT_EQ(response.outputs.at("EnumerationContext"), CIMValue());
}

TEST(CIMXMLResponseTest, ClassesHaveTheFormOfTheirMethod) {
    const CIMClass cls("C");
    EXPECT_EQ(received<CIMClass>(parse("GetClass", CLASS_NAME), OperationResult(cls)), cls);
    EXPECT_EQ(received<CIMClass>(parse("EnumerateClasses"), cls), cls);
    const String name = parameter("ObjectName", "<CLASSNAME NAME=\"C\"/>");
    const auto object = received<ClassWithPath>(parse("Associators", name), cls);
    EXPECT_EQ(object.cls, cls);
    EXPECT_EQ(object.path, placed(CIMObjectPath("C")));
    EXPECT_EQ(received<CIMObjectPath>(parse("ReferenceNames", name), cls),
              placed(CIMObjectPath("C")));
}

TEST(CIMXMLResponseTest, InstancesHaveTheFormOfTheirMethod) {
    EXPECT_EQ(
        received<CIMInstance>(parse("GetInstance", INSTANCE_NAME), OperationResult(instance())),
        instance());
    const auto named = received<NamedInstance>(parse("EnumerateInstances", CLASS_NAME), instance());
    EXPECT_EQ(named.instance, instance());
    EXPECT_EQ(named.path, path());
    for (const auto& call : {parse("Associators", OBJECT_NAME), parse("References", OBJECT_NAME),
                             parse("OpenEnumerateInstances", CLASS_NAME)}) {
        const auto object = received<NamedInstance>(call, instance());
        EXPECT_EQ(object.instance, instance());
        EXPECT_EQ(object.path, placed(path()));
    }
}

TEST(CIMXMLResponseTest, APropertyListLeavesThePathWhole) {
    const auto named =
        received<NamedInstance>(parse("EnumerateInstances", CLASS_NAME + LIST), instance());
    EXPECT_EQ(named.instance, CIMInstance("C").setProperty("p", CIMValue(uint8_t{1})));
    EXPECT_EQ(named.path, path());
}

TEST(CIMXMLResponseTest, AnInstanceMayBeElsewhere) {
    const auto call = parse("Associators", OBJECT_NAME);
    String out;
    appendHead(out, "1", call);
    appendResult(out, call, PLACE, path().setNameSpace("other"), instance());
    appendTail(out, call);
    EXPECT_EQ(std::get<NamedInstance>(ReceivedResponse::parse(out).results.at(0)).path,
              path().setNameSpace("other").setHost("here"));
}

TEST(CIMXMLResponseTest, PathsHaveTheFormOfTheirMethod) {
    const auto text = [](const IntrinsicCall& call) {
        String out;
        appendResult(out, call, PLACE, path());
        return out.substr(0, out.find('>') + 1);
    };
    EXPECT_EQ(text(parse("EnumerateInstanceNames", CLASS_NAME)), "<INSTANCENAME CLASSNAME=\"C\">");
    EXPECT_EQ(text(parse("AssociatorNames", OBJECT_NAME)), "<OBJECTPATH>");
    EXPECT_EQ(text(parse("OpenEnumerateInstancePaths", CLASS_NAME)), "<INSTANCEPATH>");
    EXPECT_EQ(received<CIMObjectPath>(parse("AssociatorNames", OBJECT_NAME), path()),
              placed(path()));
    EXPECT_EQ(received<CIMObjectPath>(parse("OpenEnumerateInstancePaths", CLASS_NAME), path()),
              placed(path()));
    const auto create =
        parse("CreateInstance", parameter("NewInstance", "<INSTANCE CLASSNAME=\"C\"/>"));
    EXPECT_EQ(received<CIMObjectPath>(create, OperationResult(path())), path());
}

TEST(CIMXMLResponseTest, OtherResultsHaveTheirForms) {
    CIMQualifierType type("Q");
    type.setDataType(CIMDataType::BOOLEAN).setScopes(CIMScope::CLASS);
    EXPECT_EQ(received<CIMQualifierType>(parse("EnumerateQualifiers"), type), type);
    const auto get = parse("GetQualifier", parameter("QualifierName", "<VALUE>Q</VALUE>"));
    EXPECT_EQ(received<CIMQualifierType>(get, OperationResult(type)), type);
    String out;
    appendResult(out,
                 parse("EnumerationCount", parameter("EnumerationContext", "<VALUE>c</VALUE>")),
                 uint64_t{12});
    EXPECT_EQ(out, "<VALUE>12</VALUE>");
}

TEST(CIMXMLResponseTest, GetPropertyGetsTheValue) {
    const auto call = [](const String& name) {
        return parse("GetProperty",
                     INSTANCE_NAME + parameter("PropertyName", "<VALUE>" + name + "</VALUE>"));
    };
    EXPECT_EQ(received<CIMValue>(call("P"), instance()), CIMValue("1"));
    String out = "before";
    CIMInstance null("C");
    null.setProperties({CIMProperty("n", CIMDataType::STRING)});
    appendResult(out, call("n"), PLACE, null);
    EXPECT_EQ(out, "before");
    try {
        appendResult(out, call("other"), PLACE, instance());
        ADD_FAILURE() << out;
    } catch (const CIMException& e) {
        EXPECT_STREQ(e.getMessage(),
                     "no such property: an instance of C has no property \"other\"");
    }
}

TEST(CIMXMLResponseTest, AResultThatCannotBeSentLeavesNothing) {
    String out = "before";
    CIMInstance bad = instance();
    bad.setProperty("s", CIMValue("\x01"));
    EXPECT_THROW(appendResult(out, parse("EnumerateInstances", CLASS_NAME), PLACE, bad),
                 CIMException);
    EXPECT_EQ(out, "before");
}

TEST(CIMXMLResponseTest, AFailureIsAResponse) {
    const CIMException e(__FILE__, __LINE__, CIMException::NOT_FOUND, "no \"x\" & y");
    EXPECT_EQ(failure("<7>", "GetClass", e),
              HEAD +
                  "<IMETHODRESPONSE NAME=\"GetClass\"><ERROR CODE=\"6\" DESCRIPTION=\"not found: "
                  "no &quot;x&quot; &amp; y\"/></IMETHODRESPONSE>" +
                  TAIL);
    EXPECT_EQ(failure("<7>", "Start", e, true),
              HEAD +
                  "<METHODRESPONSE NAME=\"Start\"><ERROR CODE=\"6\" DESCRIPTION=\"not found: "
                  "no &quot;x&quot; &amp; y\"/></METHODRESPONSE>" +
                  TAIL);
}

TEST(CIMXMLResponseTest, AFailureIsReadAsSuch) {
    const ReceivedResponse response = ReceivedResponse::parse(
        failure("1", "m",
                CIMException(__FILE__, __LINE__, CIMException::INVALID_ENUMERATION_CONTEXT, "c")));
    EXPECT_EQ(response.method, "m");
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->getErrNo(), 21);
    EXPECT_STREQ(response.error->getMessage(), "invalid enumeration context: c");
}

TEST(CIMXMLResponseTest, AnyMessageOfAFailureCanBeSent) {
    const CIMException e(__FILE__, __LINE__, CIMException::FAILED,
                         "a\x01\xFF\n\xEF\xBF\xBE\xEF\xBF\xBD");
    EXPECT_STREQ(ReceivedResponse::parse(failure("1", "m", e)).error->getMessage(),
                 "failed: a\\x01\\xff\n???\xEF\xBF\xBD");
}

TEST(CIMXMLResponseTest, OtherResponsesAreRefused) {
    const auto errorOf = [](const String& content) {
        try {
            ReceivedResponse::parse(message(content));
            return String("read");
        } catch (const RequestException& e) {
            const String text = e.getMessage();
            return text.substr(text.find(": ") + 2);
        } catch (const CIMException& e) {
            EXPECT_EQ(e.getErrNo(), CIMException::INVALID_PARAMETER);
            return String(e.getMessage());
        }
    };
    EXPECT_EQ(errorOf("<SIMPLEREQ/>"), "the element SIMPLEREQ must not be here");
    EXPECT_EQ(errorOf("<SIMPLERSP/>"), "the element IMETHODRESPONSE is missing");
    EXPECT_EQ(errorOf("<SIMPLERSP><ERROR/></SIMPLERSP>"), "the element ERROR must not be here");
    const auto inResponse = [&](const String& content) {
        return errorOf("<SIMPLERSP><IMETHODRESPONSE NAME=\"m\">" + content +
                       "</IMETHODRESPONSE></SIMPLERSP>");
    };
    EXPECT_EQ(inResponse("<VALUE/>"), "the element VALUE must not be here");
    EXPECT_EQ(inResponse("<ERROR/>"), "the element ERROR lacks the attribute CODE");
    EXPECT_EQ(inResponse("<ERROR CODE=\"x\"/>"),
              "invalid parameter: attribute \"CODE\": \"x\" is no uint16");
    EXPECT_EQ(inResponse("<ERROR CODE=\"1\"><INSTANCE CLASSNAME=\"CIM_Error\"/></ERROR>"), "read");
    EXPECT_EQ(inResponse("<IRETURNVALUE><METHOD/></IRETURNVALUE>"),
              "the element METHOD must not be here");
    EXPECT_EQ(inResponse("<IRETURNVALUE><VALUE.OBJECTWITHPATH><INSTANCEPATH/>"
                         "</VALUE.OBJECTWITHPATH></IRETURNVALUE>"),
              "the element NAMESPACEPATH is missing");
    EXPECT_EQ(errorOf("<SIMPLERSP><METHODRESPONSE NAME=\"m\"><RETURNVALUE/></METHODRESPONSE>"
                      "</SIMPLERSP>"),
              "read");
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
