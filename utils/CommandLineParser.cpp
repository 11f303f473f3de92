#include <elmu/utils/CommandLineParser.h>

#include <elmu/utils/Reporting.h>

namespace ELMUUtils {

namespace {

constexpr const char* kComponent = "CommandLineParser";

} // namespace

void CommandLineParser::setLogger(void* newLogger) { logger = newLogger; }

bool CommandLineParser::parseCommandLineArguments(int argc, const char* const argv[]) {
    report(logger, kComponent, elmu::levels::info,
           "Parsing the command line provided. Number of command line arguments is %d", argc);
    if (argc < 1) {
        report(logger, kComponent, elmu::levels::error,
               "Argument count is zero. There should be at least one i.e. name of application.");
        return false;
    }
    report(logger, kComponent, elmu::levels::debug,
           "First command line argument is %s, Assuming the first argument to be executable address ignoring "
           "it.",
           argv[0]);
    for (int index = 1; index < argc; ++index) {
        parseArgument(argv[index]);
    }
    return true;
}

void CommandLineParser::parseArgument(const std::string& argument) {
    report(logger, kComponent, elmu::levels::debug, "Argument specified is %s", argument.c_str());
    if (argument.starts_with("-psn")) {
        return;
    }
    const auto equalSign = argument.find('=');
    if (equalSign == std::string::npos) {
        report(logger, kComponent, elmu::levels::error, "The argument does not contain any \"=\"",
               argument.c_str());
        return;
    }
    const std::string dashedKey = argument.substr(0, equalSign);
    if (!dashedKey.starts_with("--")) {
        report(logger, kComponent, elmu::levels::error,
               "The \"--\" is not there for the argument. Every argument should have \"--\"");
        return;
    }
    const std::string key = dashedKey.substr(2);
    const std::string value = argument.substr(equalSign + 1);
    if (key.empty() || value.empty()) {
        report(logger, kComponent, elmu::levels::error, "The argument key or value is empty for %s",
               argument.c_str());
        return;
    }
    if (!arguments.emplace(key, value).second) {
        report(logger, kComponent, elmu::levels::error, "The argument %s already sepecified", key.c_str());
    }
}

bool CommandLineParser::getValueForArgument(const std::string& key, std::string& value) const {
    const auto entry = arguments.find(key);
    if (entry == arguments.end()) {
        return false;
    }
    value = entry->second;
    return true;
}

} // namespace ELMUUtils
