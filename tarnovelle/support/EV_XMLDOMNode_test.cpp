#include "tarnovelle/support/EV_XMLDOMNode.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tarnovelle/support/EV_XMLDOMDocument.h"
#include "tarnovelle/support/TNTrace.h"
#include "tests/support/TNRunWithStack.h"

namespace {

class XmlNodeTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(m_doc.New(), S_OK); }

    std::string Serial() {
        std::vector<uint8_t> bytes;
        EXPECT_EQ(m_doc.PersistInMemory(bytes), S_OK);
        return std::string(bytes.begin(), bytes.end());
    }

    EV_XMLDOMDocument m_doc;
};

std::vector<std::string> AttributeNames(const EV_XMLDOMNode& node) {
    std::vector<std::string> names;
    int32_t count = 0;
    EXPECT_EQ(node.GetAttributeCount(count), S_OK);
    for (int32_t i = 0; i < count; ++i) {
        std::string name;
        EXPECT_EQ(node.GetAttributeName(i, name), S_OK);
        names.push_back(name);
    }
    return names;
}

// `levels` elements "e" nested in each other around the text "bottom".
std::string NestedElements(int32_t levels) {
    std::string text;
    for (int32_t k = 0; k < levels; ++k) text += "<e>";
    text += "bottom";
    for (int32_t k = 0; k < levels; ++k) text += "</e>";
    return text;
}

std::string SerialOf(const EV_XMLDOMDocument& doc) {
    std::vector<uint8_t> bytes;
    EXPECT_EQ(doc.PersistInMemory(bytes), S_OK);
    return std::string(bytes.begin(), bytes.end());
}

}  // namespace

TEST(XmlResults, FailureIsTheNegativeOfThePlatform) {
    EXPECT_EQ(E_FAIL, static_cast<int32_t>(0x80004005u));
    EXPECT_LT(E_FAIL, 0);
    EXPECT_TRUE(FAILED(E_FAIL));
    EXPECT_TRUE(SUCCEEDED(S_FALSE));
}

TEST(XmlNames, NameWithDigitFirstOrBlankOrAngleIsNotValid) {
    EXPECT_FALSE(EV_XMLDOMNode::IsValidName("1abc"));
    EXPECT_FALSE(EV_XMLDOMNode::IsValidName("a b"));
    EXPECT_FALSE(EV_XMLDOMNode::IsValidName("a<b"));
    EXPECT_FALSE(EV_XMLDOMNode::IsValidName("ab>"));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidName("a1"));
}

TEST(XmlNames, EmptyNameAmpersandAndQuotesAreValidNames) {
    EXPECT_TRUE(EV_XMLDOMNode::IsValidName(""));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidName("a&b"));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidName("a\"b'"));
}

TEST(XmlNames, ValueWithAngleIsNotValidOtherCharactersAre) {
    EXPECT_FALSE(EV_XMLDOMNode::IsValidValue("a<b"));
    EXPECT_FALSE(EV_XMLDOMNode::IsValidValue("a>b"));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidValue("a&b \"'\xc3\xa4"));
}

TEST(XmlNames, AttributeValueWithBothQuoteKindsIsNotValid) {
    EXPECT_FALSE(EV_XMLDOMNode::IsValidAttrValue("it's \"x\""));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidAttrValue("it's"));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidAttrValue("\"x\""));
    EXPECT_TRUE(EV_XMLDOMNode::IsValidAttrValue("<&>"));
}

TEST_F(XmlNodeTest, CreateFailsWithNameStartingWithDigit) {
    EV_XMLDOMNode node;
    EXPECT_EQ(node.Create(m_doc, "1abc", "", nullptr), E_FAIL);
    EXPECT_FALSE(node.IsValid());
}

TEST_F(XmlNodeTest, CreateFailsWithNameHoldingBlank) {
    EV_XMLDOMNode node;
    EXPECT_EQ(node.Create(m_doc, "a b", "", nullptr), E_FAIL);
    EXPECT_FALSE(node.IsValid());
}

TEST_F(XmlNodeTest, CreateFailsWithValueHoldingAngle) {
    EV_XMLDOMNode node;
    EXPECT_EQ(node.Create(m_doc, "a", "a<b", nullptr), E_FAIL);
}

