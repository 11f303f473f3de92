#include <elmu/utils/XMLParser.h>

#include "platform/XmlTree.h"
#include <elmu/utils/Reporting.h>

namespace ELMUUtils {

namespace {

constexpr const char* kComponent = "XMLParser";

} // namespace

XMLParser::~XMLParser() {
    for (void* handle : nodeList) {
        platform::releaseXml(handle);
    }
}

bool XMLParser::initWithXMLString(const std::string& xml) {
    if (document != nullptr) {
        report(logger, kComponent, elmu::levels::warn,
               "Error Description : XML is already initialized, tring to initilize again.");
        return false;
    }
    const auto parsed = platform::parseXml(xml.c_str());
    if (parsed.document != nullptr) {
        nodeList.push_back(parsed.document);
    }
    if (parsed.document != nullptr && !parsed.error) {
        document = parsed.document;
        return true;
    }
    report(logger, kComponent, elmu::levels::debug,
           parsed.raised ? "Exception in initWithXMLString, error description - %s"
                         : "Error in initWithXMLString, error description - %s",
           parsed.error.value_or("").c_str());
    return false;
}

bool XMLParser::getRootNode(void*& node) {
    if (document == nullptr) {
        report(logger, kComponent, elmu::levels::debug, "Error in getRootNode");
        return false;
    }
    node = platform::xmlRootElement(document);
    return true;
}

bool XMLParser::createNodeWithNameAndValue(const std::string& name, const std::string& value, void*& node) {
    void* element = platform::createXmlElement(name.c_str(), value.c_str());
    if (element == nullptr) {
        report(logger, kComponent, elmu::levels::debug,
               "Error in createNodeWithNameAndValue, XML Not initialized.");
        return false;
    }
    nodeList.push_back(element);
    node = element;
    return true;
}

bool XMLParser::addChildToNode(const std::string& name, const std::string& value, void* parent) {
    if (parent == nullptr) {
        report(logger, kComponent, elmu::levels::debug, "Error in createNodeWithNameAndValue, node is null!");
        return false;
    }
    void* child = nullptr;
    if (!createNodeWithNameAndValue(name, value, child)) {
        report(logger, kComponent, elmu::levels::debug,
               "createNodeWithNameAndValue fails inside addChildToNode!");
        return false;
    }
    platform::appendXmlChild(parent, child);
    return true;
}

bool XMLParser::addAttributeToNode(void* node, const std::string& name, const std::string& value) {
    if (node == nullptr) {
        report(logger, kComponent, elmu::levels::debug, "Error in addAttributeToNode, node is null!");
        return false;
    }
    platform::setXmlAttribute(node, name.c_str(), value.c_str());
    return true;
}

bool XMLParser::getXMLString(std::string& xml) {
    if (document == nullptr) {
        report(logger, kComponent, elmu::levels::debug, "Error in getXMLString");
        return false;
    }
    const auto text = platform::printXml(document);
    if (!text) {
        return false;
    }
    xml = text->c_str();
    return true;
}

} // namespace ELMUUtils
