#include <elmu/utils/XMLParser.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/ReportReceivers.h"
#include "support/TempFolder.h"
#include "support/XmlText.h"

using elmu::DEBUG;
using elmu::WARN;
using ELMUUtils::XMLParser;
using support::Lines;
using support::Receiver;
using support::ReportReceivers;
using support::withoutLayout;

namespace {

/// The document as text without layout.
std::string textOf(XMLParser& parser) {
    std::string xml = "before";
    EXPECT_TRUE(parser.getXMLString(xml));
    return withoutLayout(xml);
}

void* rootOf(XMLParser& parser) {
    void* root = nullptr;
    EXPECT_TRUE(parser.getRootNode(root));
    return root;
}

class XMLParserTest : public testing::Test {
  protected:
    XMLParser parser;
};

/// A parser that holds an empty document.
class XMLParserWithDocument : public XMLParserTest {
  protected:
    XMLParserWithDocument() {
        EXPECT_TRUE(parser.initWithXMLString("<SpecifierManifest/>"));
        root = rootOf(parser);
    }
    void* root = nullptr;
};

} // namespace

TEST_F(XMLParserTest, StartsWithoutALogger) { EXPECT_EQ(parser.logger, nullptr); }

TEST_F(XMLParserTest, ParsesADocumentOfOneEmptyElement) {
    EXPECT_TRUE(parser.initWithXMLString("<SpecifierManifest/>"));
    EXPECT_NE(rootOf(parser), nullptr);
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

TEST_F(XMLParserTest, KeepsElementsAttributesAndTextOfWhatItParses) {
    const std::string xml = "<a z=\"1\" b=\"2\"><y>one</y><x k=\"v\"><w>two</w></x><y>three</y></a>";
    EXPECT_TRUE(parser.initWithXMLString(xml));
    EXPECT_EQ(textOf(parser), xml);
}

TEST_F(XMLParserTest, ParsesADocumentWithADeclaration) {
    EXPECT_TRUE(parser.initWithXMLString("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>text</a>\n"));
    EXPECT_EQ(textOf(parser), "<a>text</a>");
}

TEST_F(XMLParserTest, EndsTheTextToParseAtANulByte) {
    EXPECT_TRUE(parser.initWithXMLString(std::string("<a/>\0<b>", 8)));
    EXPECT_EQ(textOf(parser), "<a></a>");
}

TEST_F(XMLParserTest, ParsesAVeryLongText) {
    const std::string text(1 << 20, 't');
    EXPECT_TRUE(parser.initWithXMLString("<a>" + text + "</a>"));
    EXPECT_TRUE(textOf(parser) == "<a>" + text + "</a>");
}

TEST_F(XMLParserTest, KeepsTheFirstDocumentWhenItIsInitializedAgain) {
    EXPECT_TRUE(parser.initWithXMLString("<first/>"));
    EXPECT_FALSE(parser.initWithXMLString("<second/>"));
    EXPECT_FALSE(parser.initWithXMLString("<broken"));
    EXPECT_EQ(textOf(parser), "<first></first>");
}

TEST_F(XMLParserTest, TakesADocumentAfterAFailure) {
    EXPECT_FALSE(parser.initWithXMLString("<broken"));
    EXPECT_TRUE(parser.initWithXMLString("<first/>"));
    EXPECT_EQ(textOf(parser), "<first></first>");
}

TEST_F(XMLParserTest, ReadsNoExternalEntity) {
    support::TempFolder temp;
    support::writeFile(temp / "secret", "secret text");
    const bool parsed = parser.initWithXMLString("<!DOCTYPE a [<!ENTITY e SYSTEM \"file://" +
                                                 (temp / "secret") + "\">]><a>&e;</a>");
    std::string xml;
    EXPECT_EQ(parser.getXMLString(xml), parsed);
    EXPECT_EQ(xml.find("secret text"), std::string::npos);
}

TEST_F(XMLParserTest, RefusesEntitiesThatExpandWithoutMeasure) {
    std::string xml = "<!DOCTYPE a [<!ENTITY e0 \"bomb bomb bomb bomb\">";
    for (int level = 1; level < 12; ++level) {
        const std::string inner = "&e" + std::to_string(level - 1) + ";";
        xml += "<!ENTITY e" + std::to_string(level) + " \"";
        for (int copy = 0; copy < 12; ++copy) {
            xml += inner;
        }
        xml += "\">";
    }
    EXPECT_FALSE(parser.initWithXMLString(xml + "]><a k=\"&e11;\">&e11;</a>"));
}

TEST_F(XMLParserTest, LeavesTheOutputsAloneWithoutADocument) {
    int marker = 0;
    void* node = &marker;
    std::string xml = "before";
    EXPECT_FALSE(parser.getRootNode(node));
    EXPECT_FALSE(parser.getXMLString(xml));
    EXPECT_EQ(node, &marker);
    EXPECT_EQ(xml, "before");
}

class XMLParserMalformed : public XMLParserTest, public testing::WithParamInterface<const char*> {};

TEST_P(XMLParserMalformed, IsRefusedAndLeavesNoDocument) {
    EXPECT_FALSE(parser.initWithXMLString(GetParam()));
    void* root = nullptr;
    std::string xml = "before";
    EXPECT_FALSE(parser.getRootNode(root));
    EXPECT_FALSE(parser.getXMLString(xml));
    EXPECT_EQ(xml, "before");
}

INSTANTIATE_TEST_SUITE_P(Texts, XMLParserMalformed,
                         testing::Values("", " \n", "text", "<a>", "<a></b>", "<a/><b/>", "<a/>text",
                                         "text<a/>", "<?xml version=\"1.0\"?>",
                                         " <?xml version=\"1.0\"?><a/>", "<a k=v/>", "<a k=\"1\" k=\"2\"/>",
                                         "<a>&unknown;</a>", "<1a/>", "<a><</a>", "<a>\x01</a>",
                                         "<a>\xff</a>", "<a>\xc0\x80</a>", "</a>", "<!-- a -->",
                                         "<a k=\"<\"/>"));

// Making elements.

TEST_F(XMLParserTest, MakesAnElementBeforeThereIsADocument) {
    void* node = nullptr;
    EXPECT_TRUE(parser.createNodeWithNameAndValue("Name", "value", node));
    EXPECT_NE(node, nullptr);
}

TEST_F(XMLParserTest, FillsElementsThatAreInNoDocument) {
    void* node = nullptr;
    ASSERT_TRUE(parser.createNodeWithNameAndValue("Name", "", node));
    EXPECT_TRUE(parser.addChildToNode("Inner", "value", node));
    EXPECT_TRUE(parser.addAttributeToNode(node, "k", "v"));
}

TEST_F(XMLParserTest, MakesADifferentElementEveryTime) {
    void* first = nullptr;
    void* second = nullptr;
    EXPECT_TRUE(parser.createNodeWithNameAndValue("Name", "value", first));
    EXPECT_TRUE(parser.createNodeWithNameAndValue("Name", "value", second));
    EXPECT_NE(first, second);
}

TEST_F(XMLParserWithDocument, LeavesAnElementWithoutAParentOutOfTheDocument) {
    void* node = nullptr;
    EXPECT_TRUE(parser.createNodeWithNameAndValue("Name", "value", node));
    EXPECT_NE(node, root);
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

class XMLParserBadName : public XMLParserWithDocument, public testing::WithParamInterface<const char*> {};

TEST_P(XMLParserBadName, MakesNoElement) {
    void* node = &parser;
    EXPECT_FALSE(parser.createNodeWithNameAndValue(GetParam(), "value", node));
    EXPECT_EQ(node, &parser);
    EXPECT_FALSE(parser.addChildToNode(GetParam(), "value", root));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

TEST_P(XMLParserBadName, IsLeftOutOfTheAttributes) {
    EXPECT_TRUE(parser.addAttributeToNode(root, GetParam(), "value"));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

INSTANTIATE_TEST_SUITE_P(Names, XMLParserBadName,
                         testing::Values("", "1a", "a b", "<a>", "a>", "-a", ".a", "a\"", "a=b", "&a;", " a",
                                         "a\n", "\x01", "\xff", "a\xc0\x80"));

class XMLParserBadText : public XMLParserWithDocument, public testing::WithParamInterface<const char*> {};

TEST_P(XMLParserBadText, MakesNoElement) {
    void* node = &parser;
    EXPECT_FALSE(parser.createNodeWithNameAndValue("Name", GetParam(), node));
    EXPECT_EQ(node, &parser);
    EXPECT_FALSE(parser.addChildToNode("Name", GetParam(), root));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

TEST_P(XMLParserBadText, IsLeftOutOfTheAttributes) {
    EXPECT_TRUE(parser.addAttributeToNode(root, "k", GetParam()));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

INSTANTIATE_TEST_SUITE_P(Texts, XMLParserBadText,
                         testing::Values("\x01", "text\x1f", "\xff", "\xe2\x82", "\xed\xa0\x80", "\xc0\x80"));

// Adding children and attributes.

TEST_F(XMLParserWithDocument, AddsAChildWithItsText) {
    EXPECT_TRUE(parser.addChildToNode("Name", "halcyra", root));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest><Name>halcyra</Name></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, AddsChildrenInTheOrderOfTheCalls) {
    EXPECT_TRUE(parser.addChildToNode("z", "1", root));
    EXPECT_TRUE(parser.addChildToNode("a", "2", root));
    EXPECT_TRUE(parser.addChildToNode("z", "3", root));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest><z>1</z><a>2</a><z>3</z></SpecifierManifest>");
}

TEST_F(XMLParserTest, AddsAChildBehindTheParsedOnes) {
    EXPECT_TRUE(parser.initWithXMLString("<a><b/><c/></a>"));
    EXPECT_TRUE(parser.addChildToNode("a", "", rootOf(parser)));
    EXPECT_EQ(textOf(parser), "<a><b></b><c></c><a></a></a>");
}

TEST_F(XMLParserWithDocument, MakesAnElementWithEmptyTextOfAnEmptyValue) {
    EXPECT_TRUE(parser.addChildToNode("Locale", "", root));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest><Locale></Locale></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, MakesAnAttributeWithAnEmptyValue) {
    EXPECT_TRUE(parser.addAttributeToNode(root, "Version", ""));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest Version=\"\"></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, AddsAttributesInTheOrderOfTheCalls) {
    EXPECT_TRUE(parser.addAttributeToNode(root, "z", "1"));
    EXPECT_TRUE(parser.addAttributeToNode(root, "a", "2"));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest z=\"1\" a=\"2\"></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, ReplacesAnAttributeOfTheSameName) {
    EXPECT_TRUE(parser.addAttributeToNode(root, "Version", "1.0"));
    EXPECT_TRUE(parser.addAttributeToNode(root, "Version", "2.0"));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest Version=\"2.0\"></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, EscapesMarkupInText) {
    EXPECT_TRUE(parser.addChildToNode("Name", "<b>&amp;</b>", root));
    EXPECT_EQ(textOf(parser),
              "<SpecifierManifest><Name>&lt;b&gt;&amp;amp;&lt;/b&gt;</Name></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, EscapesMarkupInAnAttribute) {
    EXPECT_TRUE(parser.addAttributeToNode(root, "k", "<\"&\">"));
    EXPECT_NE(textOf(parser).find("k=\"&lt;&quot;&amp;&quot;&gt;\""), std::string::npos);
}

TEST_F(XMLParserWithDocument, PrintsTextOutsideAsciiAsUtf8) {
    const std::string text = "\xc3\xa4\xd7\xa9\xe2\x82\xac\xf0\x9f\x8d\x80";
    EXPECT_TRUE(parser.addChildToNode("Name", text, root));
    EXPECT_TRUE(parser.addAttributeToNode(root, "k", text));
    EXPECT_EQ(textOf(parser),
              "<SpecifierManifest k=\"" + text + "\"><Name>" + text + "</Name></SpecifierManifest>");
}

TEST_F(XMLParserTest, PrintsParsedTextOutsideAsciiAsUtf8) {
    EXPECT_TRUE(parser.initWithXMLString("<a>\xc3\xa4&#8364;\xf0\x9f\x8d\x80</a>"));
    EXPECT_EQ(textOf(parser), "<a>\xc3\xa4\xe2\x82\xac\xf0\x9f\x8d\x80</a>");
}

TEST_F(XMLParserWithDocument, TakesNamesOutsideAscii) {
    EXPECT_TRUE(parser.addChildToNode("N\xc3\xa4me", "value", root));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest><N\xc3\xa4me>value</N\xc3\xa4me></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, EndsNamesAndValuesAtANulByte) {
    EXPECT_TRUE(parser.addChildToNode(std::string("Na\0<", 4), std::string("va\0\x01", 4), root));
    EXPECT_TRUE(parser.addAttributeToNode(root, std::string("k\0<", 3), std::string("v\0\x01", 3)));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest k=\"v\"><Na>va</Na></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, KeepsAVeryLongValueWhole) {
    const std::string text(1 << 20, 't');
    EXPECT_TRUE(parser.addChildToNode("Name", text, root));
    EXPECT_TRUE(textOf(parser) == "<SpecifierManifest><Name>" + text + "</Name></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, RefusesANullParent) {
    EXPECT_FALSE(parser.addChildToNode("Name", "value", nullptr));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

TEST_F(XMLParserWithDocument, RefusesANullNodeForAnAttribute) {
    EXPECT_FALSE(parser.addAttributeToNode(nullptr, "k", "v"));
    EXPECT_EQ(textOf(parser), "<SpecifierManifest></SpecifierManifest>");
}

// Printing.

TEST_F(XMLParserWithDocument, PrintsOneElementALine) {
    parser.addChildToNode("Name", "halcyra", root);
    parser.addChildToNode("Locale", "", root);
    std::string xml;
    ASSERT_TRUE(parser.getXMLString(xml));
    EXPECT_NE(xml.find("<SpecifierManifest>\n"), std::string::npos);
    EXPECT_NE(xml.find("<Name>halcyra</Name>\n"), std::string::npos);
    EXPECT_NE(xml.find("\n</SpecifierManifest>"), std::string::npos);
}

TEST_F(XMLParserWithDocument, PrintsTheSameTextAgain) {
    parser.addChildToNode("Name", "halcyra", root);
    std::string first;
    std::string second = "a longer text than nothing";
    EXPECT_TRUE(parser.getXMLString(first));
    EXPECT_TRUE(parser.getXMLString(second));
    EXPECT_EQ(first, second);
}

TEST_F(XMLParserWithDocument, PrintsWhatCanBeParsedAgain) {
    parser.addAttributeToNode(root, "k", "<\"&'>\t\xc3\xa4");
    parser.addChildToNode("Name", "<\"&'>\xc3\xa4", root);
    std::string xml;
    ASSERT_TRUE(parser.getXMLString(xml));
    XMLParser again;
    EXPECT_TRUE(again.initWithXMLString(xml));
    EXPECT_EQ(textOf(again), textOf(parser));
}

TEST_F(XMLParserWithDocument, GivesTheSameRootEveryTime) { EXPECT_EQ(rootOf(parser), root); }

// What is reported.

class XMLParserReports : public testing::TestWithParam<Receiver> {
  protected:
    XMLParserReports() { parser.logger = receivers.logger(); }

    Lines lines() const { return receivers.lines("XMLParser"); }

    ReportReceivers receivers{GetParam()};
    XMLParser parser;
};

TEST_P(XMLParserReports, NothingOnSuccess) {
    void* root = nullptr;
    void* node = nullptr;
    std::string xml;
    EXPECT_TRUE(parser.initWithXMLString("<a/>"));
    EXPECT_TRUE(parser.getRootNode(root));
    EXPECT_TRUE(parser.createNodeWithNameAndValue("b", "", node));
    EXPECT_TRUE(parser.addChildToNode("c", "", root));
    EXPECT_TRUE(parser.addAttributeToNode(root, "k", "v"));
    EXPECT_TRUE(parser.getXMLString(xml));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_P(XMLParserReports, AWarningWhenItIsInitializedAgain) {
    parser.initWithXMLString("<a/>");
    parser.initWithXMLString("<a/>");
    EXPECT_EQ(lines(),
              (Lines{{WARN, "Error Description : XML is already initialized, tring to initilize again."}}));
}

TEST_P(XMLParserReports, WhyATextIsMalformed) {
    parser.initWithXMLString("<a></b>");
    const Lines reported = lines();
    ASSERT_EQ(reported.size(), 1U);
    const std::string start = "Error in initWithXMLString, error description - ";
    EXPECT_EQ(reported[0].level, DEBUG);
    EXPECT_EQ(reported[0].message.substr(0, start.size()), start);
    EXPECT_GT(reported[0].message.size(), start.size());
    EXPECT_EQ(receivers.records()[0].format, "Error in initWithXMLString, error description - %s");
}

TEST_P(XMLParserReports, ATextThatIsNotUtf8AsAnException) {
    parser.initWithXMLString("<a>\xff</a>");
    const Lines reported = lines();
    ASSERT_EQ(reported.size(), 1U);
    const std::string start = "Exception in initWithXMLString, error description - ";
    EXPECT_EQ(reported[0].level, DEBUG);
    EXPECT_EQ(reported[0].message.substr(0, start.size()), start);
    EXPECT_GT(reported[0].message.size(), start.size());
    EXPECT_EQ(receivers.records()[0].format, "Exception in initWithXMLString, error description - %s");
}

TEST_P(XMLParserReports, ARootWithoutADocument) {
    void* root = nullptr;
    parser.getRootNode(root);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in getRootNode"}}));
}

TEST_P(XMLParserReports, AnElementThatCannotBeMade) {
    void* node = nullptr;
    parser.createNodeWithNameAndValue("a b", "value", node);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in createNodeWithNameAndValue, XML Not initialized."}}));
}

TEST_P(XMLParserReports, AChildWithoutAParent) {
    parser.addChildToNode("Name", "value", nullptr);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in createNodeWithNameAndValue, node is null!"}}));
}

TEST_P(XMLParserReports, OnlyTheMissingParentOfAChildThatCannotBeMade) {
    parser.addChildToNode("a b", "value", nullptr);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in createNodeWithNameAndValue, node is null!"}}));
}

TEST_P(XMLParserReports, AChildThatCannotBeMadeTwice) {
    void* root = nullptr;
    ASSERT_TRUE(parser.initWithXMLString("<a/>"));
    ASSERT_TRUE(parser.getRootNode(root));
    parser.addChildToNode("a b", "value", root);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in createNodeWithNameAndValue, XML Not initialized."},
                              {DEBUG, "createNodeWithNameAndValue fails inside addChildToNode!"}}));
}

TEST_P(XMLParserReports, AnAttributeWithoutANode) {
    parser.addAttributeToNode(nullptr, "k", "v");
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in addAttributeToNode, node is null!"}}));
}

TEST_P(XMLParserReports, PrintingWithoutADocument) {
    std::string xml;
    parser.getXMLString(xml);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in getXMLString"}}));
}

TEST_P(XMLParserReports, EveryFailureAgain) {
    void* root = nullptr;
    parser.getRootNode(root);
    parser.getRootNode(root);
    EXPECT_EQ(lines(), (Lines{{DEBUG, "Error in getRootNode"}, {DEBUG, "Error in getRootNode"}}));
}

INSTANTIATE_TEST_SUITE_P(Report, XMLParserReports, testing::ValuesIn(support::allReceivers()),
                         support::receiverName);

TEST_F(XMLParserTest, FailsInSilenceWhenNobodyListens) {
    ReportReceivers receivers(Receiver::Nobody);
    void* root = nullptr;
    EXPECT_FALSE(parser.initWithXMLString("<a>"));
    EXPECT_FALSE(parser.getRootNode(root));
    EXPECT_FALSE(parser.addChildToNode("a", "", nullptr));
    EXPECT_TRUE(receivers.records().empty());
}
