#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace elmu {

/// A block of lines about the machine and the product: a first line, a line for each field in the byte order
/// of the labels, a last line.
struct stLogHeader {
    std::string startLine;                     ///< not written when empty
    std::map<std::string, std::string> fields; ///< label, with its colon and blank, to value
    std::string endLine;                       ///< not written when empty
    bool persistent =
        false; ///< given to a target: merge into the target's own header, rather than write once
};

/// What a target's own header says.
struct HeaderFacts {
    std::string osName;
    std::string osVersion;
    std::string osLocale;
    std::string bits;
    std::optional<std::string> productVersion; ///< of the installed application, if there is one
};

/// Asks the machine.
HeaderFacts currentHeaderFacts();

/// The header with these facts between two rules of asterisks.
stLogHeader headerFromFacts(const HeaderFacts& facts);

/// Takes over every field of `added`, and its first and last line unless they are empty.
void mergeHeader(stLogHeader& stored, const stLogHeader& added);

/// The lines to write, in order.
std::vector<std::string> headerLines(const stLogHeader& header);

/// Puts the running system's version into the three numbers, which stay as they are when the system does
/// not say. Always true.
bool utilGetCurrentOSVersion(long& major, long& minor, long& patch);

} // namespace elmu
