#include "platform/XmlTree.h"

#include <string_view>

#include "../posix/ParsingCost.h"
#include "../posix/XmlRules.h"
#include "Foundation.h"

#ifdef GNUSTEP
#include <libxml/globals.h>
#endif

namespace platform {

namespace {

NSXMLElement* asElement(void* handle) {
    id const object = (id)handle;
    return [object isKindOfClass:[NSXMLElement class]] ? object : nil;
}

bool isAtOrAbove(NSXMLNode* node, NSXMLNode* below) {
    while (below && below != node) {
        below = [below parent];
    }
    return below != nil;
}

/// `text` without a byte order mark and with UTF-8 for the encoding that its declaration names: it is text by
/// now, whatever it was stored in.
std::string declaredUtf8(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    text.remove_prefix(text.starts_with(mark) ? mark.size() : 0);
    const bool isDeclared = text.starts_with("<?xml") && text.find_first_of(" \t\r\n") == 5;
    const std::string_view declaration = isDeclared ? text.substr(0, text.find("?>")) : "";
    const std::size_t open = declaration.find_first_of("\"'", declaration.find("encoding"));
    const std::size_t close =
        open == std::string_view::npos ? open : declaration.find(declaration[open], open + 1);
    return close == std::string_view::npos ? std::string(text)
                                           : std::string(text).replace(open + 1, close - open - 1, "UTF-8");
}

/// A value as the framework is to be given it.
NSString* attributeValue(const char* value) {
    NSString* const text = stringOf(value);
#ifdef GNUSTEP // reads references in an attribute's value
    return [text stringByReplacingOccurrencesOfString:@"&" withString:@"&amp;"];
#else
    return text;
#endif
}

NSXMLElement* newElement(const char* name, const char* value) {
    if (*value == '\0') { // with a text of no length, what is put into it later would not be indented
        return [[NSXMLElement alloc] initWithName:stringOf(name)];
    }
    return [[NSXMLElement alloc] initWithName:stringOf(name) stringValue:stringOf(value)];
}

/// The prefix that an attribute of that name declares a namespace for, or nothing for any other name.
std::optional<std::string> declaredPrefix(std::string_view name) {
#ifdef GNUSTEP // frees a namespace that names may still be in
    return std::nullopt;
#endif
    if (name == "xmlns") {
        return "";
    }
    constexpr std::string_view start = "xmlns:";
    return name.starts_with(start) ? std::optional<std::string>(name.substr(start.size())) : std::nullopt;
}

bool hasNamespace(NSXMLElement* element, NSString* prefix) {
    NSArray* const namespaces = [element namespaces];
    for (NSUInteger i = 0; i < [namespaces count]; ++i) {
        if ([[[namespaces objectAtIndex:i] name] isEqualToString:prefix]) {
            return true;
        }
    }
    return false;
}

bool putNamespace(NSXMLElement* element, const std::string& prefix, const char* value) {
    [element removeNamespaceForPrefix:stringOf(prefix)];
    [element addNamespace:[NSXMLNode namespaceWithName:stringOf(prefix) stringValue:stringOf(value)]];
    return true;
}

NSXMLNode* attributeOf(const char* name, const char* value) {
    NSXMLNode* const attribute = [[[NSXMLNode alloc] initWithKind:NSXMLAttributeKind] autorelease];
    [attribute setName:stringOf(name)];
    [attribute setStringValue:attributeValue(value)];
    return attribute;
}

/// Whether an attribute has that name, its prefix included.
bool isCalled(NSXMLNode* attribute, NSString* name) {
#ifdef GNUSTEP // tells no prefix that stands for no namespace
    return [[attribute XMLString] hasPrefix:[name stringByAppendingString:@"="]];
#else
    return [[attribute name] isEqualToString:name];
#endif
}

/// The attribute of that name. Null when there is none.
NSXMLNode* attributeNamed(NSXMLElement* element, NSString* name) {
    NSArray* const attributes = [element attributes];
    for (NSUInteger i = 0; i < [attributes count]; ++i) {
        NSXMLNode* const attribute = [attributes objectAtIndex:i];
        if (isCalled(attribute, name)) {
            return attribute;
        }
    }
    return nil;
}

#ifdef GNUSTEP
/// Whether the element has an attribute of that name with another prefix. This framework compares names
/// without their prefixes, and frees the attribute that it finds while others use it.
bool isConfused(NSXMLElement* element, NSString* name) {
    NSString* const local = [[name componentsSeparatedByString:@":"] lastObject];
    NSArray* const attributes = [element attributes];
    for (NSUInteger i = 0; i < [attributes count]; ++i) {
        if ([[[attributes objectAtIndex:i] localName] isEqualToString:local]) {
            return true;
        }
    }
    return false;
}
#endif

/// Puts an attribute in the place of one of its name, at the end. False when the framework cannot.
bool putAttribute(NSXMLElement* element, const char* name, const char* value) {
    NSXMLNode* const earlier = attributeNamed(element, stringOf(name));
#ifdef GNUSTEP
    if (earlier && std::string_view(name).find(':') != std::string_view::npos) {
        [earlier setStringValue:attributeValue(value)];
        return true;
    }
    if (!earlier && isConfused(element, stringOf(name))) {
        return false;
    }
#endif
    [earlier detach];
    [element addAttribute:attributeOf(name, value)];
    return true;
}

/// Prints four blanks a level while it lives, where that is not what the framework does.
class Indentation {
  public:
#ifdef GNUSTEP
    Indentation() : earlier(xmlTreeIndentString) { xmlTreeIndentString = "    "; }
    ~Indentation() { xmlTreeIndentString = earlier; }
    Indentation(const Indentation&) = delete;
    Indentation& operator=(const Indentation&) = delete;

