#include "tarnovelle/support/EV_XMLDOMDocument.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNTrace.h"
#include "tests/support/TNRunWithStack.h"
#include "tests/support/TNTestDir.h"

namespace {

// Catches what the document shows the user for the time of one test.
class RerouteScope {
public:
    RerouteScope() { CTNMessageBox::RerouteMessageBoxToLogArray(&m_log); }
    ~RerouteScope() { CTNMessageBox::RerouteMessageBoxToLogArray(nullptr); }
    const std::vector<std::string>& Log() const { return m_log; }

private:
    std::vector<std::string> m_log;
};

// root (two attributes) with a child holding a grandchild, and a child with
// a text.
void BuildSmallTree(EV_XMLDOMDocument& doc) {
    ASSERT_EQ(doc.New(), S_OK);
    EV_XMLDOMNode root, first, grandchild, second;
    ASSERT_EQ(root.Create(doc, "CTarnovelleArchive", "", "Version=1", "Name=Netz", nullptr), S_OK);
    ASSERT_EQ(first.Create(doc, "Archive", "", "Number=1", nullptr), S_OK);
    ASSERT_EQ(grandchild.Create(doc, "Path", "", nullptr), S_OK);
    ASSERT_EQ(second.Create(doc, "Comment", "Gr\xc3\xbc\xc3\x9f" "e", nullptr), S_OK);
    ASSERT_EQ(first.AppendChild(grandchild), S_OK);
    ASSERT_EQ(root.AppendChild(first), S_OK);
    ASSERT_EQ(root.AppendChild(second), S_OK);
    ASSERT_EQ(doc.AppendChild(root), S_OK);
}

const char* const kFormattedSmallTree =
    "<CTarnovelleArchive Version=\"1\" Name=\"Netz\">\n"
    "    <Archive Number=\"1\">\n"
    "        <Path/>\n"
    "    </Archive>\n"
    "    <Comment>Gr\xc3\xbc\xc3\x9f" "e</Comment>\n"
    "</CTarnovelleArchive>";

std::string Serial(const EV_XMLDOMDocument& doc) {
    std::vector<uint8_t> bytes;
    EXPECT_EQ(doc.PersistInMemory(bytes), S_OK);
    return std::string(bytes.begin(), bytes.end());
}

std::vector<uint8_t> Bytes(const std::string& text) { return std::vector<uint8_t>(text.begin(), text.end()); }

std::string ElementName(int32_t level) { return "e" + std::to_string(level); }

// A chain of `levels` elements, the one at level k (from 0) named "e<k>",
// the innermost holding the text "bottom".
std::string NestedDocument(int32_t levels) {
    std::string text;
    for (int32_t k = 0; k < levels; ++k) text += "<" + ElementName(k) + ">";
    text += "bottom";
    for (int32_t k = levels - 1; k >= 0; --k) text += "</" + ElementName(k) + ">";
    return text;
}

// The same chain as a formatted save writes it: each element but the first
// on a line of its own after four blanks a level, each end tag of an element
// with an element inside on a line of its own too.
std::string IndentedNestedDocument(int32_t levels) {
    std::string text = "<" + ElementName(0) + ">";
    for (int32_t k = 1; k < levels; ++k) text += "\n" + std::string(4 * k, ' ') + "<" + ElementName(k) + ">";
    text += "bottom</" + ElementName(levels - 1) + ">";
    for (int32_t k = levels - 2; k >= 0; --k) text += "\n" + std::string(4 * k, ' ') + "</" + ElementName(k) + ">";
    return text;
}

// What stands between `tag` and the end of the tag before it.
std::string SpaceBefore(const std::string& text, const std::string& tag) {
    const size_t at = text.find(tag);
    if (at == std::string::npos || at == 0) return "(no tag before " + tag + ")";
    const size_t previous = text.rfind('>', at - 1);
    if (previous == std::string::npos) return "(no tag before " + tag + ")";
    return text.substr(previous + 1, at - previous - 1);
}

std::string LineStart(int32_t level) { return "\n" + std::string(4 * static_cast<size_t>(level), ' '); }

// How far a walk down through the first element of each level gets from
// `node`, passing over texts, and the name and text of the last element.
struct Descent {
    int32_t depth = 0;
    std::string name;
    std::string text;
};

Descent Descend(EV_XMLDOMNode node) {
    Descent reached;
    for (;;) {
        ++reached.depth;
        node.GetName(reached.name);
        EV_XMLDOMNode child = node;
        if (child.MoveToFirstChild() != S_OK) break;
        std::string name;
        child.GetName(name);
        while (name == "#text" && child.MoveToNextSibling() == S_OK) child.GetName(name);
        if (name == "#text") break;
        node = child;
    }
    node.GetText(reached.text);
    return reached;
}

// The document's first top-level node.
EV_XMLDOMNode TopElement(const EV_XMLDOMDocument& doc) {
    EV_XMLDOMNode node;
    EXPECT_EQ(doc.GetRootNode(node), S_OK);
    EXPECT_EQ(node.MoveToFirstChild(), S_OK);
    return node;
}

}  // namespace

