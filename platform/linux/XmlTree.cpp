#include "platform/XmlTree.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <string_view>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include "../posix/ParsingCost.h"
#include "../posix/XmlRules.h"

namespace platform {

namespace {

template <auto release> struct Releaser {
    template <typename Resource> void operator()(Resource* resource) const { release(resource); }
};

using Context = std::unique_ptr<xmlParserCtxt, Releaser<xmlFreeParserCtxt>>;
using Document = std::unique_ptr<xmlDoc, Releaser<xmlFreeDoc>>;
using Buffer = std::unique_ptr<xmlBuffer, Releaser<xmlBufferFree>>;

/// An element that its creator holds has a pointer to this.
char heldMark;

bool isHeld(const xmlNode* node) { return node->_private == &heldMark; }

const xmlChar* xmlText(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

std::string_view plainText(const xmlChar* text) { return text ? reinterpret_cast<const char*>(text) : ""; }

xmlNode* asElement(void* handle) {
    auto* const node = static_cast<xmlNode*>(handle);
    return node && node->type == XML_ELEMENT_NODE ? node : nullptr;
}

/// The node after `node` in document order below `top`, what an entity stands for left out. Null at the
/// end.
xmlNode* nextBelow(xmlNode* top, xmlNode* node, bool descend) {
    const bool isParent = node == top || node->type == XML_ELEMENT_NODE;
    if (descend && isParent && node->children) {
        return node->children;
    }
    while (node != top && !node->next) {
        node = node->parent;
    }
    return node == top ? nullptr : node->next;
}

void dropBlankTexts(xmlDoc* document) {
    auto* const top = reinterpret_cast<xmlNode*>(document);
    for (xmlNode* node = nextBelow(top, top, true); node;) {
        xmlNode* const next = nextBelow(top, node, true);
        if (xmlIsBlankNode(node)) {
            xmlUnlinkNode(node);
            xmlFreeNode(node);
        }
        node = next;
    }
}

/// Takes the held elements below `top`, each with what is below it, out of the tree.
void detachHeldElements(xmlNode* top) {
    for (xmlNode* node = nextBelow(top, top, true); node;) {
        xmlNode* const next = nextBelow(top, node, !isHeld(node));
        if (isHeld(node)) {
            xmlUnlinkNode(node);
            xmlSetTreeDoc(node, nullptr);
        }
        node = next;
    }
}

// ---- Parsing

void ignoreReport(void* /*context*/, const char* /*format*/, ...) {}

/// The well-formed document that `text` holds. Nothing is written anywhere, nothing else is read.
Document parsed(xmlParserCtxt* context, std::string_view text) {
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NODICT | XML_PARSE_NOCDATA | XML_PARSE_IGNORE_ENC |
                            XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    if (!context || text.size() > INT_MAX) {
        return nullptr;
    }
    context->vctxt.error = &ignoreReport; // of an "xml:id" that is no name, whatever the options
    return Document(
        xmlCtxtReadMemory(context, text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", options));
}

std::string lastErrorOf(xmlParserCtxt* context) {
    const xmlError* const error = context ? xmlCtxtGetLastError(context) : nullptr;
    const std::string text = error && error->message ? error->message : "";
    const std::size_t last = text.find_last_not_of(" \n");
    return last == std::string::npos ? "The text is no XML document" : text.substr(0, last + 1);
}

// ---- Building

std::string qualifiedName(const xmlNs* space, const xmlChar* name) {
    const std::string prefix(plainText(space ? space->prefix : nullptr));
    return (prefix.empty() ? "" : prefix + ":").append(plainText(name));
}

xmlAttr* findAttribute(const xmlNode* element, std::string_view name) {
    xmlAttr* attribute = element->properties;
    while (attribute && qualifiedName(attribute->ns, attribute->name) != name) {
        attribute = attribute->next;
    }
    return attribute;
}

/// The namespace that an attribute of that name declares on the element.
xmlNs* findNamespace(const xmlNode* element, std::string_view name) {
    xmlNs* space = element->nsDef;
    while (space && (space->prefix ? "xmlns:" : "xmlns") + std::string(plainText(space->prefix)) != name) {
        space = space->next;
    }
    return space;
}

bool renameNamespace(xmlNs* space, const std::string& value) {
    xmlChar* const copy = xmlStrdup(xmlText(value));
    if (copy) {
        xmlFree(const_cast<xmlChar*>(space->href));
        space->href = copy;
    }
    return copy != nullptr;
}

// ---- Printing

bool isTextual(const xmlNode* node) {
    return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE ||
           node->type == XML_ENTITY_REF_NODE;
}

bool holdsText(const xmlNode* element) {
    const xmlNode* child = element->children;
    while (child && !isTextual(child)) {
        child = child->next;
    }
    return child != nullptr;
}

/// Puts every child of `element` on a line of its own, and theirs, unless there is text among them.
/// `lineBreak` is the one before the element itself.
void indentBelow(xmlNode* element, const std::string& lineBreak) {
    if (!element->children || holdsText(element)) {
        return;
    }
    const std::string inner = lineBreak + "    ";
    for (xmlNode* child = element->children; child; child = child->next) {
        xmlAddPrevSibling(child, xmlNewDocText(element->doc, xmlText(inner)));
        if (child->type == XML_ELEMENT_NODE) {
            indentBelow(child, inner);
        }
    }
    xmlAddChild(element, xmlNewDocText(element->doc, xmlText(lineBreak)));
}

/// The document as it stands, without its declaration. Nothing when memory runs out.
std::optional<std::string> printedAsItStands(xmlDoc* document) {
    const Buffer buffer(xmlBufferCreate());
    constexpr int options = XML_SAVE_NO_DECL | XML_SAVE_NO_EMPTY | XML_SAVE_NO_XHTML | XML_SAVE_AS_XML;
    xmlSaveCtxt* const printer = buffer ? xmlSaveToBuffer(buffer.get(), "UTF-8", options) : nullptr;
    if (!printer) {
        return std::nullopt;
    }
    const bool isPrinted = xmlSaveDoc(printer, document) != -1;
    const bool isComplete = xmlSaveClose(printer) != -1;
    return isPrinted && isComplete ? std::optional<std::string>(plainText(xmlBufferContent(buffer.get())))
                                   : std::nullopt;
}

std::string declarationOf(const xmlDoc* document) {
    return "<?xml version=\"" + std::string(plainText(document->version)) +
           "\" encoding=\"UTF-8\" standalone=\"" + (document->standalone == 1 ? "yes" : "no") + "\"?>\n";
}

} // namespace

XmlParseResult parseXml(const char* text) {
    const std::string_view whole = text;
    if (!isUtf8(whole)) {
        return {nullptr, "The text is not UTF-8", true};
    }
    if (mayCostTooMuch(whole)) {
        return {nullptr, "The document would take too much memory or time", false};
    }
    const Context context(xmlNewParserCtxt());
    Document document = parsed(context.get(), whole);
    if (!document) {
        return {nullptr, lastErrorOf(context.get()), false};
    }
    dropBlankTexts(document.get());
    return {document.release(), std::nullopt, false};
}

void* xmlRootElement(void* document) { return xmlDocGetRootElement(static_cast<xmlDoc*>(document)); }

void* createXmlElement(const char* name, const char* value) {
    if (!isXmlName(name) || !isXmlText(value)) {
        return nullptr;
    }
    const bool isEmpty = *value == '\0';
    xmlNode* const element =
        xmlNewDocRawNode(nullptr, nullptr, xmlText(name), isEmpty ? nullptr : xmlText(value));
    if (element) {
        element->_private = &heldMark;
    }
    return element;
}

bool appendXmlChild(void* parent, void* child) {
    xmlNode* const outer = asElement(parent);
    xmlNode* const inner = asElement(child);
    if (!outer || !inner || inner->parent) {
        return false;
    }
    for (const xmlNode* node = outer; node; node = node->parent) {
        if (node == inner) {
            return false;
        }
    }
    return xmlAddChild(outer, inner) != nullptr;
}

bool setXmlAttribute(void* element, const char* name, const char* value) {
    xmlNode* const node = asElement(element);
    if (!node || !isXmlName(name) || !isXmlText(value)) {
        return false;
    }
    if (xmlNs* const space = findNamespace(node, name)) {
        return renameNamespace(space, value);
    }
    xmlAttr* const earlier = findAttribute(node, name);
    if (!xmlNewProp(node, xmlText(name), xmlText(value))) {
        return false;
    }
    if (earlier) {
        xmlRemoveProp(earlier);
    }
    return true;
}

std::optional<std::string> printXml(void* document) {
    const Document copy(xmlCopyDoc(static_cast<xmlDoc*>(document), 1));
    xmlNode* const root = copy ? xmlDocGetRootElement(copy.get()) : nullptr;
    if (!root) {
        return std::nullopt;
    }
    indentBelow(root, "\n");
    auto content = printedAsItStands(copy.get());
    if (!content) {
        return std::nullopt;
    }
    content->resize(content->find_last_not_of('\n') + 1);
    return declarationOf(copy.get()) + *content;
}

void releaseXml(void* handle) {
    auto* const node = static_cast<xmlNode*>(handle);
    if (node && node->type == XML_DOCUMENT_NODE) {
        detachHeldElements(node);
        xmlFreeDoc(static_cast<xmlDoc*>(handle));
    } else if (node && isHeld(node)) {
        node->_private = nullptr;
        if (!node->parent) {
            detachHeldElements(node);
            xmlFreeNode(node);
        }
    }
}

} // namespace platform