  private:
    const char* earlier;
#endif
};

} // namespace

XmlParseResult parseXml(const char* text) {
    const AutoreleasePool pool;
    if (isUtf8(text) && mayCostTooMuch(text)) {
        return {nullptr, "The document would take too much memory or time", false};
    }
    NSString* const source = [NSString stringWithUTF8String:isUtf8(text) ? declaredUtf8(text).c_str() : text];
    NSError* error = nil;
    NSXMLDocument* document = nil;
    const auto reason = exceptionIn([&] {
        document = [[NSXMLDocument alloc] initWithXMLString:source
                                                    options:NSXMLNodeLoadExternalEntitiesNever
                                                      error:&error];
        [document setCharacterEncoding:@"UTF-8"];
        [document setStandalone:[document isStandalone]];
    });
    if (reason) { // what was allocated is lost: an object whose initialisation raised is not to be touched
        return {nullptr, reason, true};
    }
    if (error || !document) {
        return {document, textOf([error description]), false};
    }
    return {document, std::nullopt, false};
}

void* xmlRootElement(void* document) {
    const AutoreleasePool pool;
    return [(NSXMLDocument*)document rootElement];
}

void* createXmlElement(const char* name, const char* value) {
    const AutoreleasePool pool;
    if (!isXmlName(name) || !isXmlText(value)) {
        return nullptr;
    }
    return valueOr(static_cast<NSXMLElement*>(nil), [&] { return newElement(name, value); });
}

bool appendXmlChild(void* parent, void* child) {
    const AutoreleasePool pool;
    NSXMLElement* const outer = asElement(parent);
    NSXMLElement* const inner = asElement(child);
    if (!outer || !inner || [inner parent] || isAtOrAbove(inner, outer)) {
        return false;
    }
    return !exceptionIn([&] { [outer addChild:inner]; });
}

bool setXmlAttribute(void* element, const char* name, const char* value) {
    const AutoreleasePool pool;
    NSXMLElement* const owner = asElement(element);
    if (!owner || !isXmlName(name) || !isXmlText(value)) {
        return false;
    }
    return valueOr(false, [&] {
        const auto prefix = declaredPrefix(name);
        return prefix && hasNamespace(owner, stringOf(*prefix)) ? putNamespace(owner, *prefix, value)
                                                                : putAttribute(owner, name, value);
    });
}

std::optional<std::string> printXml(void* document) {
    const AutoreleasePool pool;
    [[maybe_unused]] const Indentation indentation;
    NSData* const data = valueOr(static_cast<NSData*>(nil), [&] {
        return [(NSXMLDocument*)document XMLDataWithOptions:NSXMLNodePrettyPrint];
    });
    NSString* const text =
        data ? [[[NSString alloc] initWithData:data encoding:NSUTF8StringEncoding] autorelease] : nil;
    return text ? std::optional<std::string>([text UTF8String]) : std::nullopt;
}

void releaseXml(void* handle) {
    const AutoreleasePool pool;
    [(id)handle release];
}

} // namespace platform