TEST(EV_XMLDOMDocument, AliasesNameTheSameClasses) {
    EXPECT_TRUE((std::is_same_v<CEV_XMLDOMDocument, EV_XMLDOMDocument>));
    EXPECT_TRUE((std::is_same_v<CEV_XMLDOMNode, EV_XMLDOMNode>));
}

TEST(EV_XMLDOMDocument, NewDocumentIsValidAndEmpty) {
    EV_XMLDOMDocument doc;
    EXPECT_FALSE(doc.IsValid());
    ASSERT_EQ(doc.New(), S_OK);
    EXPECT_TRUE(doc.IsValid());
    EXPECT_EQ(Serial(doc), "");
    EV_XMLDOMNode root;
    ASSERT_EQ(doc.GetRootNode(root), S_OK);
    std::string name;
    root.GetName(name);
    EXPECT_EQ(name, "#document");
    int32_t count = -1;
    root.GetChildCount(count);
    EXPECT_EQ(count, 0);
}

TEST(EV_XMLDOMDocument, OperationsWithoutDocumentFail) {
    EV_XMLDOMDocument doc;
    EV_XMLDOMNode node;
    TNXmlParserDocument* raw = nullptr;
    std::vector<uint8_t> bytes;
    TNTestDir dir;
    EXPECT_EQ(doc.GetDocument(raw), E_FAIL);
    EXPECT_EQ(doc.GetRootNode(node), E_FAIL);
    EXPECT_EQ(doc.AppendChild(node), E_FAIL);
    EXPECT_EQ(doc.FindFirstNode("a", node), E_FAIL);
    EXPECT_EQ(doc.FindNextNode("a", node), E_FAIL);
    EXPECT_EQ(doc.PersistInMemory(bytes), E_FAIL);
    EXPECT_EQ(doc.LoadDocumentAsync(dir / "x.xml"), E_FAIL);
    EXPECT_EQ(doc.SaveAs(dir / "x.xml", false), E_FAIL);
    EXPECT_FALSE(TNTestDir::Exists(dir / "x.xml"));
    EXPECT_EQ(doc.ReportError(nullptr), E_FAIL);
}

TEST(EV_XMLDOMDocument, AppendChildWithoutNodeFails) {
    EV_XMLDOMDocument doc;
    doc.New();
    EV_XMLDOMNode none;
    EXPECT_EQ(doc.AppendChild(none), E_FAIL);
}

TEST(EV_XMLDOMDocument, SaveWithoutKnownPathFailsAndWritesNothing) {
    TNTestDir dir;
    EV_XMLDOMDocument doc;
    BuildSmallTree(doc);
    EXPECT_EQ(doc.Save(false), E_FAIL);
    EXPECT_EQ(doc.Save(true), E_FAIL);
    // Nothing was written anywhere, and the tree was not indented either.
    EXPECT_EQ(Serial(doc).find('\n'), std::string::npos);
}

TEST(EV_XMLDOMDocument, FormattedSaveSetsEachElementOnALineFourBlanksALevel) {
    TNTestDir dir;
    EV_XMLDOMDocument doc;
    BuildSmallTree(doc);
    ASSERT_EQ(doc.SaveAs(dir / "p.TNArch", true), S_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "p.TNArch"), kFormattedSmallTree);
}

TEST(EV_XMLDOMDocument, UnformattedSaveWritesTheTreeAsItStands) {
    TNTestDir dir;
    EV_XMLDOMDocument doc;
    BuildSmallTree(doc);
    ASSERT_EQ(doc.SaveAs(dir / "p.xml", false), S_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "p.xml"),
              "<CTarnovelleArchive Version=\"1\" Name=\"Netz\"><Archive Number=\"1\"><Path/></Archive>"
              "<Comment>Gr\xc3\xbc\xc3\x9f" "e</Comment></CTarnovelleArchive>");
}

