#pragma once

#include <string>
#include <vector>

namespace ELMUUtils {

/// One small XML document: parsed, filled and printed. The parser owns the document and every element it
/// makes; the handles it gives out are borrowed and valid until it is destroyed. Failures are reported
/// at DEBUG and change nothing. One instance belongs to one thread. Strings end at their first NUL byte.
class XMLParser {
  public:
    XMLParser() = default;
    ~XMLParser();
    XMLParser(const XMLParser&) = delete;
    XMLParser& operator=(const XMLParser&) = delete;

    /// Parses `xml` as the document. False when it is refused, and (reported at WARN) when a document is
    /// held already, which stays.
    bool initWithXMLString(const std::string& xml);

    /// Puts the document's root element into `node`. False, with `node` untouched, without a document.
    bool getRootNode(void*& node);

    /// Puts a new element that has no parent yet into `node`. Needs no document. False, with `node`
    /// untouched, when `name` is no XML name or `value` cannot be XML text.
    bool createNodeWithNameAndValue(const std::string& name, const std::string& value, void*& node);

    /// Adds a new element as the last child of `parent`. False when `parent` is null or the element
    /// cannot be made.
    bool addChildToNode(const std::string& name, const std::string& value, void* parent);

    /// Adds an attribute to `node`, replacing one of the same name. False only when `node` is null; what
    /// cannot be an attribute is left out.
    bool addAttributeToNode(void* node, const std::string& name, const std::string& value);

    /// Replaces `xml` with the document as UTF-8 text, one element a line. False, with `xml` untouched,
    /// without a document.
    bool getXMLString(std::string& xml);

    /// Where failures are reported: an `elmu::AbstractLogger*`, not owned, or null for the process-wide
    /// receivers of elmu/utils/Reporting.h.
    void* logger = nullptr;

  private:
    std::vector<void*> nodeList;
    void* document = nullptr;
};

} // namespace ELMUUtils
