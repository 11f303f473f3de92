#include "../../../platform/posix/XmlForm.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using platform::deepestXml;
using platform::isWholeXml;

namespace {

const std::string publicType = "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">";

std::string nested(std::size_t depth, const std::string& content) {
    std::string start;
    std::string end;
    for (std::size_t i = 0; i < depth; ++i) {
        start += "<a>";
        end += "</a>";
    }
    return start + content + end;
}

void expectAll(bool isWhole, const std::vector<std::string>& documents) {
    for (const std::string& document : documents) {
        EXPECT_EQ(isWholeXml(document), isWhole) << document;
    }
}

} // namespace

TEST(XmlForm, IsOneElement) {
    expectAll(true, {"<a/>", "<a />", "<a></a>", "<a></a >", "<a>text</a>", " \t\r\n<a/>\n", "<a><b/></a>",
                     "<a><b></b>c<b></b></a>", "<a:b/>", "<_-.1/>", "<\u00E9/>"});
    expectAll(false, {"",
                      " ",
                      "a",
                      "<",
                      "<>",
                      "<a",
                      "<a>",
                      "<a/",
                      "</a>",
                      "<a/><b/>",
                      "<a/>b",
                      "b<a/>",
                      "<a></b>",
                      "<a><b></a></b>",
                      "<a></a",
                      "< a/>",
                      "<a/ >",
                      "</ a>",
                      "<1/>",
                      "<a\"/>",
                      "<![CDATA[a]]>",
                      "<a/>&amp;",
                      "<a/><![CDATA[]]>"});
}

TEST(XmlForm, NamesEachAttributeOnce) {
    expectAll(true, {"<a b='1'/>", "<a b=\"1\" c='2'/>", "<a b = '1' ></a>", "<a c=\"'\"/>", "<a\nb='&lt;'/>",
                     "<a xmlns:b='c' b:d=''/>"});
    expectAll(false, {"<a b/>", "<a b=/>", "<a b=1/>", "<a b='1/>", "<a b='1\"/>", "<a b='1'c='2'/>",
                      "<a b='1' b='2'/>", "<a ='1'/>", "<a 1='1'/>", "<a b='<'/>", "<a b='&'/>",
                      "<a b='&c;'/>", "<a></a b='1'>"});
}

TEST(XmlForm, HasNothingThatOtherReadersTakeForMarkup) {
    const std::string hidden = "<plist><array/></plist>";
    expectAll(false,
              {"<!DOCTYPE plist SYSTEM '['><!-- ]>" + hidden + " --><plist><dict/></plist>",
               "<?x \"?><!-- \" ?>" + hidden + " --><plist/>",
               "<plist a='\"'><!-- \">" + hidden + " --></plist>", "<a b='>'/>", "<a b='/>'/>", "<a b='\"'/>",
               "<!DOCTYPE a SYSTEM \"<\"><a/>", "<!DOCTYPE a SYSTEM \"]>\"><a/>", "<a><?b \"?></a>"});
}

TEST(XmlForm, RefersToCharactersAlone) {
    expectAll(true, {"<a>&lt;&gt;&amp;&quot;&apos;</a>", "<a>&#65;&#x41;&#x1F600;&#0065;&#xd7ff;</a>"});
    expectAll(false, {"<a>&</a>", "<a>&amp</a>", "<a>& amp;</a>", "<a>&;</a>", "<a>&b;</a>", "<a>&AMP;</a>",
                      "<a>&#;</a>", "<a>&#x;</a>", "<a>&#X41;</a>", "<a>&#-1;</a>", "<a>&#+1;</a>",
                      "<a>&#1;</a>", "<a>&#0;</a>", "<a>&#xD800;</a>", "<a>&#xFFFE;</a>", "<a>&#x110000;</a>",
                      "<a>&#4294967361;</a>", "<a>&#65 ;</a>", publicType + "<a>&b;</a>"});
}

TEST(XmlForm, HasCharactersOfXmlInUtf8) {
    expectAll(true, {"<a>\u00E9\u20AC\U0001F600\t\x7F</a>", "<!--\u00E9--><a/>"});
    expectAll(false,
              {"<a>\x01</a>", "<a>\xFF</a>", "<a>\xC3</a>", "<a>\xED\xA0\x80</a>", "<a>\xEF\xBF\xBE</a>",
               "<!--\x01--><a/>", "<?a \x01?><a/>", std::string("<a/>\0", 5), std::string("<a>\0</a>", 8)});
}

TEST(XmlForm, HasRemarksAnywhereOutsideTags) {
    expectAll(true, {"<!--b--><a/><!--c-->", "<a><!----></a>", "<a><!-- - > <b> & --></a>", "<?b?><a/>",
                     "<?b c=d > & <?><a/><?e?>", "<?xml-b?><a/>", "<a><?b?></a>", "<a><![CDATA[<&]]]]></a>",
                     "<a><![CDATA[]]></a>"});
    expectAll(false, {"<!--b<a/>", "<!--b--c--><a/>", "<!--b---><a/>", "<?b<a/>", "<? ?><a/>", "<? b?><a/>",
                      "<?1?><a/>", "<a/><?xml version='1.0'?>", "<a><?XmL?></a>", "<a>]]></a>",
                      "<a><![CDATA[</a>", "<a><![cdata[]]></a>", "<a <!--b-->/>"});
}

TEST(XmlForm, BeginsWithItsDeclaration) {
    expectAll(true, {"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>", "<?xml version='1.1' ?><a/>",
                     "<?xml version = '1.0' standalone = 'yes'?><a/>",
                     "<?xml version='1.0' encoding='x' standalone='no'?><a/>"});
    expectAll(false, {"<?xml?><a/>", "<?xml ?><a/>", "<?xml version='2.0'?><a/>", "<?xml version=''?><a/>",
                      "<?xml version=1.0?><a/>", "<?xml encoding='UTF-8'?><a/>",
                      "<?xml version='1.0' encoding='8'?><a/>", "<?xml version='1.0' encoding=''?><a/>",
                      "<?xml version='1.0' standalone='maybe'?><a/>", "<?xml version='1.0' b='c'?><a/>",
                      "<?xml version='1.0'><a/>", " <?xml version='1.0'?><a/>",
                      "<?xml version='1.0' standalone='no' encoding='x'?><a/>"});
}

TEST(XmlForm, MayHaveATypeThatDeclaresNothing) {
    expectAll(true, {publicType + "<plist/>", "<!DOCTYPE a><a/>", "<!DOCTYPE a SYSTEM 'b' ><a/>",
                     "<?xml version='1.0'?><!--b-->" + publicType + "<!--c--><a/>"});
    expectAll(false,
              {"<!DOCTYPE><a/>", "<!DOCTYPE a", "<!DOCTYPE a SYSTEM><a/>", "<!DOCTYPE a SYSTEM 'b><a/>",
               "<!DOCTYPE a SYSTEM'b'><a/>", "<!DOCTYPE a PUBLIC 'b'><a/>", "<!DOCTYPE a b><a/>",
               "<!DOCTYPE a PUBLIC '<' 'c'><a/>", "<a/><!DOCTYPE a>", "<!DOCTYPE a><!DOCTYPE a><a/>",
               "<!DOCTYPE a []><a/>", "<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>"});
}

TEST(XmlForm, HasALimitedDepth) {
    expectAll(true, {nested(deepestXml, ""), nested(deepestXml - 1, "<b/><b/>")});
    expectAll(false, {nested(deepestXml + 1, ""), nested(deepestXml, "<b/>")});
    EXPECT_FALSE(isWholeXml(nested(1'000'000, "")));
}