TEST(EV_XMLDOMDocument, SaveAsRemembersThePathForSave) {
    TNTestDir dir;
    EV_XMLDOMDocument doc;
    BuildSmallTree(doc);
    ASSERT_EQ(doc.SaveAs(dir / "first.xml", false), S_OK);
    EV_XMLDOMNode found;
    ASSERT_EQ(doc.FindFirstNode("Path", found), S_OK);
    found.SetAttribute("v", 3);
    ASSERT_EQ(doc.Save(false), S_OK);
    EXPECT_NE(TNTestDir::ReadFile(dir / "first.xml").find("<Path v=\"3\"/>"), std::string::npos);
}

TEST(EV_XMLDOMDocument, FailedSaveAsKeepsPathAndFlag) {
    TNTestDir dir;
    EV_XMLDOMDocument doc;
    BuildSmallTree(doc);
    EXPECT_LT(doc.SaveAs(dir / "missing-dir/p.xml", false), 0);
    EXPECT_EQ(doc.Save(false), E_FAIL);  // still no path known
    ASSERT_EQ(doc.SaveAs(dir / "p.xml", false), S_OK);
    EXPECT_LT(doc.SaveAs(dir / "missing-dir/p.xml", false), 0);
    ASSERT_EQ(doc.Save(false), S_OK);  // the earlier path stays
    EXPECT_FALSE(TNTestDir::ReadFile(dir / "p.xml").empty());
}

TEST(EV_XMLDOMDocument, SecondFormattedSaveOfALoadedDocumentGrows) {
    TNTestDir dir;
    {
        EV_XMLDOMDocument doc;
        BuildSmallTree(doc);
        ASSERT_EQ(doc.SaveAs(dir / "p.xml", true), S_OK);
    }
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.Open(dir / "p.xml"), S_OK);
    ASSERT_EQ(doc.Save(true), S_OK);
    const std::string second = TNTestDir::ReadFile(dir / "p.xml");
    EXPECT_GT(second.size(), std::string(kFormattedSmallTree).size());
    // The whitespace that was there stays; a new indent goes before each
    // child, old whitespace nodes included.
    EXPECT_EQ(second,
              "<CTarnovelleArchive Version=\"1\" Name=\"Netz\">\n    \n    \n    <Archive Number=\"1\">"
              "\n        \n        \n        <Path/>\n        \n    \n    </Archive>"
              "\n    \n    \n    <Comment>Gr\xc3\xbc\xc3\x9f" "e</Comment>\n    \n\n</CTarnovelleArchive>");
}

TEST(EV_XMLDOMDocument, LoadSaveLoadKeepsAttributeOrderAndUmlauts) {
    TNTestDir dir;
    const std::string original =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
        "<Wurzel Zeta=\"\xc3\xa4\xc3\xb6\xc3\xbc\" Alpha=\"\xc3\x84rger &amp; &quot;Mu\xc3\x9f&quot;\" Mitte=\"3\">"
        "<Kind Name=\"Stra\xc3\x9f" "e\">Gr\xc3\xb6\xc3\x9f" "e &lt;1&gt;</Kind></Wurzel>";
    const std::string path = dir.WriteFile("in.xml", original);
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.Open(path), S_OK);
    ASSERT_EQ(doc.SaveAs(dir / "out.xml", false), S_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "out.xml"), original);

    EV_XMLDOMDocument again;
    ASSERT_EQ(again.Open(dir / "out.xml"), S_OK);
    EV_XMLDOMNode root;
    ASSERT_EQ(again.FindFirstNode("Wurzel", root), S_OK);
    std::vector<std::string> names;
    int32_t count = 0;
    root.GetAttributeCount(count);
    for (int32_t i = 0; i < count; ++i) {
        std::string name;
        root.GetAttributeName(i, name);
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Zeta", "Alpha", "Mitte"}));
    std::string value;
    root.GetAttribute("Zeta", value);
    EXPECT_EQ(value, "\xc3\xa4\xc3\xb6\xc3\xbc");
    root.GetAttribute("Alpha", value);
    EXPECT_EQ(value, "\xc3\x84rger & \"Mu\xc3\x9f\"");
    EV_XMLDOMNode child;
    ASSERT_EQ(again.FindFirstNode("Kind", child), S_OK);
    child.GetText(value);
    EXPECT_EQ(value, "Gr\xc3\xb6\xc3\x9f" "e <1>");
}

TEST(EV_XMLDOMDocument, PrologIsKeptAndNamedXml) {
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.LoadInMemory(Bytes("<?xml version=\"1.0\"?><a/>")), S_OK);
    EV_XMLDOMNode node;
    doc.GetRootNode(node);
    node.MoveToFirstChild();
    std::string name;
    node.GetName(name);
    EXPECT_EQ(name, "xml");
    node.MoveToNextSibling();
    node.GetName(name);
    EXPECT_EQ(name, "a");
}

