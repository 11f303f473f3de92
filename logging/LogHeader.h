#pragma once

#include <map>
#include <string>

namespace elmu {

/// A block of lines about the machine and the product: a first line, a line for each field (label, then
/// value) in the byte order of the labels, a last line.
struct stLogHeader {
    std::string startLine;                     ///< not written when empty
    std::map<std::string, std::string> fields; ///< label, with its colon and blank, to value
    std::string endLine;                       ///< not written when empty
    bool persistent = false;
};

/// Puts the running system's version into the three numbers, which stay as they are when the system does
/// not say. Always true.
bool utilGetCurrentOSVersion(long& major, long& minor, long& patch);

} // namespace elmu
