#include <algorithm>
#include <string>
#include <vector>

#include "../../platform/posix/XmlRules.h"

// GNUstep's Foundation ends a process that has arguments or variables which are no text, before its main
// function begins. The home platform's does not. So they are put away while the libraries start.

namespace {

/// A text's place in the process's memory and what belongs there. Foundation reads it there, through /proc.
struct PutAway {
    char* place;
    std::string text;
};

std::vector<PutAway>& allPutAway() {
    static std::vector<PutAway> all;
    return all;
}

void putAway(char** texts) {
    for (char** text = texts; *text; ++text) {
        if (!platform::isUtf8(*text)) {
            allPutAway().push_back({*text, *text});
            std::fill_n(*text, allPutAway().back().text.size(), '?');
        }
    }
}

void putAwayBeforeLibrariesStart(int /*count*/, char** arguments, char** variables) {
    putAway(arguments);
    putAway(variables);
}

} // namespace

extern "C" {

[[gnu::section(".preinit_array"),
  gnu::used]] void (*const standinPutsAway)(int, char**, char**) = putAwayBeforeLibrariesStart;

[[gnu::constructor]] void standinPutsBack() {
    for (const PutAway& each : allPutAway()) {
        std::copy(each.text.begin(), each.text.end(), each.place);
    }
}
}