TEST(EV_XMLDOMDocument, OpenOfSyntaxErrorReportsReasonLineAndPosition) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("bad.xml", "<a>\n  <b>\n  </c>\n</a>\n");
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(path), E_FAIL);
    ASSERT_EQ(reroute.Log().size(), 1u);
    EXPECT_EQ(reroute.Log()[0], "Start-end tags mismatch\nError on line 3, position 5 in \"" + path + "\".\n");
}

TEST(EV_XMLDOMDocument, MalformedAttributeIsReportedWhereItStands) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("bad.xml", "<root>\n<x a=1/>\n</root>");
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(path), E_FAIL);
    ASSERT_EQ(reroute.Log().size(), 1u);
    EXPECT_EQ(reroute.Log()[0], "Error parsing element attribute\nError on line 2, position 6 in \"" + path + "\".\n");
}

TEST(EV_XMLDOMDocument, TextWithoutElementIsReportedAtItsEnd) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("bad.xml", "\n\nabc");
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(path), E_FAIL);
    ASSERT_EQ(reroute.Log().size(), 1u);
    EXPECT_EQ(reroute.Log()[0], "No document element found\nError on line 3, position 4 in \"" + path + "\".\n");
}

TEST(EV_XMLDOMDocument, EmptyFileIsReportedOnItsFirstLine) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("empty.xml", "");
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(path), E_FAIL);
    ASSERT_EQ(reroute.Log().size(), 1u);
    EXPECT_EQ(reroute.Log()[0], "No document element found\nError on line 1, position 1 in \"" + path + "\".\n");
}

TEST(EV_XMLDOMDocument, BadCommentIsReportedAndDocumentIsLeftEmpty) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("bad.xml", "<a><!-- x </a>");
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(path), E_FAIL);
    ASSERT_EQ(reroute.Log().size(), 1u);
    EXPECT_EQ(reroute.Log()[0].rfind("Error parsing comment\nError on line 1, position ", 0), 0u);
    // A failed open leaves an empty document with no path known.
    EXPECT_TRUE(doc.IsValid());
    EXPECT_EQ(Serial(doc), "");
    EXPECT_EQ(doc.Save(false), E_FAIL);
}

TEST(EV_XMLDOMDocument, MissingFileIsReportedWithoutPlaceAndFails) {
    TNTestDir dir;
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(dir / "none.xml"), E_FAIL);
    ASSERT_EQ(reroute.Log().size(), 1u);
    EXPECT_EQ(reroute.Log()[0], "File was not found");
    EXPECT_EQ(doc.Save(false), E_FAIL);
}

TEST(EV_XMLDOMDocument, DirectoryInsteadOfFileFails) {
    TNTestDir dir;
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.Open(dir.Path()), E_FAIL);
    EXPECT_EQ(reroute.Log().size(), 1u);
}

TEST(EV_XMLDOMDocument, OpenRemembersThePath) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("p.xml", "<a x=\"1\"/>");
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.Open(path), S_OK);
    EV_XMLDOMNode a;
    doc.FindFirstNode("a", a);
    a.SetAttribute("y", "2");
    ASSERT_EQ(doc.Save(false), S_OK);
    EXPECT_EQ(TNTestDir::ReadFile(path), "<a x=\"1\" y=\"2\"/>");
    doc.Close();
    EXPECT_FALSE(doc.IsValid());
    EXPECT_EQ(doc.Save(false), E_FAIL);
}

TEST(EV_XMLDOMDocument, NewForgetsThePath) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("p.xml", "<a/>");
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.Open(path), S_OK);
    ASSERT_EQ(doc.New(), S_OK);
    EXPECT_EQ(doc.Save(false), E_FAIL);
}

TEST(EV_XMLDOMDocument, PersistAndLoadInMemoryRoundTripWithoutTouchingThePath) {
    TNTestDir dir;
    EV_XMLDOMDocument doc;
    BuildSmallTree(doc);
    std::vector<uint8_t> bytes;
    ASSERT_EQ(doc.PersistInMemory(bytes), S_OK);
    EV_XMLDOMDocument copy;
    ASSERT_EQ(copy.SaveAs(dir / "c.xml", false), E_FAIL);  // no document yet
    copy.New();
    ASSERT_EQ(copy.SaveAs(dir / "c.xml", false), S_OK);
    ASSERT_EQ(copy.LoadInMemory(bytes), S_OK);
    EXPECT_EQ(Serial(copy), std::string(bytes.begin(), bytes.end()));
    ASSERT_EQ(copy.Save(false), S_OK);  // the path survived the load
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.xml"), std::string(bytes.begin(), bytes.end()));
}

