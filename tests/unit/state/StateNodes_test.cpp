// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateNodes.hpp"

#include <boost/function.hpp>

#include "openwbem/xml/XMLParserDOM.hpp"
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2::Testing {
namespace {

class StateNodes : public ::testing::Test {
protected:
    static XMLNode parsed(const String& text) { return OpenWBEM::XMLParserDOM::parse(text); }

    CapturedLog m_log;
};

TEST_F(StateNodes, NullNodeIsNotTheOneExpected) {
    const String thrown =
        thrownBy<FennikException>([] { checkNodeName(XMLNode(), "Name", "Some prefix: "); });
    EXPECT_TRUE(thrown.ends_with(
        "FennikException: 14: Some prefix: Found NULL XML node when node \"Name\" was expected"))
        << thrown;
}

TEST_F(StateNodes, NodeOfAnotherNameIsNotTheOneExpected) {
    const String thrown =
        thrownBy<FennikException>([] { checkNodeName(XMLNode("name"), "Name", "Some prefix: "); });
    EXPECT_TRUE(
        thrown.ends_with("FennikException: 14: Some prefix: Found XML node \"name\" when "
                         "node \"Name\" was expected"))
        << thrown;
    checkNodeName(XMLNode("Name"), "Name", "Some prefix: ");
}

TEST_F(StateNodes, WrongNodeIsToldWithThePlaceThatExpectedIt) {
    const auto placeOf = [](const boost::function<void()>& check) {
        try {
            check();
        } catch (const FennikException& e) {
            return std::pair(String(e.getFile()), e.getLine());
        }
        return std::pair(String(), 0);
    };
    const auto null = placeOf([] { checkNodeName(XMLNode(), "Name", "prefix: "); });
    const auto other = placeOf([] { checkNodeName(XMLNode("name"), "Name", "prefix: "); });
    EXPECT_EQ(null.first, "tests/unit/state/StateNodes_test.cpp");
    EXPECT_EQ(other.first, null.first);
    EXPECT_EQ(other.second, null.second + 1);
}

TEST_F(StateNodes, FirstChildOfTheNameIsFound) {
    const XMLNode node = parsed("<a><b>1</b><c>2</c><c>3</c></a>");
    EXPECT_EQ(findChildByName(node, "c").getText(), "2");
    EXPECT_EQ(m_log.debugLines(), (StringArray{"Searching for child node with name \"c\"",
                                               "Found child node with name \"c\""}));
}

TEST_F(StateNodes, ChildThatIsNotThereIsNull) {
    const struct {
        XMLNode node;
        const char* logged;
    } rows[] = {{parsed("<a><b/></a>"), "No children with name \"c\""},
                {parsed("<a>text</a>"), "Node has no children"},
                {XMLNode(), "Given node is null.  Cannot search children"}};
    for (const auto& row : rows) {
        m_log.clear();
        EXPECT_FALSE(findChildByName(row.node, "c"));
        EXPECT_EQ(m_log.debugLines(),
                  (StringArray{"Searching for child node with name \"c\"", row.logged}));
    }
}

TEST_F(StateNodes, TextsOfTheChildrenAreExtractedInOrderAndAsTheyAre) {
    const XMLNode node = parsed("<a><M> 1 </M><N>2</N><M/><M>3\n</M></a>");
    EXPECT_EQ(extractChildInstanceArrays(node, "M"), (StringArray{" 1 ", "", "3\n"}));
    const StringArray lines = m_log.debugLines();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines.front(), "extractInstanceArrays() called for tag \"M\"");
    EXPECT_EQ(lines.back(), "extractInstanceArrays() done for tag \"M\": 3 instances located");
    EXPECT_EQ(lines[1], "Tag \"M\" matches");
    EXPECT_EQ(lines[2], "Tag \"N\" does not match");
}

TEST_F(StateNodes, WhiteSpaceIsTakenFromTheEndsThatAreNamed) {
    const String text = " \t\n\r\v\f a b \t\n\r\v\f";
    EXPECT_EQ(trimmed(text), "a b");
    EXPECT_EQ(withoutLeadingSpace(text), "a b \t\n\r\v\f");
    EXPECT_EQ(trimmed(" \n"), "");
    EXPECT_EQ(withoutLeadingSpace(" \n"), "");
    EXPECT_EQ(trimmed(""), "");
    // A no-break space belongs to the text.
    EXPECT_EQ(trimmed("\xC2\xA0x\xC2\xA0"), "\xC2\xA0x\xC2\xA0");
}

TEST_F(StateNodes, InstancesOfPathsHaveTheirClassAndTheirKeys) {
    const auto instances =
        createFakeInstanceArray({R"(ns:A.Id="x,\"y\"",Number=7)", "root/b:B.Key=1"});
    ASSERT_EQ(instances.size(), 2U);
    EXPECT_EQ(OpenWBEM::CIMObjectPath("ns", instances[0]).toString(),
              R"(ns:A.Id="x,\"y\"",Number=7)");
    EXPECT_EQ(instances[1].getClassName(), "B");
    EXPECT_EQ(m_log.debugLines()[0], R"(createFakeInstanceArray cur = ns:A.Id="x,\"y\"",Number=7)");
    EXPECT_THROW(createFakeInstanceArray({"no path"}), OpenWBEM::CIMException);
}

TEST_F(StateNodes, ObjectsOfNamesHaveNothingElse) {
    const auto classes = createFakeCIMObjectArray<OpenWBEM::CIMClass>({"A", "B"});
    ASSERT_EQ(classes.size(), 2U);
    EXPECT_EQ(classes[1].getName(), "B");
    EXPECT_TRUE(classes[1].getProperties().empty());
}

TEST_F(StateNodes, ListsHaveAChildForEachObject) {
    const auto classes = createFakeCIMObjectArray<OpenWBEM::CIMClass>({"A", "B"});
    EXPECT_EQ(toString(createCIMObjectNameNode("L", classes, "N")),
              "<L>\n  <N>A</N>\n  <N>B</N>\n</L>\n");
    const auto instances = createFakeInstanceArray({R"(A.Id="<>")"});
    EXPECT_EQ(toString(createCIMInstanceNameNode("L", "n/s", instances, "N")),
              "<L>\n  <N>n/s:A.Id=\"&lt;&gt;\"</N>\n</L>\n");
    EXPECT_EQ(toString(createInstanceMOFNode("L", instances, "M")),
              "<L>\n  <M>" + String("instance of A\n{\n    Id = \"&lt;&gt;\";\n};\n</M>\n</L>\n"));
    EXPECT_EQ(arrayToMOF(instances), OpenWBEM::MOF::toMOF(instances[0]) + "\n");
}

}  // namespace
}  // namespace KOVNS2::Testing
