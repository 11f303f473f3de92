#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

/// A machine whose log is as large as it may become, and what its folder holds after a run.
namespace e2e {

/// The size in bytes from which on the log of a tool without markers starts anew.
inline constexpr std::size_t LogLimit = 10485760;
inline constexpr std::size_t DebugLogLimit = 20971520;
inline constexpr std::size_t TraceLogLimit = 52428800;

/// What `toldBy` gives for a header, in its order. Without `product` no application is installed.
std::vector<std::string> headerRecords(const std::optional<std::string>& product = std::nullopt,
                                       const std::string& locale = "en_US");

/// The header without an installed application, and then `records`.
std::vector<std::string> afterHeader(const std::vector<std::string>& records);

/// Lines of an earlier log, `size` bytes in all.
std::string earlierLines(std::size_t size);

/// The path of the entry `name` in the log's folder.
std::string besideTheLog(const std::string& name);

/// The UTC offset in hours, -23 to 0, of a place where it is noon now; 24 hours further east it is noon of
/// the next day.
int hoursToNoon();
/// What TZ holds at a place `hours` east of Greenwich.
std::string zone(int hours);
/// The date there, `days` from today, as 2026-11-16.
std::string dateAt(int hours, int days);

class FullLogTest : public MachineTest {
  protected:
    /// Gives the machine a log of `size` bytes, which is also what `earlier` holds from then on.
    void fillLog(std::size_t size = LogLimit);

    /// The names of the log's dated copies, sorted.
    std::vector<std::string> copies() const;

    /// Whether the log has one dated copy, with the earlier lines in it.
    testing::AssertionResult earlierLinesAreInTheCopy() const;
    /// Whether the log still begins with the earlier lines.
    testing::AssertionResult earlierLinesAreInTheLog(const std::string& log = Log) const;
    /// What the log tells after the earlier lines.
    std::vector<std::string> toldAfterTheEarlierLines(const std::string& log = Log) const;

    std::string earlier;
};

} // namespace e2e
