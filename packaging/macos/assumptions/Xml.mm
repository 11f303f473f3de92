#include "Assumption.h"
#include "Cocoa.h"
#include "Place.h"

namespace assumptions {

namespace {

NSXMLDocument* parsed(const std::string& text, NSUInteger options = NSXMLNodeLoadExternalEntitiesNever) {
    NSError* error = nil;
    NSXMLDocument* const document = [[[NSXMLDocument alloc] initWithXMLString:objectOf(text)
                                                                      options:options
                                                                        error:&error] autorelease];
    return error ? nil : document;
}

std::string valueOfRoot(NSXMLDocument* document) { return textOf([[document rootElement] stringValue]); }

NSXMLNode* attribute(NSString* name, NSString* value) {
    NSXMLNode* const node = [[[NSXMLNode alloc] initWithKind:NSXMLAttributeKind] autorelease];
    [node setName:name];
    [node setStringValue:value];
    return node;
}

NSXMLElement* element(NSString* name, NSString* value) {
    return [[[NSXMLElement alloc] initWithName:name stringValue:value] autorelease];
}

std::string printed(NSXMLDocument* document) {
    NSData* const data = [document XMLDataWithOptions:NSXMLNodePrettyPrint];
    return textOf([[[NSString alloc] initWithData:data encoding:NSUTF8StringEncoding] autorelease]);
}

/// The printed document without what stands before its first element.
std::string printedBody(NSXMLDocument* document) {
    const std::string text = printed(document);
    const std::size_t end = text.find("?>");
    const std::size_t start = text.find('<', end == std::string::npos ? 0 : end);
    return start == std::string::npos ? text : text.substr(start);
}

NSXMLDocument* manifest() {
    NSXMLDocument* const document = parsed("<SpecifierManifest/>");
    [document setCharacterEncoding:@"UTF-8"];
    [document setStandalone:[document isStandalone]];
    NSXMLElement* const root = [document rootElement];
    [root addAttribute:attribute(@"version", @"1")];
    [root addChild:element(@"a", @"x")];
    [root addChild:[[[NSXMLElement alloc] initWithName:@"b"] autorelease]];
    return document;
}

Found layout() {
    const Pool pool;
    return printed(manifest());
}

Found layoutInside() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r/>");
    NSXMLElement* const outer = [[[NSXMLElement alloc] initWithName:@"a"] autorelease];
    [[document rootElement] addChild:outer];
    [outer addChild:element(@"b", @"x")];
    return printedBody(document);
}

Found emptyText() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r/>");
    [[document rootElement] addChild:element(@"b", @"")];
    return printedBody(document);
}

Found letters() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r/>");
    [document setCharacterEncoding:@"UTF-8"];
    [[document rootElement] addAttribute:attribute(@"k", @"\u00e4")];
    [[document rootElement] addChild:element(@"b", @"\u00e4")];
    return printedBody(document);
}

Found escapedText() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r/>");
    [[document rootElement] addChild:element(@"b", @"a&b<c>d\"e'")];
    return printedBody(document);
}

std::string withAttribute(NSString* value) {
    NSXMLDocument* const document = parsed("<r/>");
    [[document rootElement] addAttribute:attribute(@"k", value)];
    return printedBody(document);
}

Found escapedAttribute() {
    const Pool pool;
    return withAttribute(@"a&b");
}

Found referenceInAttribute() {
    const Pool pool;
    return withAttribute(@"a&amp;b");
}

Found marksInAttribute() {
    const Pool pool;
    return withAttribute(@"<\"");
}

Found sameAttributeTwice() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r a=\"1\" b=\"2\"/>");
    [[document rootElement] addAttribute:attribute(@"a", @"3")];
    return printedBody(document);
}

Found attributeRemovedAndAdded() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r a=\"1\" b=\"2\"/>");
    [[document rootElement] removeAttributeForName:@"a"];
    [[document rootElement] addAttribute:attribute(@"a", @"3")];
    return printedBody(document);
}

Found namespaceReplaced() {
    const Pool pool;
    NSXMLDocument* const document = parsed("<r xmlns:p=\"urn:a\"/>");
    [[document rootElement] removeNamespaceForPrefix:@"p"];
    [[document rootElement] addNamespace:[NSXMLNode namespaceWithName:@"p" stringValue:@"urn:b"]];
    return printedBody(document);
}

Found encodingOfAString() {
    const Pool pool;
    const std::string value =
        valueOfRoot(parsed("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xc3\xa4</r>"));
    return value == "\xc3\xa4" ? "ignored" : value == "(nil)" ? "refused" : "obeyed";
}

Found encodingSaidAgain() {
    const Pool pool;
    NSXMLDocument* const document =
        parsed("<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?><r/>");
    [document setCharacterEncoding:@"UTF-8"];
    [document setStandalone:[document isStandalone]];
    return printed(document);
}

Found blanks() {
    const Pool pool;
    return std::to_string([[parsed("<r>\n  <a/>\n  <b/>\n</r>") rootElement] childCount]);
}

Found verbatimText() {
    const Pool pool;
    return valueOfRoot(parsed("<r><![CDATA[a<b]]></r>"));
}

Found internalEntity() {
    const Pool pool;
    return valueOfRoot(parsed("<!DOCTYPE r [<!ENTITY e \"value\">]><r>&e;</r>"));
}