TEST_F(XmlNodeTest, CreateSucceedsWithValueHoldingAmpersand) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "a&b", nullptr), S_OK);
    std::string text;
    ASSERT_EQ(node.GetText(text), S_OK);
    EXPECT_EQ(text, "a&b");
    ASSERT_EQ(m_doc.AppendChild(node), S_OK);
    EXPECT_EQ(Serial(), "<a>a&amp;b</a>");
}

TEST_F(XmlNodeTest, CreateWithoutValidDocumentFails) {
    EV_XMLDOMDocument closed;
    EV_XMLDOMNode node;
    EXPECT_EQ(node.Create(closed, "a", "", nullptr), E_FAIL);
    EXPECT_FALSE(node.IsValid());
}

TEST_F(XmlNodeTest, CreateWithNameTheParserRefusesFails) {
    EV_XMLDOMNode node;
    EXPECT_EQ(node.Create(m_doc, "", "", nullptr), E_FAIL);
    EXPECT_EQ(node.Create(m_doc, "a&b", "", nullptr), E_FAIL);
}

TEST_F(XmlNodeTest, CreateSetsAttributesInGivenOrder) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "Archive", "", "Zeta=1", "Alpha=2", "Mid=x=y", nullptr), S_OK);
    EXPECT_EQ(AttributeNames(node), (std::vector<std::string>{"Zeta", "Alpha", "Mid"}));
    std::string value;
    EXPECT_EQ(node.GetAttribute("Mid", value), S_OK);
    EXPECT_EQ(value, "x=y");
}

TEST_F(XmlNodeTest, AttributeTextWithEmptyValueGivesEmptyAttribute) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "Name=", nullptr), S_OK);
    std::string value = "before";
    EXPECT_EQ(node.GetAttribute("Name", value), S_OK);
    EXPECT_EQ(value, "");
}

TEST_F(XmlNodeTest, AttributeTextWithoutEqualsEndsTheAttributeStep) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "First=1", "NoEquals", "Later=2", nullptr), S_OK);
    EXPECT_EQ(AttributeNames(node), (std::vector<std::string>{"First"}));
}

TEST_F(XmlNodeTest, AttributeTextStartingWithEqualsOrEmptyEndsTheAttributeStep) {
    EV_XMLDOMNode a;
    ASSERT_EQ(a.Create(m_doc, "a", "", "=1", "Later=2", nullptr), S_OK);
    EXPECT_TRUE(AttributeNames(a).empty());
    EV_XMLDOMNode b;
    ASSERT_EQ(b.Create(m_doc, "b", "", "", "Later=2", nullptr), S_OK);
    EXPECT_TRUE(AttributeNames(b).empty());
}

TEST_F(XmlNodeTest, AttributeTextWithInvalidNameEndsTheAttributeStep) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "x y=1", "Later=2", nullptr), S_OK);
    EXPECT_TRUE(AttributeNames(node).empty());
}

TEST_F(XmlNodeTest, AttributeTextWithInvalidValueIsSkippedAndTheStepGoesOn) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "Bad=it's \"x\"", "Good=2", nullptr), S_OK);
    EXPECT_EQ(AttributeNames(node), (std::vector<std::string>{"Good"}));
}

TEST_F(XmlNodeTest, SetAttributeRefusesValueWithBothQuoteKinds) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", nullptr), S_OK);
    EXPECT_EQ(node.SetAttribute("v", "it's \"x\""), E_FAIL);
    EXPECT_EQ(node.SetAttribute("v", "it's"), S_OK);
    std::string value;
    EXPECT_EQ(node.GetAttribute("v", value), S_OK);
    EXPECT_EQ(value, "it's");
}

TEST_F(XmlNodeTest, SetAttributeRefusesInvalidNameAndMissingNode) {
    EV_XMLDOMNode node;
    EXPECT_EQ(node.SetAttribute("v", "1"), E_FAIL);
    EXPECT_EQ(node.SetAttribute("v", 1), E_FAIL);
    ASSERT_EQ(node.Create(m_doc, "a", "", nullptr), S_OK);
    EXPECT_EQ(node.SetAttribute("1v", "1"), E_FAIL);
    EXPECT_EQ(node.SetAttribute("a b", 1), E_FAIL);
    EXPECT_TRUE(AttributeNames(node).empty());
}

