#include <iostream>
#include <string>

#include <elmu/utils/CommandLineParser.h>
#include <elmu/utils/FileUtils.h>
#include <elmu/utils/LanguageConversionTable.h>
#include <elmu/utils/LocalizationUtils.h>
#include <elmu/utils/OSUtils.h>
#include <elmu/utils/Reporting.h>
#include <elmu/utils/XMLParser.h>

/// Prints `--name=VALUE` as the attribute of an XML element.
int main(int argc, char* argv[]) {
    ELMUUtils::CommandLineParser arguments;
    arguments.parseCommandLineArguments(argc, argv);
    std::string name;
    if (!arguments.getValueForArgument("name", name) || !ELMUUtils::FileUtils::PathExists("/tmp", nullptr)) {
        return 1;
    }
    ELMUUtils::OSUtils::OSVersion version = {0, 0, 0};
    if (!ELMUUtils::OSUtils::GetCurrentOSVersion(version)) {
        return 1;
    }
    ELMUUtils::XMLParser document;
    void* root = nullptr;
    std::string text;
    const bool printed = document.initWithXMLString("<greeting/>") && document.getRootNode(root) &&
                         document.addAttributeToNode(root, "name", name) && document.getXMLString(text);
    std::cout << text << '\n';
    return printed ? 0 : 1;
}
