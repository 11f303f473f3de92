#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <string>
#include <utility>

#include <unistd.h>

#include "Assumption.h"
#include "Catching.h"
#include "Home.h"
#include "Self.h"

// Asks the platform whether it does what this project takes for granted, and prints a line for each
// assumption:
//
//   holds|DIFFERS|unknown  NAME | EXPECTED | FOUND
//
// Each assumption is looked at by a process of its own, so that none can end the others or change what they
// find. What is tried is tried in a temporary folder; nothing of the machine is changed. Ends with status 0
// when none differs.

namespace assumptions {

namespace {

constexpr const char* oneOption = "--one";
constexpr int unknownStatus = 3;
constexpr unsigned mostSeconds = 60;

Assumptions allAssumptions() {
    Assumptions all;
    for (const auto part :
         {aboutPaths, aboutNewFolders, aboutFiles, aboutWriting, aboutXml, aboutPropertyLists, aboutUsers,
          aboutTheSystem, aboutSemaphores, aboutFileSystems, aboutDescriptors}) {
        Assumptions some = part();
        std::move(some.begin(), some.end(), std::back_inserter(all));
    }
    return all;
}

Found foundBy(const Assumption& assumption) {
    try {
        return assumption.find();
    } catch (const std::exception& error) {
        return unknown(error.what());
    }
}

/// What `assumption` finds, or that it raised an exception.
Found look(const Assumption& assumption) {
    struct Look {
        const Assumption& assumption;
        Found found;
    } look{assumption, ""};
    const auto run = [](void* context) {
        auto& wanted = *static_cast<Look*>(context);
        wanted.found = foundBy(wanted.assumption);
    };
    char* const reason = reasonOfException(run, &look);
    Found result = reason ? Found(std::string("an exception: ") + reason) : look.found;
    std::free(reason);
    return result;
}

int lookAtOne(const Assumption& assumption) {
    ::alarm(mostSeconds);
    const Found found = look(assumption);
    std::fputs(found.text.c_str(), stdout);
    return found.isKnown ? 0 : unknownStatus;
}

Found foundInProcess(std::size_t number) {
    const Outcome outcome = runSelf({oneOption, std::to_string(number)});
    if (outcome.status == unknownStatus) {
        return unknown(outcome.output);
    }
    return outcome.status == 0 ? Found(outcome.output)
                               : unknown("ended with " + std::to_string(outcome.status));
}

std::string onOneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        line += c == '\n' ? "\\n" : std::string(1, c);
    }
    return line;
}

std::string expectedBy(const Assumption& assumption) {
    std::string text;
    for (const std::string& one : assumption.expected) {
        text += (text.empty() && &one == &assumption.expected.front() ? "" : " or ") + onOneLine(one);
    }
    return text;
}

enum Verdict { Holds, Differs, Unknown };

Verdict verdictOn(const Assumption& assumption, const Found& found) {
    const auto& expected = assumption.expected;
    const bool isExpected = std::find(expected.begin(), expected.end(), found.text) != expected.end();
    return found.isKnown ? (isExpected ? Holds : Differs) : Unknown;
}

int lookAtAll(const Assumptions& all) {
    constexpr std::array<const char*, 3> words = {"holds", "DIFFERS", "unknown"};
    std::array<int, 3> counts = {};
    for (std::size_t number = 0; number < all.size(); ++number) {
        const Found found = foundInProcess(number);
        const Verdict verdict = verdictOn(all[number], found);
        ++counts[verdict];
        std::printf("%-7s  %s | %s | %s\n", words[verdict], all[number].name.c_str(),
                    expectedBy(all[number]).c_str(), onOneLine(found.text).c_str());
        std::fflush(stdout);
    }
    std::printf("%d hold, %d differ, %d unknown\n", counts[Holds], counts[Differs], counts[Unknown]);
    return counts[Differs] == 0 ? 0 : 1;
}

} // namespace

Found unknown(std::string reason) {
    Found found(std::move(reason));
    found.isKnown = false;
    return found;
}

std::string eitherOf(bool condition, const char* when, const char* otherwise) {
    return condition ? when : otherwise;
}

} // namespace assumptions

int main(int argc, char** argv) {
    using namespace assumptions;
    if (argc == 1) {
        return lookAtAll(allAssumptions());
    }
    const std::string option = argv[1];
    if (argc == 2 && option == homeOption) {
        std::fputs(homeOfThePlatform().c_str(), stdout);
        return 0;
    }
    const Assumptions all = allAssumptions();
    const unsigned long number =
        argc == 3 && option == oneOption ? std::strtoul(argv[2], nullptr, 10) : all.size();
    if (number >= all.size()) {
        std::fputs("usage: assumptions\n", stderr);
        return 64;
    }
    return lookAtOne(all[number]);
}