TEST_F(XmlNodeTest, SetAttributeWithIntegerRendersDecimal) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", nullptr), S_OK);
    EXPECT_EQ(node.SetAttribute("n", -42), S_OK);
    EXPECT_EQ(node.SetAttribute("m", 2147483647), S_OK);
    std::string value;
    EXPECT_EQ(node.GetAttribute("n", value), S_OK);
    EXPECT_EQ(value, "-42");
    EXPECT_EQ(node.GetAttribute("m", value), S_OK);
    EXPECT_EQ(value, "2147483647");
}

TEST_F(XmlNodeTest, SetAttributeReplacesValueInPlace) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "x=1", "y=2", nullptr), S_OK);
    EXPECT_EQ(node.SetAttribute("x", "3"), S_OK);
    EXPECT_EQ(AttributeNames(node), (std::vector<std::string>{"x", "y"}));
    std::string value;
    node.GetAttributeValue(0, value);
    EXPECT_EQ(value, "3");
}

TEST_F(XmlNodeTest, GetAttributeInOtherCaseIsNotFoundAndLeavesTextAlone) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "Version=1", nullptr), S_OK);
    std::string value = "unchanged";
    EXPECT_EQ(node.GetAttribute("version", value), S_FALSE);
    EXPECT_EQ(value, "unchanged");
    EXPECT_EQ(node.GetAttribute("VERSION", value), S_FALSE);
    EXPECT_EQ(node.GetAttribute("Version", value), S_OK);
    EXPECT_EQ(value, "1");
}

TEST_F(XmlNodeTest, GetAttributeWithoutNodeFails) {
    EV_XMLDOMNode node;
    std::string value;
    EXPECT_EQ(node.GetAttribute("a", value), E_FAIL);
}

TEST_F(XmlNodeTest, AttributeByPositionFailsBeyondTheCount) {
    EV_XMLDOMNode node;
    ASSERT_EQ(node.Create(m_doc, "a", "", "x=1", nullptr), S_OK);
    std::string text;
    EXPECT_EQ(node.GetAttributeName(1, text), E_FAIL);
    EXPECT_EQ(node.GetAttributeValue(-1, text), E_FAIL);
}

TEST_F(XmlNodeTest, OperationsWithoutNodeFail) {
    EV_XMLDOMNode node;
    std::string text;
    int32_t count = 0;
    EV_XMLDOMNode other;
    EXPECT_FALSE(node.IsValid());
    EXPECT_EQ(node.GetName(text), E_FAIL);
    EXPECT_EQ(node.GetText(text), E_FAIL);
    EXPECT_EQ(node.SetText("x"), E_FAIL);
    EXPECT_EQ(node.GetChildCount(count), E_FAIL);
    EXPECT_EQ(node.GetChild(0, other), E_FAIL);
    EXPECT_EQ(node.GetAttributeCount(count), E_FAIL);
    EXPECT_EQ(node.AppendChild(other), E_FAIL);
    EXPECT_EQ(node.Remove(), E_FAIL);
    EXPECT_EQ(node.MoveToFirstChild(), E_FAIL);
    EXPECT_EQ(node.MoveToParent(), E_FAIL);
    EXPECT_EQ(node.MoveToPreviousSibling(), E_FAIL);
    EXPECT_EQ(node.MoveToNextSibling(), E_FAIL);
    EXPECT_EQ(node.Release(), S_OK);
}

TEST_F(XmlNodeTest, ChildrenAreCountedAndReachedByIndex) {
    EV_XMLDOMNode root, a, b;
    ASSERT_EQ(root.Create(m_doc, "root", "", nullptr), S_OK);
    ASSERT_EQ(a.Create(m_doc, "a", "", nullptr), S_OK);
    ASSERT_EQ(b.Create(m_doc, "b", "", nullptr), S_OK);
    ASSERT_EQ(root.AppendChild(a), S_OK);
    ASSERT_EQ(root.AppendChild(b), S_OK);
    int32_t count = 0;
    ASSERT_EQ(root.GetChildCount(count), S_OK);
    EXPECT_EQ(count, 2);
    EV_XMLDOMNode child;
    std::string name;
    ASSERT_EQ(root.GetChild(1, child), S_OK);
    child.GetName(name);
    EXPECT_EQ(name, "b");
    EXPECT_EQ(root.GetChild(2, child), E_FAIL);
    EXPECT_EQ(root.GetChild(-1, child), E_FAIL);
}

