#include "hook/SpecifierManifest.h"

#include <string>

#include "hook/ApplicationFolder.h"
#include "platform/Files.h"
#include <elmu/logging/Logger.h>
#include <elmu/utils/FileUtils.h>
#include <elmu/utils/XMLParser.h>

using ELMUUtils::FileUtils;

namespace {

std::string specifierFolder() {
    std::string folder;
    FileUtils::GetDirectoryPath(ELMUUtils::LocalKorvaneDir, folder, nullptr);
    return folder + "/Ostrel/specifiers";
}

std::string manifestFile(const std::string& folder) { return folder + "/" + "halcyra.xml"; }

std::string applicationPath() { return applicationFolder() + "HCD" + "/Halcyra.app"; }

/// The manifest as XML text; empty when it cannot be printed.
std::string manifestText() {
    ELMUUtils::XMLParser parser;
    const std::string application = applicationPath();
    void* root = nullptr;
    parser.initWithXMLString("<SpecifierManifest/>");
    parser.getRootNode(root);
    parser.addAttributeToNode(root, "Version", "1.0");
    parser.addChildToNode("Name", "halcyra", root);
    parser.addChildToNode("Version", "4.3.0", root);
    parser.addChildToNode("Locale", "", root);
    parser.addChildToNode("Group", "", root);
    parser.addChildToNode("Path", application, root);
    std::string text;
    parser.getXMLString(text);
    return text;
}

} // namespace

bool createSpecifierFile(elmu::Logger* logger) {
    const std::string folder = specifierFolder();
    if (!FileUtils::PathExists(folder, nullptr) &&
        !FileUtils::CreateDirectoryAtPath(folder, false, nullptr)) {
        logger->warn("", "CreateDirectoryAtPath: Unable to create HCD Ostrel Specifier file");
        return false;
    }
    platform::removeLeftTemporaries(folder.c_str());
    if (!FileUtils::CreateFileWithContentAtPath(manifestFile(folder), manifestText(), nullptr)) {
        logger->warn("", "CreateFileWithContentAtPath: Unable to create HCD Ostrel Specifier file");
        return false;
    }
    logger->info("Successfully created HCD Ostrel Specifier file");
    return true;
}

bool deleteSpecifierFile(elmu::Logger* logger) {
    const std::string folder = specifierFolder();
    platform::removeLeftTemporaries(folder.c_str());
    if (FileUtils::DeleteFileAtPath(manifestFile(folder), true, nullptr)) {
        logger->info("Successfully deleted HCD Ostrel Specifier file");
    } else {
        logger->info("Unable to delete HCD Ostrel Specifier file");
    }
    return true;
}