std::string externalEntity(NSUInteger options) {
    const Pool pool;
    const Place place;
    const std::string file = place.put("secret", "secret");
    NSXMLDocument* const document =
        parsed("<!DOCTYPE r [<!ENTITY e SYSTEM \"file://" + file + "\">]><r>&e;</r>", options);
    const bool isRead = (valueOfRoot(document) + printed(document)).find(">secret") != std::string::npos ||
                        valueOfRoot(document) == "secret";
    return eitherOf(isRead, "read", "not read");
}

Found externalEntityNever() { return externalEntity(NSXMLNodeLoadExternalEntitiesNever); }

Found externalEntityByDefault() { return externalEntity(0); }

Found noString() {
    const Pool pool;
    NSString* const none = nil;
    NSError* error = nil;
    const auto parse = [&] {
        [[[NSXMLDocument alloc] initWithXMLString:none options:0 error:&error] autorelease];
    };
    return eitherOf(raises(parse), "raises", "accepted");
}

/// "refused" when there is an error and no document.
std::string refusal(const char* text) {
    NSError* error = nil;
    NSXMLDocument* const document =
        [[[NSXMLDocument alloc] initWithXMLString:objectOf(text)
                                          options:NSXMLNodeLoadExternalEntitiesNever
                                            error:&error] autorelease];
    return document ? "accepted" : error ? "refused" : "refused silently";
}

Assumption malformed(const char* name, const char* text) {
    return {std::string("malformed XML: ") + name, {"refused"}, [text] {
                const Pool pool;
                return refusal(text);
            }};
}

Found childWithoutDocument() {
    NSXMLElement* root = nil;
    {
        const Pool pool;
        root = [[parsed("<r><a>x</a></r>") rootElement] retain];
    }
    const Pool pool;
    [root autorelease];
    return textOf([root name]) + " " + textOf([root stringValue]);
}

Found childOfTwo() {
    const Pool pool;
    NSXMLElement* const child = element(@"c", @"x");
    [[parsed("<r/>") rootElement] addChild:child];
    NSXMLDocument* const other = parsed("<s/>");
    return eitherOf(raises([&] { [[other rootElement] addChild:child]; }), "raises", "accepted");
}

Found rootOfAnotherClass() {
    const Pool pool;
    return eitherOf([[parsed("<r/>") rootElement] isKindOfClass:[NSXMLElement class]], "NSXMLElement",
                    "another");
}

Assumptions aboutParsing() {
    return {
        malformed("nothing", ""),
        malformed("text alone", "text"),
        malformed("an open element", "<a>"),
        malformed("a wrong end", "<a></b>"),
        malformed("two roots", "<a/><b/>"),
        malformed("text behind the root", "<a/>text"),
        malformed("a blank before the declaration", " <?xml version=\"1.0\"?><a/>"),
        malformed("an attribute twice", "<a k=\"1\" k=\"2\"/>"),
        malformed("an attribute without quotes", "<a k=1/>"),
        malformed("an undefined entity", "<a>&e;</a>"),
        malformed("a control character", "<a>\x01</a>"),
        {"XML from no string", {"raises"}, noString},
        {"encoding that a string of XML declares", {"ignored", "obeyed", "refused"}, encodingOfAString},
        {"children among blanks", {"2"}, blanks},
        {"value of a CDATA section", {"a<b"}, verbatimText},
        {"value of an internal entity", {"value"}, internalEntity},
        {"external entity, with the option Never", {"not read"}, externalEntityNever},
        {"external entity, without options", {"not read", "read"}, externalEntityByDefault},
        {"class of a root", {"NSXMLElement"}, rootOfAnotherClass},
        {"root that outlives its document", {"r x"}, childWithoutDocument},
    };
}

} // namespace

Assumptions aboutXml() {
    const std::string heading = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>)";
    Assumptions all = {
        {"layout of the manifest",
         {heading + "\n<SpecifierManifest version=\"1\">\n    <a>x</a>\n    <b></b>\n</SpecifierManifest>"},
         layout},
        {"layout of an element in an element",
         {"<r>\n    <a>\n        <b>x</b>\n    </a>\n</r>"},
         layoutInside},
        {"element with an empty text", {"<r>\n    <b></b>\n</r>"}, emptyText},
        {"letters beyond ASCII", {"<r k=\"\u00e4\">\n    <b>\u00e4</b>\n</r>"}, letters},
        {"marks in a text", {"<r>\n    <b>a&amp;b&lt;c&gt;d\"e'</b>\n</r>"}, escapedText},
        {"ampersand in an attribute", {"<r k=\"a&amp;b\"></r>"}, escapedAttribute},
        {"reference in an attribute", {"<r k=\"a&amp;amp;b\"></r>"}, referenceInAttribute},
        {"other marks in an attribute", {"<r k=\"&lt;&quot;\"></r>"}, marksInAttribute},
        {"attribute added twice", {"<r a=\"3\" b=\"2\"></r>", "<r b=\"2\" a=\"3\"></r>"}, sameAttributeTwice},
        {"attribute removed and added", {"<r b=\"2\" a=\"3\"></r>"}, attributeRemovedAndAdded},
        {"namespace removed and added", {"<r xmlns:p=\"urn:b\"></r>"}, namespaceReplaced},
        {"child that has a parent", {"raises"}, childOfTwo},
        {"declaration with the encoding set again",
         {"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<r></r>"},
         encodingSaidAgain},
    };
    const Assumptions parsing = aboutParsing();
    all.insert(all.end(), parsing.begin(), parsing.end());
    return all;
}

} // namespace assumptions