TEST(EV_XMLDOMDocument, LoadInMemoryOfMalformedBytesFailsWithoutReport) {
    RerouteScope reroute;
    EV_XMLDOMDocument doc;
    EXPECT_EQ(doc.LoadInMemory(Bytes("<a><b></a>")), E_FAIL);
    EXPECT_TRUE(reroute.Log().empty());
    EXPECT_TRUE(doc.IsValid());
    EXPECT_EQ(Serial(doc), "");
}

TEST(EV_XMLDOMDocument, NodeSearchFindsTheNthNodeOfAName) {
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.LoadInMemory(Bytes("<r><P n=\"1\"><P n=\"2\"/></P><x><P n=\"3\"/></x><P n=\"4\"/></r>")), S_OK);
    EV_XMLDOMNode node;
    std::vector<std::string> order;
    for (HRESULT hr = doc.FindFirstNode("P", node); hr == S_OK; hr = doc.FindNextNode("P", node)) {
        std::string n;
        node.GetAttribute("n", n);
        order.push_back(n);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"1", "2", "3", "4"}));
    EXPECT_EQ(doc.FindNextNode("P", node), S_FALSE);
    // FindFirstNode starts over.
    ASSERT_EQ(doc.FindFirstNode("P", node), S_OK);
    std::string n;
    node.GetAttribute("n", n);
    EXPECT_EQ(n, "1");
}

TEST(EV_XMLDOMDocument, NodeSearchOfAbsentNameGivesOneAndLeavesTheNode) {
    EV_XMLDOMDocument doc;
    doc.LoadInMemory(Bytes("<r><a/></r>"));
    EV_XMLDOMNode node;
    doc.FindFirstNode("a", node);
    EXPECT_EQ(doc.FindFirstNode("zz", node), S_FALSE);
    std::string name;
    node.GetName(name);
    EXPECT_EQ(name, "a");
}

TEST(EV_XMLDOMDocument, NodeSearchWalksFromTheRootAgainAndSkipsByCount) {
    EV_XMLDOMDocument doc;
    doc.LoadInMemory(Bytes("<r><a n=\"1\"/><a n=\"2\"/><a n=\"3\"/></r>"));
    EV_XMLDOMNode found;
    ASSERT_EQ(doc.FindFirstNode("a", found), S_OK);
    // The found node goes; the next walk counts from the root again, so the
    // node that moved up into its place is passed over.
    ASSERT_EQ(found.Remove(), S_OK);
    EV_XMLDOMNode node;
    ASSERT_EQ(doc.FindNextNode("a", node), S_OK);
    std::string n;
    node.GetAttribute("n", n);
    EXPECT_EQ(n, "3");
}

TEST(EV_XMLDOMDocument, CloneTreeCopiesElementsAttributesAndTexts) {
    EV_XMLDOMDocument source;
    ASSERT_EQ(source.LoadInMemory(Bytes("<?xml version=\"1.0\"?><r a=\"1\" b=\"2\"><c>text</c><d><e/></d></r>")),
              S_OK);
    EV_XMLDOMNode from, to;
    source.GetRootNode(from);
    EV_XMLDOMDocument target;
    target.New();
    EXPECT_EQ(target.CloneTree(from, to), 1);
    // The source moved from the document over the prolog to its element.
    std::string name;
    from.GetName(name);
    EXPECT_EQ(name, "r");
    ASSERT_EQ(target.AppendChild(to), S_OK);
    EXPECT_EQ(Serial(target), "<r a=\"1\" b=\"2\"><c>text</c><d><e/></d></r>");
}

TEST(EV_XMLDOMDocument, CloneTreeOfATextNodeGivesZero) {
    EV_XMLDOMDocument doc;
    doc.LoadInMemory(Bytes("<r>t</r>"));
    EV_XMLDOMNode text, to;
    doc.FindFirstNode("#text", text);
    EXPECT_EQ(doc.CloneTree(text, to), 0);
    EXPECT_FALSE(to.IsValid());
}

TEST(EV_XMLDOMDocument, CloneTreeWithoutSourceGivesOne) {
    EV_XMLDOMDocument doc;
    doc.New();
    EV_XMLDOMNode none, to;
    EXPECT_EQ(doc.CloneTree(none, to), 1);
    EXPECT_FALSE(to.IsValid());
}