TEST_F(XmlNodeTest, NavigationMovesAndStaysWhereNothingIs) {
    EV_XMLDOMNode root, a, b;
    ASSERT_EQ(root.Create(m_doc, "root", "", nullptr), S_OK);
    ASSERT_EQ(a.Create(m_doc, "a", "", nullptr), S_OK);
    ASSERT_EQ(b.Create(m_doc, "b", "", nullptr), S_OK);
    root.AppendChild(a);
    root.AppendChild(b);
    ASSERT_EQ(m_doc.AppendChild(root), S_OK);

    EV_XMLDOMNode walker = root;
    std::string name;
    EXPECT_EQ(walker.MoveToFirstChild(), S_OK);
    walker.GetName(name);
    EXPECT_EQ(name, "a");
    EXPECT_EQ(walker.MoveToPreviousSibling(), S_FALSE);
    walker.GetName(name);
    EXPECT_EQ(name, "a");
    EXPECT_EQ(walker.MoveToNextSibling(), S_OK);
    walker.GetName(name);
    EXPECT_EQ(name, "b");
    EXPECT_EQ(walker.MoveToNextSibling(), S_FALSE);
    EXPECT_EQ(walker.MoveToFirstChild(), S_FALSE);
    EXPECT_EQ(walker.MoveToParent(), S_OK);
    walker.GetName(name);
    EXPECT_EQ(name, "root");
    EXPECT_EQ(walker.MoveToParent(), S_OK);
    walker.GetName(name);
    EXPECT_EQ(name, "#document");
    EXPECT_EQ(walker.MoveToParent(), S_FALSE);
    // The copy `root` was not moved with the walker.
    root.GetName(name);
    EXPECT_EQ(name, "root");
}

TEST_F(XmlNodeTest, NodeNotYetAppendedHasNoParentOrSiblings) {
    EV_XMLDOMNode a, b;
    ASSERT_EQ(a.Create(m_doc, "a", "", nullptr), S_OK);
    ASSERT_EQ(b.Create(m_doc, "b", "", nullptr), S_OK);
    EXPECT_EQ(a.MoveToParent(), S_FALSE);
    EXPECT_EQ(a.MoveToNextSibling(), S_FALSE);
    EXPECT_EQ(b.MoveToPreviousSibling(), S_FALSE);
    EXPECT_EQ(Serial(), "");
}

TEST_F(XmlNodeTest, SetTextReplacesChildrenOfAnElement) {
    EV_XMLDOMNode root, a;
    ASSERT_EQ(root.Create(m_doc, "root", "old", nullptr), S_OK);
    ASSERT_EQ(a.Create(m_doc, "a", "", nullptr), S_OK);
    root.AppendChild(a);
    ASSERT_EQ(root.SetText("neu \xc3\xbc"), S_OK);
    int32_t count = 0;
    root.GetChildCount(count);
    EXPECT_EQ(count, 1);
    m_doc.AppendChild(root);
    EXPECT_EQ(Serial(), "<root>neu \xc3\xbc</root>");
}

TEST_F(XmlNodeTest, TextOfNodeTakesAllDescendants) {
    ASSERT_EQ(m_doc.LoadInMemory(std::vector<uint8_t>{'<', 'a', '>', 'x', '<', 'b', '>', 'y', '<', '/', 'b', '>',
                                                      'z', '<', '/', 'a', '>'}),
              S_OK);
    EV_XMLDOMNode root;
    m_doc.GetRootNode(root);
    std::string text;
    root.GetText(text);
    EXPECT_EQ(text, "xyz");
    root.MoveToFirstChild();
    root.MoveToFirstChild();
    std::string name;
    root.GetName(name);
    EXPECT_EQ(name, "#text");
    root.GetText(text);
    EXPECT_EQ(text, "x");
}

TEST_F(XmlNodeTest, RemoveTakesTheNodeOutAndDropsTheReference) {
    EV_XMLDOMNode root, a, b;
    root.Create(m_doc, "root", "", nullptr);
    a.Create(m_doc, "a", "", nullptr);
    b.Create(m_doc, "b", "", nullptr);
    root.AppendChild(a);
    root.AppendChild(b);
    m_doc.AppendChild(root);
    EV_XMLDOMNode keep = a;
    ASSERT_EQ(a.Remove(), S_OK);
    EXPECT_FALSE(a.IsValid());
    EXPECT_EQ(Serial(), "<root><b/></root>");
    // Another reference to the removed node still works; it hangs nowhere.
    std::string name;
    EXPECT_EQ(keep.GetName(name), S_OK);
    EXPECT_EQ(name, "a");
    EXPECT_EQ(keep.MoveToParent(), S_FALSE);
    EXPECT_EQ(keep.Remove(), E_FAIL);
}

