#include "platform/XmlTree.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <vector>

#include <gmock/gmock.h>
#include <libxml/globals.h>
#include <sys/resource.h>
#include <unistd.h>

#ifdef __linux__
#include <sys/inotify.h>
#endif

#include "Child.h"
#include "support/TempFolder.h"
#include "support/XmlText.h"

using namespace platform;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string declarationStart =
    "<?xml version=\"1.0\" encoding=\"" + support::encodingName + "\" standalone=";
const std::string declaration = declarationStart + "\"no\"?>\n";

/// Handles that are released at the end, in the order in which they were handed over.
class Held {
  public:
    Held() = default;
    ~Held() { std::for_each(handles.begin(), handles.end(), releaseXml); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    void* document(const std::string& text) {
        const XmlParseResult result = parseXml(text.c_str());
        EXPECT_FALSE(result.error) << *result.error;
        return kept(result.document);
    }
    void* element(const char* name, const char* value = "") { return kept(createXmlElement(name, value)); }

  private:
    void* kept(void* handle) {
        EXPECT_NE(handle, nullptr);
        handles.push_back(handle);
        return handle;
    }

    std::vector<void*> handles;
};

/// What becomes of a document that is read and printed.
std::string reprinted(const std::string& text) {
    Held held;
    return printXml(held.document(text)).value_or("nothing");
}

/// How an element with that name and value is printed.
std::string printedElement(const char* name, const char* value) {
    Held held;
    void* const document = held.document("<r/>");
    appendXmlChild(xmlRootElement(document), held.element(name, value));
    return printXml(document).value_or("nothing");
}

/// What a refused text gives; "accepted" if it is not.
std::string refusalOf(const std::string& text) {
    const XmlParseResult result = parseXml(text.c_str());
    releaseXml(result.document);
    return result.document ? "accepted" : result.error.value_or("no reason");
}

std::string repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/// Entities e0 to e24, each ten times the one before.
std::string nestedEntities(const std::string& kind, const std::string& reference) {
    std::string declarations = "<!ENTITY " + kind + "e0 \"laugh\">";
    for (int i = 1; i < 25; ++i) {
        declarations += "<!ENTITY " + kind + "e" + std::to_string(i) + " \"" +
                        repeated(reference + "e" + std::to_string(i - 1) + ";", 10) + "\">";
    }
    return declarations;
}

std::string withEntities(const std::string& declarations, const std::string& content) {
    return "<!DOCTYPE a [" + declarations + "]>" + content;
}

const std::string longEntity = "<!ENTITY e \"" + std::string(100'000, 'x') + "\">";

/// Texts that would be far longer with their entities expanded.
const std::vector<std::string> bombs = {
    withEntities(nestedEntities("", "&"), "<a>&e24;</a>"),
    withEntities(nestedEntities("", "&"), "<a b='&e24;'/>"),
    withEntities(nestedEntities("", "&") + "<!ATTLIST a b CDATA '&e24;'>", "<a/>"),
    withEntities(nestedEntities("% ", "&#37;") + "%e24;", "<a/>"),
    withEntities(longEntity, "<a>" + repeated("&e;", 10'000) + "</a>"),
    withEntities(longEntity, "<a b='" + repeated("&e;", 10'000) + "'/>"),
    withEntities(longEntity, "<a>" + repeated("<b c='&e;'>&e;</b>", 5'000) + "</a>"),
    withEntities("<!ENTITY e '" + repeated("<b/>", 10'000) + "'>",
                 "<a>" + repeated("<c>&e;</c>", 10'000) + "</a>"),
    withEntities("<!ENTITY e '&f;'><!ENTITY f '&e;'>", "<a>&e;</a>"),
    withEntities("<!ENTITY e '&f;'><!ENTITY f '&e;'>", "<a b='&e;'/>"),
};

#ifdef __linux__
/// Sees whether anybody opens a file.
class OpeningWatch {
  public:
    explicit OpeningWatch(const std::string& path) : watch(::inotify_init1(IN_NONBLOCK)) {
        EXPECT_NE(::inotify_add_watch(watch, path.c_str(), IN_OPEN), -1);
    }
    ~OpeningWatch() { ::close(watch); }
    OpeningWatch(const OpeningWatch&) = delete;
    OpeningWatch& operator=(const OpeningWatch&) = delete;

    bool sawOpening() const {
        inotify_event event = {};
        return ::read(watch, &event, sizeof event) > 0;
    }

  private:
    int watch;
};
#endif

} // namespace

TEST(ParseXml, GivesADocumentWithItsRoot) {
    const XmlParseResult result = parseXml("<SpecifierManifest/>");
    EXPECT_NE(result.document, nullptr);
    EXPECT_FALSE(result.error);
    EXPECT_FALSE(result.raised);
    EXPECT_NE(xmlRootElement(result.document), nullptr);
    releaseXml(result.document);
}

TEST(ParseXml, RefusesWhatIsNoWellFormedDocument) {
    for (const std::string text : {"",
                                   " ",
                                   "\n\t \n",
                                   "text",
                                   "<a>",
                                   "<a></b>",
                                   "<a/><b/>",
                                   "<a/>text",
                                   "<a/>&amp;",
                                   "<?xml version=\"1.0\"?>",
                                   " <?xml version=\"1.0\"?><a/>",
                                   "<a b=c/>",
                                   "<a b/>",
                                   "<a b='1' b='2'/>",
                                   "<a>&unknown;</a>",
                                   "<a>&</a>",
                                   "<a b='<'/>",
                                   "<1/>",
                                   "< a/>",
                                   "<a>\x01</a>",
                                   "<a>\x1F</a>",
                                   "<a>&#1;</a>",
                                   "<a>]]></a>",
                                   "<!-- -- --><a/>",
                                   "<?xml version=\"9.0\"?><a/>"}) {
        const XmlParseResult result = parseXml(text.c_str());
        EXPECT_EQ(result.document, nullptr) << text;
        EXPECT_NE(result.error.value_or(""), "") << text;
        EXPECT_THAT(result.error.value_or(""), Not(EndsWith("\n"))) << text;
        EXPECT_FALSE(result.raised) << text;
    }
}

TEST(ParseXml, RefusesWhatIsNotUtf8AsTheHomePlatformDoesByAnException) {
    for (const std::string text : {"<a>\xFF</a>", "<a>\xC3</a>", "<a>\xC0\x80</a>", "<a>\xED\xA0\x80</a>",
                                   "\xFF", "<a>\xF4\x90\x80\x80</a>"}) {
        const XmlParseResult result = parseXml(text.c_str());
        EXPECT_EQ(result.document, nullptr) << text;
        EXPECT_NE(result.error.value_or(""), "") << text;
        EXPECT_TRUE(result.raised) << text;
    }
}

TEST(ParseXml, TellsWhatIsWrong) {
    EXPECT_THAT(refusalOf("<a></b>"), HasSubstr("mismatch"));
    EXPECT_THAT(refusalOf("<a>&unknown;</a>"), HasSubstr("unknown"));
}

TEST(ParseXml, WritesNothingToTheStandardStreams) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const std::string text : {"", "<a></b>", "<a>\xFF</a>", "<x:a/>", "<?xml version='1.1'?><a/>",
                                   "<a xml:id='1'/>", "<a xml:space='x'/>"}) {
        refusalOf(text);
    }
    EXPECT_EQ(createXmlElement("\xFF", "\xFF"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ParseXml, TakesTheTextForUtf8WhateverItDeclares) {
    for (const std::string encoding : {"UTF-8", "ISO-8859-1", "UTF-16", "no-such-thing"}) {
        EXPECT_EQ(reprinted("<?xml version=\"1.0\" encoding=\"" + encoding + "\"?><a b=\"ä\">€</a>"),
                  declaration + "<a b=\"ä\">€</a>")
            << encoding;
    }
}

TEST(ParseXml, PassesAByteOrderMarkOver) {
    EXPECT_EQ(reprinted("\xEF\xBB\xBF<a/>"), declaration + "<a></a>");
}

TEST(ParseXml, DropsBlanksBetweenElements) {
    EXPECT_EQ(reprinted("<a> <b>\n\t</b>\n  <c/></a>\n"),
              declaration + "<a>\n    <b></b>\n    <c></c>\n</a>");
    EXPECT_EQ(reprinted("<a>x <b/> <c/></a>"), declaration + "<a>x <b></b><c></c></a>");
}

TEST(ParseXml, KeepsBlanksInText) { EXPECT_EQ(reprinted("<a>  x y\n</a>"), declaration + "<a>  x y\n</a>"); }

TEST(ParseXml, TakesCharacterDataSectionsForText) {
    EXPECT_EQ(reprinted("<a>x<![CDATA[<y>&]]>z</a>"), declaration + "<a>x&lt;y&gt;&amp;z</a>");
}

TEST(ParseXml, AcceptsEntitiesOfTheDocument) {
    EXPECT_THAT(reprinted(withEntities("<!ENTITY e \"text\">", "<a b=\"&e;\">&e;</a>")),
                StartsWith(declaration));
}

#ifdef __linux__
TEST(ParseXml, NeverOpensAnExternalEntity) {
    const support::TempFolder folder;
    support::writeFile(folder / "file", "<secret/>");
    const std::string address = "SYSTEM \"file://" + (folder / "file") + "\"";
    const OpeningWatch watch(folder / "file");

    for (const std::string& text : {
             withEntities("<!ENTITY e " + address + ">", "<a>&e;</a>"),
             withEntities("<!ENTITY e " + address + ">", "<a b='&e;'/>"),
             withEntities("<!ENTITY % e " + address + "> %e;", "<a/>"),
             withEntities("<!ENTITY e SYSTEM \"" + (folder / "file") + "\">", "<a>&e;</a>"),
             "<!DOCTYPE a " + address + "><a/>",
             "<!DOCTYPE a PUBLIC \"-//X//Y\" \"" + (folder / "file") + "\"><a>&e;</a>",
             "<a xmlns:xi=\"http://www.w3.org/2001/XInclude\"><xi:include href=\"" + (folder / "file") +
                 "\"/></a>",
         }) {
        const XmlParseResult result = parseXml(text.c_str());
        EXPECT_FALSE(watch.sawOpening()) << text;
        EXPECT_THAT(result.document ? printXml(result.document).value_or("") : "", Not(HasSubstr("secret")));
        EXPECT_FALSE(watch.sawOpening()) << text;
        releaseXml(result.document);
    }
}
#endif

TEST(ParseXml, RefusesEntitiesThatExpandWithoutMeasure) {
    for (const std::string& bomb : bombs) {
        EXPECT_EQ(child::resultOf([&] {
                      const rlimit tenSeconds = {10, 10};
                      ::setrlimit(RLIMIT_CPU, &tenSeconds);
                      return refusalOf(bomb) == "accepted" ? "accepted" : "refused";
                  }),
                  "refused")
            << bomb.substr(0, 200);
    }
}

TEST(ParseXml, AcceptsWhatOnlyLooksLikeEntities) {
    EXPECT_EQ(refusalOf("<!-- <!DOCTYPE --><a><![CDATA[<!ENTITY % e \"\">]]></a>"), "accepted");
    EXPECT_EQ(refusalOf(withEntities("<!ENTITY e 'x'>", "<a>&e;" + repeated("&lt;&#65;", 1000) +
                                                            std::string(1'000'000, 'x') + "</a>")),
              "accepted");
}

TEST(ParseXml, RefusesABombWithLittleMemory) {
    for (const std::string& bomb : bombs) {
        const std::string kilobytes = child::resultOf([&] {
            rusage before = {};
            rusage after = {};
            ::getrusage(RUSAGE_SELF, &before);
            refusalOf(bomb);
            ::getrusage(RUSAGE_SELF, &after);
            return std::to_string(after.ru_maxrss - before.ru_maxrss);
        });
        EXPECT_LT(std::stol(kilobytes), 100'000) << bomb.substr(0, 200);
    }
}

TEST(ParseXml, PrintsAnAcceptedDocumentAtAboutItsLength) {
    const std::string text =
        withEntities(nestedEntities("", "&"), "<a b='&e2;'>" + repeated("&e1;", 20) + "</a>");
    EXPECT_LT(reprinted(text).size(), 2 * text.size());
}

TEST(ParseXml, SurvivesElementsOfAnyDepth) {
    EXPECT_NE(refusalOf(repeated("<a>", 500'000)), "accepted");
    EXPECT_NE(refusalOf(repeated("<a>", 500'000) + repeated("</a>", 500'000)), "accepted");
}

TEST(CreateXmlElement, TakesXmlNames) {
    for (const char* const name : {"a", "_a", "ä", "a-b.c", "a1", "x:y", "名"}) {
        Held held;
        EXPECT_NE(held.element(name), nullptr) << name;
    }
}

TEST(CreateXmlElement, RefusesOtherNames) {
    for (const char* const name :
         {"", "1a", "a b", " a", "a ", "-a", "<a>", "a>", "a\n", "&a", "a=\"b\"", "\xFF", "a\xC3", "a\x01"}) {
        EXPECT_EQ(createXmlElement(name, "x"), nullptr) << name;
    }
}

TEST(CreateXmlElement, RefusesTextThatXmlCannotHold) {
    for (const char* const value :
         {"\x01", "a\x08", "\x0B", "\x1F", "\xFF", "\xC3", "a\xE2\x82", "\xC0\x80", "\xE0\x80\xAF",
          "\xED\xA0\x80", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xF4\x90\x80\x80", "\x80"}) {
        EXPECT_EQ(createXmlElement("a", value), nullptr);
    }
}

TEST(CreateXmlElement, TakesEveryOtherText) {
    for (const char* const value : {"", " ", "\t\r\n", "\x7F", "\u0085", "\uD7FF", "\uE000", "\uFFFD",
                                    "\U00010000", "\U0010FFFF", "日本語"}) {
        Held held;
        EXPECT_NE(held.element("a", value), nullptr) << value;
    }
}

TEST(CreateXmlElement, KeepsTheTextAsItIs) {
    EXPECT_EQ(printedElement("a", "& < > \" ' &amp; ]]>"),
              declaration + "<r>\n    <a>&amp; &lt; &gt; \" ' &amp;amp; ]]&gt;</a>\n</r>");
    EXPECT_EQ(printedElement("a", "äöü€😎"), declaration + "<r>\n    <a>äöü€😎</a>\n</r>");
}

TEST(CreateXmlElement, TextComesBackTheSameFromAPrintedDocument) {
    for (const char* const value :
         {"& < > \" '", "&amp;&#65;", "]]>", "a\rb\nc\td", "ä€😎", "<!-- -->", "%s%n"}) {
        const std::string printed = printedElement("a", value);
        EXPECT_EQ(reprinted(printed), printed) << value;
    }
}

TEST(AppendXmlChild, PutsChildrenInTheOrderOfTheCalls) {
    Held held;
    void* const document = held.document("<r><first/></r>");
    EXPECT_TRUE(appendXmlChild(xmlRootElement(document), held.element("second")));
    EXPECT_TRUE(appendXmlChild(xmlRootElement(document), held.element("third")));
    EXPECT_EQ(printXml(document),
              declaration + "<r>\n    <first></first>\n    <second></second>\n    <third></third>\n</r>");
}

TEST(AppendXmlChild, TakesElementsWithoutADocument) {
    Held held;
    void* const document = held.document("<r/>");
    void* const outer = held.element("outer");
    EXPECT_TRUE(appendXmlChild(outer, held.element("inner", "x")));
    EXPECT_TRUE(appendXmlChild(xmlRootElement(document), outer));
    EXPECT_EQ(printXml(document),
              declaration + "<r>\n    <outer>\n        <inner>x</inner>\n    </outer>\n</r>");
}

TEST(AppendXmlChild, RefusesAChildThatHasAParent) {
    Held held;
    void* const document = held.document("<r><a/></r>");
    void* const child = held.element("child");
    ASSERT_TRUE(appendXmlChild(xmlRootElement(document), child));
    void* const other = held.element("other");

    EXPECT_FALSE(appendXmlChild(other, child));
    EXPECT_FALSE(appendXmlChild(xmlRootElement(document), child));
    EXPECT_FALSE(appendXmlChild(other, xmlRootElement(document)));

    EXPECT_EQ(printXml(document), declaration + "<r>\n    <a></a>\n    <child></child>\n</r>");
}

TEST(AppendXmlChild, RefusesToPutAnElementBelowItself) {
    Held held;
    void* const outer = held.element("outer");
    void* const inner = held.element("inner");
    ASSERT_TRUE(appendXmlChild(outer, inner));

    EXPECT_FALSE(appendXmlChild(outer, outer));
    EXPECT_FALSE(appendXmlChild(inner, outer));
}

TEST(AppendXmlChild, RefusesWhatIsNoElement) {
    Held held;
    void* const document = held.document("<r/>");
    void* const child = held.element("child");

    EXPECT_FALSE(appendXmlChild(nullptr, child));
    EXPECT_FALSE(appendXmlChild(document, child));
    EXPECT_FALSE(appendXmlChild(child, nullptr));
    EXPECT_FALSE(appendXmlChild(child, document));

    EXPECT_EQ(printXml(document), declaration + "<r></r>");
}

TEST(SetXmlAttribute, AddsAttributesInTheOrderOfTheCalls) {
    Held held;
    void* const document = held.document("<r a=\"1\"/>");
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "c", "2"));
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "b", ""));
    EXPECT_EQ(printXml(document), declaration + "<r a=\"1\" c=\"2\" b=\"\"></r>");
}

TEST(SetXmlAttribute, ReplacesOneOfTheSameName) {
    Held held;
    void* const document = held.document("<r a=\"1\"/>");
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "a", "2"));
    EXPECT_EQ(printXml(document), declaration + "<r a=\"2\"></r>");
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "a", "3"));
    EXPECT_EQ(printXml(document), declaration + "<r a=\"3\"></r>");
}

TEST(SetXmlAttribute, ReplacesOneOfTheSameNameWithAPrefix) {
    Held held;
    void* const document = held.document("<r xmlns:x=\"u\" x:a=\"1\" a=\"2\"/>");
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "x:a", "3"));
    EXPECT_EQ(printXml(document), declaration + "<r xmlns:x=\"u\" a=\"2\" x:a=\"3\"></r>");
}

TEST(SetXmlAttribute, ReplacesADeclarationOfANamespace) {
    Held held;
    void* const document = held.document("<r xmlns=\"u\" xmlns:x=\"v\"/>");
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "xmlns", "1"));
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "xmlns:x", "2"));
    EXPECT_EQ(printXml(document), declaration + "<r xmlns=\"1\" xmlns:x=\"2\"></r>");
}

TEST(SetXmlAttribute, KeepsTheValueAsItIs) {
    Held held;
    void* const document = held.document("<r/>");
    EXPECT_TRUE(setXmlAttribute(xmlRootElement(document), "a", "& < > \" ' &amp; ä\t\n\r"));
    const std::string printed = printXml(document).value_or("");
    EXPECT_EQ(printed, declaration + "<r a=\"&amp; &lt; &gt; &quot; ' &amp;amp; ä&#9;&#10;&#13;\"></r>");
    EXPECT_EQ(reprinted(printed), printed);
}

TEST(SetXmlAttribute, KeepsTheValueOfAnElementThatJoinsADocumentLater) {
    Held held;
    void* const document = held.document("<r/>");
    void* const element = held.element("e");
    EXPECT_TRUE(setXmlAttribute(element, "ä", "ö&"));
    EXPECT_TRUE(appendXmlChild(xmlRootElement(document), element));
    EXPECT_EQ(printXml(document), declaration + "<r>\n    <e ä=\"ö&amp;\"></e>\n</r>");
}

TEST(SetXmlAttribute, ChangesNothingWhenItRefuses) {
    Held held;
    void* const document = held.document("<r a=\"1\"/>");
    for (const char* const name : {"", "1a", "a b", "<a>", "\xFF"}) {
        EXPECT_FALSE(setXmlAttribute(xmlRootElement(document), name, "2")) << name;
    }
    EXPECT_FALSE(setXmlAttribute(xmlRootElement(document), "a", "\x01"));
    EXPECT_FALSE(setXmlAttribute(xmlRootElement(document), "a", "\xFF"));
    EXPECT_FALSE(setXmlAttribute(document, "a", "2"));
    EXPECT_FALSE(setXmlAttribute(nullptr, "a", "2"));
    EXPECT_EQ(printXml(document), declaration + "<r a=\"1\"></r>");
}

TEST(PrintXml, PutsOneElementOnALineFourBlanksALevel) {
    EXPECT_EQ(reprinted("<a v='1'><b>x</b><c><d/><e w='2'>y</e></c></a>"), declaration +
                                                                               "<a v=\"1\">\n"
                                                                               "    <b>x</b>\n"
                                                                               "    <c>\n"
                                                                               "        <d></d>\n"
                                                                               "        <e w=\"2\">y</e>\n"
                                                                               "    </c>\n"
                                                                               "</a>");
}

TEST(PrintXml, IndentsEveryLevelHoweverDeep) {
    const std::string text = repeated("<a>", 40) + "<b/>" + repeated("</a>", 40);
    EXPECT_THAT(reprinted(text), HasSubstr("\n" + std::string(160, ' ') + "<b></b>\n"));
}

TEST(PrintXml, AddsNoBlanksWhereThereIsTextBetweenElements) {
    EXPECT_EQ(reprinted("<a>x<b><c/></b>y</a>"), declaration + "<a>x<b><c></c></b>y</a>");
}

TEST(PrintXml, PrintsCommentsAndInstructions) {
    EXPECT_EQ(reprinted("<!-- 1 --><a><!-- 2 --><?p q?><b/></a><!-- 3 -->"),
              declaration + "<!-- 1 -->\n<a>\n    <!-- 2 -->\n    <?p q?>\n    <b></b>\n</a>\n<!-- 3 -->");
}

TEST(PrintXml, KeepsAStandaloneDeclaration) {
    EXPECT_EQ(reprinted("<?xml version='1.0' standalone='yes'?><a/>"),
              declarationStart + "\"yes\"?>\n<a></a>");
    EXPECT_EQ(reprinted("<?xml version='1.0' standalone='no'?><a/>"), declaration + "<a></a>");
    EXPECT_EQ(reprinted("<?xml version='1.0'?><a/>"), declaration + "<a></a>");
}

TEST(PrintXml, ChangesNothingInTheDocument) {
    Held held;
    void* const document = held.document("<r><a/></r>");
    const auto first = printXml(document);
    EXPECT_EQ(printXml(document), first);
    EXPECT_TRUE(appendXmlChild(xmlRootElement(document), held.element("b")));
    EXPECT_EQ(printXml(document), declaration + "<r>\n    <a></a>\n    <b></b>\n</r>");
}

TEST(PrintXml, ReadsBackAsTheSameDocument) {
    const std::string printed = reprinted("<a v='&lt;'><b>x &amp; y</b><c><d/>t<e/></c><f>  z </f></a>");
    EXPECT_EQ(reprinted(printed), printed);
}

TEST(PrintXml, DoesNotDependOnSettingsOfTheProcess) {
    const std::string text = "<a> <b><c/></b> </a>";
    const std::string expected = reprinted(text);
    EXPECT_EQ(child::resultOf([&] {
                  xmlTreeIndentString = "\t";
                  xmlIndentTreeOutput = 0;
                  xmlSaveNoEmptyTags = 0;
                  xmlLoadExtDtdDefaultValue = 1;
                  xmlSubstituteEntitiesDefault(1);
                  xmlKeepBlanksDefault(0);
                  const std::string first = reprinted(text);
                  xmlKeepBlanksDefault(1);
                  return first + reprinted(text);
              }),
              expected + expected);
}

TEST(PrintXml, LeavesTheSettingsOfTheProcessAlone) {
    const std::string indentation = xmlTreeIndentString;
    const int isIndented = xmlIndentTreeOutput;
    reprinted("<a><b/></a>");
    EXPECT_EQ(xmlTreeIndentString, indentation);
    EXPECT_EQ(xmlIndentTreeOutput, isIndented);
}

TEST(ReleaseXml, TheTreeKeepsAnElementThatItsCreatorReleased) {
    Held held;
    void* const document = held.document("<r/>");
    void* const element = createXmlElement("a", "x");
    ASSERT_TRUE(appendXmlChild(xmlRootElement(document), element));
    releaseXml(element);
    EXPECT_EQ(printXml(document), declaration + "<r>\n    <a>x</a>\n</r>");
}

TEST(ReleaseXml, AnElementOutlivesTheDocumentItWasIn) {
    Held held;
    void* const document = parseXml("<r/>").document;
    void* const element = held.element("a", "x");
    ASSERT_TRUE(setXmlAttribute(element, "k", "v"));
    ASSERT_TRUE(appendXmlChild(xmlRootElement(document), element));
    releaseXml(document);

    void* const other = held.document("<s/>");
    EXPECT_TRUE(appendXmlChild(xmlRootElement(other), element));
    EXPECT_EQ(printXml(other), declaration + "<s>\n    <a k=\"v\">x</a>\n</s>");
}

TEST(ReleaseXml, AnElementOutlivesTheParentItWasIn) {
    Held held;
    void* const parent = createXmlElement("parent", "");
    void* const element = held.element("a", "x");
    ASSERT_TRUE(appendXmlChild(parent, element));
    releaseXml(parent);

    void* const document = held.document("<s/>");
    EXPECT_TRUE(appendXmlChild(xmlRootElement(document), element));
    EXPECT_EQ(printXml(document), declaration + "<s>\n    <a>x</a>\n</s>");
}

TEST(ReleaseXml, AHeldElementKeepsItsChildrenWhenTheDocumentGoes) {
    Held held;
    void* const document = parseXml("<r/>").document;
    void* const outer = held.element("outer");
    void* const inner = createXmlElement("inner", "x");
    ASSERT_TRUE(appendXmlChild(outer, inner));
    ASSERT_TRUE(appendXmlChild(xmlRootElement(document), outer));
    releaseXml(inner);
    releaseXml(document);

    void* const other = held.document("<s/>");
    EXPECT_TRUE(appendXmlChild(xmlRootElement(other), outer));
    EXPECT_EQ(printXml(other),
              declaration + "<s>\n    <outer>\n        <inner>x</inner>\n    </outer>\n</s>");
}

TEST(ReleaseXml, WorksInEveryOrder) {
    std::vector<int> order(6);
    std::iota(order.begin(), order.end(), 0);
    int orders = 0;
    do {
        std::vector<void*> handles = {parseXml("<r><p/></r>").document};
        for (const char* const name : {"a", "b", "c", "loose", "below"}) {
            handles.push_back(createXmlElement(name, "text"));
        }
        ASSERT_TRUE(setXmlAttribute(handles[2], "k", "v"));
        ASSERT_TRUE(appendXmlChild(xmlRootElement(handles[0]), handles[1]));
        ASSERT_TRUE(appendXmlChild(handles[1], handles[2]));
        ASSERT_TRUE(appendXmlChild(handles[2], handles[3]));
        ASSERT_TRUE(appendXmlChild(handles[4], handles[5]));
        for (const int index : order) {
            releaseXml(handles[static_cast<std::size_t>(index)]);
        }
        ++orders;
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(orders, 720);
}

TEST(ReleaseXml, PassesNothingOver) { EXPECT_NO_FATAL_FAILURE(releaseXml(nullptr)); }