TEST(EV_XMLDOMDocument, CloneTreeLetsALaterTextReplaceEarlierChildren) {
    EV_XMLDOMDocument doc;
    doc.LoadInMemory(Bytes("<r><x/>tail</r>"));
    EV_XMLDOMNode from, to;
    doc.FindFirstNode("r", from);
    EXPECT_EQ(doc.CloneTree(from, to), 1);
    EV_XMLDOMDocument out;
    out.New();
    out.AppendChild(to);
    EXPECT_EQ(Serial(out), "<r>tail</r>");
}

TEST(EV_XMLDOMDocument, CloneTreeOfAMixedDocumentKeepsElementsAttributesAndTextsInOrder) {
    EV_XMLDOMDocument source;
    ASSERT_EQ(source.LoadInMemory(Bytes(
                  "<?xml version=\"1.0\"?>"
                  "<root id=\"7\" kind=\"a&amp;b\" both=\"&quot;'\" last=\"it's\">"
                  "<!-- note --><first n=\"1\">one<b/></first>"
                  "<second><third x=\"\" y=\"2\">deep<![CDATA[raw]]></third><fourth/><?pi data?></second>"
                  "<fifth><sixth a=\"1\"><seventh>7</seventh></sixth><sixth a=\"2\"/></fifth>"
                  "</root><!-- after -->")),
              S_OK);
    EV_XMLDOMNode from, to;
    source.GetRootNode(from);
    EV_XMLDOMDocument target;
    target.New();
    EXPECT_EQ(target.CloneTree(from, to), 1);
    ASSERT_EQ(target.AppendChild(to), S_OK);
    // Comments and CDATA sections have no element name and are left out; an
    // attribute with both quotation marks is refused; a processing
    // instruction comes over as an element holding its text; a text stays
    // before a later element.
    EXPECT_EQ(Serial(target),
              "<root id=\"7\" kind=\"a&amp;b\" last=\"it's\">"
              "<first n=\"1\">one<b/></first>"
              "<second><third x=\"\" y=\"2\">deep</third><fourth/><pi>data</pi></second>"
              "<fifth><sixth a=\"1\"><seventh>7</seventh></sixth><sixth a=\"2\"/></fifth>"
              "</root>");
}

TEST(EV_XMLDOMDocument, CloneTreeGivesARepeatedAttributeItsLastValueInItsFirstPlace) {
    EV_XMLDOMDocument source;
    // The parser doesn't refuse a repeated attribute name.
    ASSERT_EQ(source.LoadInMemory(Bytes("<r p=\"1\" q=\"2\" p=\"3\"><c p=\"4\" p=\"5\"/></r>")), S_OK);
    EV_XMLDOMNode from, to;
    source.GetRootNode(from);
    EV_XMLDOMDocument target;
    target.New();
    EXPECT_EQ(target.CloneTree(from, to), 1);
    ASSERT_EQ(target.AppendChild(to), S_OK);
    EXPECT_EQ(Serial(target), "<r p=\"3\" q=\"2\"><c p=\"5\"/></r>");
}

TEST(EV_XMLDOMDocument, CloneTreeIntoItsOwnSourceObjectCopiesTheWholeTree) {
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.LoadInMemory(Bytes("<r a=\"1\"><c>t</c><d/></r>")), S_OK);
    EV_XMLDOMNode node;
    ASSERT_EQ(doc.FindFirstNode("r", node), S_OK);
    EXPECT_EQ(doc.CloneTree(node, node), 1);
    EV_XMLDOMDocument out;
    out.New();
    ASSERT_EQ(out.AppendChild(node), S_OK);
    EXPECT_EQ(Serial(out), "<r a=\"1\"><c>t</c><d/></r>");
    EXPECT_EQ(Serial(doc), "<r a=\"1\"><c>t</c><d/></r>");
}

TEST(EV_XMLDOMDocument, DocumentAHundredThousandLevelsDeepOpensAndClonesOnAnOrdinaryStack) {
    constexpr int32_t kLevels = 100000;
    TNTestDir dir;
    const std::string text = NestedDocument(kLevels);
    const std::string path = dir.WriteFile("deep.xml", text);
    TNRunWithStack(8u << 20, [&] {
        EV_XMLDOMDocument source;
        ASSERT_EQ(source.Open(path), S_OK);
        EV_XMLDOMNode from, to;
        ASSERT_EQ(source.GetRootNode(from), S_OK);
        EV_XMLDOMDocument target;
        ASSERT_EQ(target.New(), S_OK);
        ASSERT_EQ(target.CloneTree(from, to), 1);
        ASSERT_EQ(target.AppendChild(to), S_OK);
        const Descent clone = Descend(TopElement(target));
        EXPECT_EQ(clone.depth, kLevels);
        EXPECT_EQ(clone.name, ElementName(kLevels - 1));
        EXPECT_EQ(clone.text, "bottom");
        // Compared as a truth value: a failure would print both texts whole.
        EXPECT_TRUE(Serial(target) == text);
    });
}