TEST_F(XmlNodeTest, ReplaceWithPutsTheNodeInPlaceAndRefersToIt) {
    EV_XMLDOMNode root, a, b, c;
    root.Create(m_doc, "root", "", nullptr);
    a.Create(m_doc, "a", "", nullptr);
    b.Create(m_doc, "b", "", nullptr);
    c.Create(m_doc, "c", "", nullptr);
    root.AppendChild(a);
    root.AppendChild(b);
    m_doc.AppendChild(root);
    ASSERT_EQ(a.ReplaceWith(c), S_OK);
    std::string name;
    a.GetName(name);
    EXPECT_EQ(name, "c");
    EXPECT_EQ(Serial(), "<root><c/><b/></root>");
}

TEST_F(XmlNodeTest, ReplaceWithNodeOfAnotherDocumentCopiesIt) {
    EV_XMLDOMDocument other;
    other.New();
    EV_XMLDOMNode root, a, foreign;
    root.Create(m_doc, "root", "", nullptr);
    a.Create(m_doc, "a", "", nullptr);
    root.AppendChild(a);
    m_doc.AppendChild(root);
    foreign.Create(other, "f", "t", "k=v", nullptr);
    ASSERT_EQ(a.ReplaceWith(foreign), S_OK);
    EXPECT_EQ(Serial(), "<root><f k=\"v\">t</f></root>");
    EXPECT_EQ(foreign.MoveToParent(), S_OK);
    std::string name;
    foreign.GetName(name);
    EXPECT_EQ(name, "root");
}

TEST_F(XmlNodeTest, ReplaceWithWithoutParentFails) {
    EV_XMLDOMNode a, b;
    a.Create(m_doc, "a", "", nullptr);
    b.Create(m_doc, "b", "", nullptr);
    EXPECT_EQ(a.ReplaceWith(b), E_FAIL);
}

TEST_F(XmlNodeTest, CloneIsADeepCopyThatHangsNowhere) {
    EV_XMLDOMNode root, a, copy;
    root.Create(m_doc, "root", "", "x=1", nullptr);
    a.Create(m_doc, "a", "text", nullptr);
    root.AppendChild(a);
    m_doc.AppendChild(root);
    ASSERT_EQ(root.Clone(copy), S_OK);
    EXPECT_EQ(copy.MoveToParent(), S_FALSE);
    copy.SetAttribute("x", "2");
    EXPECT_EQ(Serial(), "<root x=\"1\"><a>text</a></root>");
    m_doc.AppendChild(copy);
    EXPECT_EQ(Serial(), "<root x=\"1\"><a>text</a></root><root x=\"2\"><a>text</a></root>");
}

TEST_F(XmlNodeTest, AppendingANodeOfAnotherDocumentCopiesAndFollowsIt) {
    EV_XMLDOMNode root, foreign;
    root.Create(m_doc, "root", "", nullptr);
    m_doc.AppendChild(root);
    {
        EV_XMLDOMDocument other;
        other.New();
        foreign.Create(other, "f", "", nullptr);
    }
    // The foreign document object is gone; its node is still good.
    ASSERT_EQ(root.AppendChild(foreign), S_OK);
    foreign.SetAttribute("k", 5);
    EXPECT_EQ(Serial(), "<root><f k=\"5\"/></root>");
}

TEST_F(XmlNodeTest, AppendingANodeIntoItselfFails) {
    EV_XMLDOMNode root, a;
    root.Create(m_doc, "root", "", nullptr);
    a.Create(m_doc, "a", "", nullptr);
    root.AppendChild(a);
    EXPECT_EQ(root.AppendChild(root), E_FAIL);
    EXPECT_EQ(a.AppendChild(root), E_FAIL);
}

TEST_F(XmlNodeTest, NodeOutlivesItsClosedDocument) {
    EV_XMLDOMNode root;
    root.Create(m_doc, "root", "", nullptr);
    m_doc.AppendChild(root);
    m_doc.Close();
    std::string name;
    EXPECT_EQ(root.GetName(name), S_OK);
    EXPECT_EQ(name, "root");
    EXPECT_EQ(root.MoveToParent(), S_OK);
}

