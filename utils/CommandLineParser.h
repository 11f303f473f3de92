#pragma once

#include <map>
#include <string>

namespace ELMUUtils {

/// Turns a process's arguments of the form `--key=value` into a table. Keys and values are kept byte for
/// byte. One instance belongs to one thread.
class CommandLineParser {
  public:
    /// Sets where records go: an `elmu::AbstractLogger*`, not owned, or null for the process-wide
    /// receivers of elmu/utils/Reporting.h. May be changed at any time.
    void setLogger(void* newLogger);

    /// Reads `argv[1]` to `argv[argc - 1]`; `argv[0]`, the program itself, is skipped. An argument
    /// that begins with "-psn" (the launcher's process serial number) is ignored. An argument without
    /// "=", without a leading "--", with an empty key or value, or with a key that is in the table
    /// already is reported at ERROR and skipped. A later call adds to the table. False only when
    /// `argc` is below 1.
    bool parseCommandLineArguments(int argc, const char* const argv[]);

    /// Replaces `value` with the value stored under `key` and returns true, or returns false and
    /// leaves `value` as it was.
    bool getValueForArgument(const std::string& key, std::string& value) const;

  private:
    void parseArgument(const std::string& argument);

    std::map<std::string, std::string> arguments;
    void* logger = nullptr;
};

} // namespace ELMUUtils