TEST(EV_XMLDOMDocument, DocumentAHundredThousandLevelsDeepLoadsSearchesAndWritesOnASmallStack) {
    constexpr int32_t kLevels = 100000;
    TNTestDir dir;
    const std::string text = NestedDocument(kLevels);
    TNRunWithStack(256u << 10, [&] {
        EV_XMLDOMDocument doc;
        ASSERT_EQ(doc.LoadInMemory(Bytes(text)), S_OK);
        EV_XMLDOMNode found;
        ASSERT_EQ(doc.FindFirstNode(ElementName(kLevels - 1), found), S_OK);
        std::string foundText;
        found.GetText(foundText);
        EXPECT_EQ(foundText, "bottom");
        std::string all;
        TopElement(doc).GetText(all);
        EXPECT_EQ(all, "bottom");
        EXPECT_TRUE(Serial(doc) == text);
        ASSERT_EQ(doc.SaveAs(dir / "again.xml", false), S_OK);
        // Without its last end tag the chain doesn't parse, and the document
        // is left empty.
        EV_XMLDOMDocument cut;
        EXPECT_EQ(cut.LoadInMemory(Bytes(text.substr(0, text.size() - ElementName(0).size() - 3))), E_FAIL);
        EXPECT_EQ(Serial(cut), "");
        // The documents and the nodes go here, on the small stack.
    });
    EXPECT_TRUE(TNTestDir::ReadFile(dir / "again.xml") == text);
}

TEST(EV_XMLDOMDocument, DocumentThreeThousandLevelsDeepSavesIndentedOnASmallStackAndReloads) {
    constexpr int32_t kLevels = 3000;
    TNTestDir dir;
    const std::string path = dir / "indented.xml";
    TNRunWithStack(256u << 10, [&] {
        EV_XMLDOMDocument doc;
        ASSERT_EQ(doc.LoadInMemory(Bytes(NestedDocument(kLevels))), S_OK);
        ASSERT_EQ(doc.SaveAs(path, true), S_OK);
    });
    const std::string saved = TNTestDir::ReadFile(path);
    EXPECT_EQ(saved.rfind("<e0>", 0), 0u);
    for (int32_t level : {1, 2, 1500, kLevels - 1}) {
        EXPECT_EQ(SpaceBefore(saved, "<" + ElementName(level) + ">"), LineStart(level)) << "level " << level;
    }
    for (int32_t level : {0, 1, 2, 1500}) {
        EXPECT_EQ(SpaceBefore(saved, "</" + ElementName(level) + ">"), LineStart(level)) << "level " << level;
    }
    EXPECT_EQ(SpaceBefore(saved, "</" + ElementName(kLevels - 1) + ">"), "bottom");
    const std::string expected = IndentedNestedDocument(kLevels);
    EXPECT_EQ(saved.size(), expected.size());
    EXPECT_TRUE(saved == expected);

    TNRunWithStack(256u << 10, [&] {
        EV_XMLDOMDocument again;
        ASSERT_EQ(again.Open(path), S_OK);
        const Descent reloaded = Descend(TopElement(again));
        EXPECT_EQ(reloaded.depth, kLevels);
        EXPECT_EQ(reloaded.name, ElementName(kLevels - 1));
        EXPECT_EQ(reloaded.text, "bottom");
    });
}

TEST(EV_XMLDOMDocument, AttachTakesOverADocumentReference) {
    EV_XMLDOMDocument first;
    BuildSmallTree(first);
    TNXmlParserDocument* raw = nullptr;
    ASSERT_EQ(first.GetDocument(raw), S_OK);
    TNXmlParserAddRef(raw);
    EV_XMLDOMDocument second;
    EXPECT_EQ(second.Attach(raw), S_OK);
    first.Close();
    EXPECT_EQ(Serial(second).find("<CTarnovelleArchive"), 0u);
}