TEST_F(XmlNodeTest, TypeOfCreateIsSetAndAssignmentOfParserNodeResetsIt) {
    EV_XMLDOMNode text;
    text.SetType(EV_XMLDOMNode::NODE_TEXT);
    ASSERT_EQ(text.Create(m_doc, "ignored", "plain", nullptr), S_OK);
    std::string name;
    text.GetName(name);
    EXPECT_EQ(name, "#text");
    EV_XMLDOMNode root;
    root.Create(m_doc, "root", "", nullptr);
    root.AppendChild(text);
    m_doc.AppendChild(root);
    EXPECT_EQ(Serial(), "<root>plain</root>");

    EV_XMLDOMNode comment;
    comment.SetType(EV_XMLDOMNode::NODE_COMMENT);
    ASSERT_EQ(comment.Create(m_doc, "c", "note", nullptr), S_OK);
    comment = root.GetParserNode();
    ASSERT_EQ(comment.Create(m_doc, "elem", "", nullptr), S_OK);
    comment.GetName(name);
    EXPECT_EQ(name, "elem");
}

TEST_F(XmlNodeTest, UnknownTypeCannotBeCreated) {
    EV_XMLDOMNode node;
    node.SetType(99);
    EXPECT_EQ(node.Create(m_doc, "a", "", nullptr), E_FAIL);
}

TEST_F(XmlNodeTest, BytesOfSixteenAndAboveSurviveAsPercentHexText) {
    EV_XMLDOMNode node;
    const uint8_t bytes[] = {0x10, 0xab, 0xff, 0x7f};
    ASSERT_EQ(node.Create(m_doc, "b", bytes, 4, "k=v", nullptr), S_OK);
    std::string text;
    node.GetText(text);
    EXPECT_EQ(text, "%10%ab%ff%7f");
    std::vector<uint8_t> read;
    ASSERT_EQ(node.GetBytes(read), S_OK);
    EXPECT_EQ(read, (std::vector<uint8_t>{0x10, 0xab, 0xff, 0x7f}));
    std::string value;
    EXPECT_EQ(node.GetAttribute("k", value), S_OK);
}

TEST_F(XmlNodeTest, ByteBelowSixteenEndsTheStoredText) {
    EV_XMLDOMNode node;
    node.Create(m_doc, "b", "", nullptr);
    ASSERT_EQ(node.SetBytes(std::vector<uint8_t>{0x20, 0x05, 0x30}), S_OK);
    std::string text;
    node.GetText(text);
    EXPECT_EQ(text, "%20%5");
    std::vector<uint8_t> read;
    node.GetBytes(read);
    // "%5" lacks its second character after the cut and is read as it stands.
    EXPECT_EQ(read, (std::vector<uint8_t>{0x20, '%', '5'}));
}

TEST_F(XmlNodeTest, OtherCharactersOfByteTextAreTakenAsTheyStand) {
    EV_XMLDOMNode node;
    node.Create(m_doc, "b", "A%41B", nullptr);
    std::vector<uint8_t> read;
    node.GetBytes(read);
    EXPECT_EQ(read, (std::vector<uint8_t>{'A', 'A', 'B'}));
}

#ifndef NDEBUG
namespace {
std::vector<std::string> g_traced;
void Record(const char* text) { g_traced.emplace_back(text); }
}  // namespace

TEST_F(XmlNodeTest, InvalidNameIsTracedInADebugBuild) {
    g_traced.clear();
    TNTraceSink before = TNSetTraceSink(&Record);
    EV_XMLDOMNode::IsValidName("1x");
    EV_XMLDOMNode::IsValidValue("<");
    EV_XMLDOMNode::IsValidAttrValue("'\"");
    EV_XMLDOMDocument closed;
    EV_XMLDOMNode node;
    node.Create(closed, "a", "", nullptr);
    TNSetTraceSink(before);
    EXPECT_TRUE(TNTraceIsActive());
    ASSERT_GE(g_traced.size(), 4u);
    EXPECT_EQ(g_traced[0], "Fehler! Kein gueltiger Name! <1x> [EV_XMLDOMNode->IsValidName]\n");
    EXPECT_EQ(g_traced[1], "Fehler! Kein gueltiger Value! <<> [EV_XMLDOMNode->IsValidValue]\n");
    EXPECT_EQ(g_traced[2], "Fehler! Kein gueltiger Attribut Value! <'\"> [EV_XMLDOMNode->IsValidAttrValue]\n");
    EXPECT_EQ(g_traced.back(),
              "Fehler! Document ist ungueltig, daher kein Create moeglich. [EV_XMLDOMNode->Create]\n");
}
#else
namespace {
int g_traceCalls = 0;
void Count(const char*) { ++g_traceCalls; }
}  // namespace

