#pragma once

#include <optional>
#include <string>

/// Small XML documents as trees. A handle stands for a document or an element. Whoever gets a handle
/// from `parseXml` or `createXmlElement` holds it until `releaseXml`; an element that was attached to a
/// parent lives as long as either of the two holds it. Handles are used by one thread at a time.
namespace platform {

struct XmlParseResult {
    void* document = nullptr;         ///< held by the caller when not null, even beside an error
    std::optional<std::string> error; ///< why the text was refused
    bool raised = false; ///< refused as no text at all, which the home platform raises an exception for
};

/// Parses a whole document. Nothing is fetched and no external entity is read. A document that would take too
/// much memory or time is refused (posix/ParsingCost.h).
XmlParseResult parseXml(const char* text);

/// The document's root element, borrowed; null when it has none.
void* xmlRootElement(void* document);

/// A new element, held by the caller, with `value` as its text. Null when `name` is no XML name or
/// `value` holds what XML text cannot (control characters, bytes that are not UTF-8).
void* createXmlElement(const char* name, const char* value);

/// Makes `child` the last child of `parent`. False, with nothing changed, when one of them is no element,
/// or `child` already has a parent, or holds `parent` itself.
bool appendXmlChild(void* parent, void* child);

/// Sets an attribute; one of the same name is replaced. False, with nothing changed, when `element` is
/// no element, `name` no XML name or `value` nothing that XML text can hold.
bool setXmlAttribute(void* element, const char* name, const char* value);

/// The document as UTF-8 text: a declaration, one element a line, four blanks of indentation a level,
/// empty elements as an opening and a closing tag, nothing after the last tag.
std::optional<std::string> printXml(void* document);

/// Gives up a held document or element.
void releaseXml(void* handle);

} // namespace platform