TEST(EV_XMLDOMDocument, LivingDocumentsAreCounted) {
    const int32_t before = EV_XMLDOMDocument::GetLivingDocumentCount();
    {
        EV_XMLDOMDocument a;
        EV_XMLDOMDocument b;
        EXPECT_EQ(EV_XMLDOMDocument::GetLivingDocumentCount(), before + 2);
    }
    EXPECT_EQ(EV_XMLDOMDocument::GetLivingDocumentCount(), before);
}

#ifndef NDEBUG
namespace {
std::vector<std::string> g_traced;
void Record(const char* text) { g_traced.emplace_back(text); }
}  // namespace

TEST(EV_XMLDOMDocument, DeveloperTextsGoToTheTraceSinkInADebugBuild) {
    TNTestDir dir;
    const std::string bad = dir.WriteFile("bad.xml", "<a>");
    RerouteScope reroute;
    g_traced.clear();
    TNTraceSink before = TNSetTraceSink(&Record);
    {
        EV_XMLDOMDocument doc;
        doc.Save(false);
        doc.Open(bad);
        EV_XMLDOMNode none, to;
        doc.CloneTree(none, to);
    }
    TNSetTraceSink(before);
    const std::vector<std::string> expected = {
        "_______ COM erfolgreich initialisiert. [EV_XMLDOMDocument->Constructor]\n",
        "Fehler! Kein Filepath bekannt und kann daher nicht gespeichert werden. [EV_XMLDOMDocument->Save]\n",
        "_______ Dokument geschlossen (Speicher freigegeben). [EV_XMLDOMDocument->Close]\n",
        "_______ Neues Dokument erfolgreich erzeugt. [EV_XMLDOMDocument->New]\n",
        "Fehler! Ein FehlerCode != 0 wurde zurueckgegeben. [EV_XMLDOMDocument->LoadDocumentAsync]\n",
        "Fehler! XML Dokument konnte nicht geoeffnet werden. [EV_XMLDOMDocument->Open]\n",
        "Fehler! Sourcenode ist ein NullPointer! [EV_XMLDOMDocument->CloneTree]\n",
        "_______ Dokument geschlossen (Speicher freigegeben). [EV_XMLDOMDocument->Close]\n",
        "_______ COM deinitialisiert. [EV_XMLDOMDocument->Destructor]\n",
    };
    EXPECT_EQ(g_traced, expected);
}
#else
namespace {
int g_traceCalls = 0;
void Count(const char*) { ++g_traceCalls; }
}  // namespace

TEST(EV_XMLDOMDocument, DeveloperTextsHaveNoEffectInAReleaseBuild) {
    TNTestDir dir;
    TNTraceSink before = TNSetTraceSink(&Count);
    {
        EV_XMLDOMDocument doc;
        doc.Save(false);
        doc.New();
        doc.SaveAs(dir / "x.xml", true);
    }
    TNSetTraceSink(before);
    EXPECT_EQ(g_traceCalls, 0);
}
#endif

TEST(EV_XMLDOMDocument, DocumentDeclaredLatin1IsSavedInLatin1AndReadsBackTheSameText) {
    TNTestDir dir;
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";
    const std::string original = dir.WriteFile("l.xml", declaration + "<a>Gr\xfc\xdf" "e</a>");
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.Open(original), S_OK);
    ASSERT_EQ(doc.SaveAs(dir / "again.xml", false), S_OK);
    // The bytes agree with the declaration they carry.
    EXPECT_EQ(TNTestDir::ReadFile(dir / "again.xml"), declaration + "<a>Gr\xfc\xdf" "e</a>");
    EV_XMLDOMDocument reloaded;
    ASSERT_EQ(reloaded.Open(dir / "again.xml"), S_OK);
    EV_XMLDOMNode node;
    ASSERT_EQ(reloaded.FindFirstNode("a", node), S_OK);
    std::string text;
    node.GetText(text);
    EXPECT_EQ(text, "Gr\xc3\xbc\xc3\x9f" "e");
}

TEST(EV_XMLDOMDocument, DocumentWithoutDeclaredEncodingIsSavedAsUtf8) {
    TNTestDir dir;
    const std::string original = dir.WriteFile("u.xml", "<?xml version=\"1.0\"?><a>Gr\xc3\xbc\xc3\x9f" "e</a>");
    EV_XMLDOMDocument doc;
    ASSERT_EQ(doc.Open(original), S_OK);
    ASSERT_EQ(doc.SaveAs(dir / "again.xml", false), S_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "again.xml"), "<?xml version=\"1.0\"?><a>Gr\xc3\xbc\xc3\x9f" "e</a>");
}
