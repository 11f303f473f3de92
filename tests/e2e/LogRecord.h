#pragma once

#include <array>
#include <string>
#include <vector>

/// The log as its readers see it: one line a record, ten fields a line.
namespace e2e {

struct LogRecord {
    std::string time;
    std::string level; ///< without its brackets
    std::array<std::string, 6> contexts;
    std::string thread;
    std::string message;
};

/// The records of a log. Fails the test for a line that is not a whole record.
std::vector<LogRecord> recordsOf(const std::string& log);

/// What a log tells: "LEVEL message" of each record. Fails the test as `recordsOf` does.
std::vector<std::string> toldBy(const std::string& log);

/// What the tool tells first when it is started with `count` arguments, its own path included.
std::string parsing(int count);

inline const std::string Created = "INFO Successfully created HCD Ostrel Specifier file";
inline const std::string Deleted = "INFO Successfully deleted HCD Ostrel Specifier file";
inline const std::string NotDeleted = "INFO Unable to delete HCD Ostrel Specifier file";
inline const std::string NoFolder = "WARN CreateDirectoryAtPath: Unable to create HCD Ostrel Specifier file";
inline const std::string NotWritten =
    "WARN CreateFileWithContentAtPath: Unable to create HCD Ostrel Specifier file";

} // namespace e2e