TEST_F(XmlNodeTest, TraceDoesNothingInAReleaseBuild) {
    TNTraceSink before = TNSetTraceSink(&Count);
    EV_XMLDOMNode::IsValidName("1x");
    TNTrace("direct");
    TNSetTraceSink(before);
    EXPECT_FALSE(TNTraceIsActive());
    EXPECT_EQ(g_traceCalls, 0);
}
#endif

TEST(XmlDeepTree, NodeOperationsOnATreeAHundredThousandLevelsDeepRunOnASmallStack) {
    constexpr int32_t kLevels = 100000;
    const std::string text = NestedElements(kLevels);
    TNRunWithStack(256u << 10, [&] {
        EV_XMLDOMDocument doc;
        ASSERT_EQ(doc.LoadInMemory(std::vector<uint8_t>(text.begin(), text.end())), S_OK);
        EV_XMLDOMNode root, top;
        ASSERT_EQ(doc.GetRootNode(root), S_OK);
        top = root;
        ASSERT_EQ(top.MoveToFirstChild(), S_OK);
        std::string all;
        ASSERT_EQ(root.GetText(all), S_OK);
        EXPECT_EQ(all, "bottom");

        // A copy of the whole document, and one of its element put into
        // another document.
        EV_XMLDOMNode documentCopy, copy;
        ASSERT_EQ(root.Clone(documentCopy), S_OK);
        documentCopy.GetText(all);
        EXPECT_EQ(all, "bottom");
        ASSERT_EQ(top.Clone(copy), S_OK);
        EV_XMLDOMDocument other;
        ASSERT_EQ(other.New(), S_OK);
        ASSERT_EQ(other.AppendChild(copy), S_OK);
        EXPECT_TRUE(SerialOf(other) == text);

        // A text gives way to the whole chain below; a removed chain goes.
        ASSERT_EQ(copy.SetText("flat"), S_OK);
        EXPECT_EQ(SerialOf(other), "<e>flat</e>");
        EV_XMLDOMNode second = top;
        ASSERT_EQ(second.MoveToFirstChild(), S_OK);
        ASSERT_EQ(second.Remove(), S_OK);
        EXPECT_EQ(SerialOf(doc), "<e/>");
        // The documents, with the chains they still hold, go here too.
    });
}

TEST(XmlChildren, AllChildrenComeInDocumentOrder) {
    EV_XMLDOMDocument doc;
    const std::string text = "<r><a/>text<b><c/></b><d/></r>";
    ASSERT_EQ(doc.LoadInMemory(std::vector<uint8_t>(text.begin(), text.end())), S_OK);
    EV_XMLDOMNode root;
    ASSERT_EQ(doc.FindFirstNode("r", root), S_OK);
    std::vector<EV_XMLDOMNode> children;
    ASSERT_EQ(root.GetChildren(children), S_OK);
    std::vector<std::string> names;
    for (const EV_XMLDOMNode& child : children) {
        std::string name;
        child.GetName(name);
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"a", "#text", "b", "d"}));
    std::vector<EV_XMLDOMNode> none;
    ASSERT_EQ(children[0].GetChildren(none), S_OK);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(EV_XMLDOMNode().GetChildren(none), E_FAIL);
}

TEST(XmlChildren, ChildrenAndNameAsValuesMatchTheirOutParameterForms) {
    EV_XMLDOMDocument doc;
    const std::string text = "<r><a/>text<b><c/></b><d/></r>";
    ASSERT_EQ(doc.LoadInMemory(std::vector<uint8_t>(text.begin(), text.end())), S_OK);
    EV_XMLDOMNode root;
    ASSERT_EQ(doc.FindFirstNode("r", root), S_OK);
    std::vector<std::string> names;
    for (const EV_XMLDOMNode& child : root.Children()) names.push_back(child.Name());
    EXPECT_EQ(names, (std::vector<std::string>{"a", "#text", "b", "d"}));
    EXPECT_EQ(root.Name(), "r");
    EXPECT_TRUE(EV_XMLDOMNode().Children().empty());
    EXPECT_EQ(EV_XMLDOMNode().Name(), "");
}
