#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "support/Children.h"
#include "support/LogHome.h"
#include <elmu/logging/BinaryLock.h>

/// A log that several processes write and rotate, and what became of their records.
namespace rotated {

inline constexpr off_t sizeLimit = 10485760;

/// What a writer tells about its work. The test sees it even if the writer is killed.
struct Progress {
    std::atomic<pid_t> process;
    std::atomic<int> returned; ///< calls that have returned
};
static_assert(std::atomic<int>::is_always_lock_free);

/// The progress of all writers, shared between processes through a file.
class ProgressBoard {
  public:
    static constexpr int mostWriters = 4096;

    explicit ProgressBoard(const std::string& file);
    ~ProgressBoard();
    ProgressBoard(const ProgressBoard&) = delete;
    ProgressBoard& operator=(const ProgressBoard&) = delete;

    Progress& of(int writer) const { return writers[writer]; }

  private:
    static constexpr std::size_t size = sizeof(Progress) * mostWriters;
    Progress* writers;
};

/// A line that nobody wrote as a whole.
struct TornLine {
    std::string file;
    std::size_t offset; ///< in bytes
    std::string line;
    std::string before; ///< the lines before it, shortened
};

/// The sum of the lines of the log and its copies.
class Tally {
  public:
    Tally();

    void add(const std::string& file, std::string_view text);

    int timesOf(int writer, int record) const;
    int recordsOf(int writer) const;
    int doubled() const;

    int headers = 0; ///< lines of header blocks
    std::vector<TornLine> torn;

  private:
    bool isWhole(std::string_view line);
    bool isHeader(std::string_view line);
    bool isRecord(std::string_view line);

    std::set<std::string> headerTexts;
    std::map<int, std::vector<int>> seen; ///< how often each record of a writer is there
};

/// When a writer checks the size of the log.
enum class Checks { AtRegistration, AtEveryRecord };

/// The log, its copies and its writers. It keeps a journal that failures print.
class SharedLog {
  public:
    SharedLog();

    /// Starts a process that writes until it is told to leave.
    std::unique_ptr<support::Child> startWriter(Checks checks);
    /// Starts a process in another role: FOLDER WRITER ARGUMENT.
    std::unique_ptr<support::Child> start(const std::string& role, const std::string& argument = "");
    /// Lets a process register, write one record and leave.
    void letAGuestCome();

    /// How many processes were started. Their numbers are smaller.
    int writers() const { return started; }
    Progress& progressOf(int writer) const { return board.of(writer); }
    int returnedCalls() const;

    off_t size() const;
    /// Makes the log `length` bytes long with one line, unless its last line is unfinished: the next writer
    /// has to repair that.
    void fillUp(off_t length = sizeLimit);
    /// Whether `process` holds the lock.
    bool isLockedBy(pid_t process) const;

    std::vector<std::string> copies() const;
    /// Remembers the copies that are new.
    void lookAtCopies();

    void note(const std::string& event) { journal.push_back(event); }
    Tally tally() const;
    /// Each record whose call returned is there once. Every line is whole, or the beginning of a record that
    /// a killed writer did not finish. No copy was changed, and there are no other files.
    void expectOrder(const Tally& all) const;

  private:
    struct CopyContent {
        std::size_t size;
        std::size_t hash;
    };

    std::vector<std::string> lostRecords(const Tally& all) const;
    std::vector<std::string> changedCopies() const;
    std::string history(const std::string& file) const;
    bool isOfAKilledWriter(std::string_view line) const;

    support::LogHome home;
    std::string path = home / "logs/shared.log";
    ProgressBoard board;
    elmu::BinaryLock lock;
    int started = 0;
    std::map<std::string, CopyContent> known;
    std::vector<std::string> journal; ///< the kills and the new copies, in this order
};

/// Prints a figure and adds it to the test's report.
void tell(const std::string& what, long long count);

} // namespace rotated
