#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/LogHeader.h>
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>
#include "support/Children.h"
#include "support/LogHome.h"

namespace {

namespace fs = std::filesystem;

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using support::Child;

const char* const logName = "shared.log";
constexpr off_t limit = 10485760;
constexpr int mostWriters = 4096;

/// What a writer tells of itself while it works; the test sees it also when the writer is killed.
struct Progress {
    std::atomic<pid_t> process;
    std::atomic<int> returned; ///< calls that have come back
};
static_assert(std::atomic<int>::is_always_lock_free);

/// The progress of all writers, shared between processes through a file.
class ProgressBoard {
  public:
    explicit ProgressBoard(const std::string& file) {
        const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        EXPECT_EQ(::ftruncate(descriptor, size), 0);
        void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
        if (memory == MAP_FAILED) {
            throw std::bad_alloc();
        }
        writers = static_cast<Progress*>(memory);
    }
    ~ProgressBoard() { ::munmap(writers, size); }
    ProgressBoard(const ProgressBoard&) = delete;
    ProgressBoard& operator=(const ProgressBoard&) = delete;

    Progress& of(int writer) { return writers[writer]; }

  private:
    static constexpr std::size_t size = sizeof(Progress) * mostWriters;
    Progress* writers;
};

/// The message of a writer's record. Every fiftieth is longer than a page, so that its writing can be cut.
std::string messageOf(int writer, int record) {
    const std::size_t length = record % 50 == 49 ? 20000 : 40;
    return "record " + std::to_string(record) + " of writer " + std::to_string(writer) + " " +
           std::string(length, static_cast<char>('a' + record % 26));
}

/// When a writer's target looks at the size of the log.
enum class Checks { AtRegistration, AtEveryRecord };

/// A process's share of the log.
class Writer {
  public:
    Writer(const std::string& folder, int number, Checks checking)
        : writer(number), checks(checking), boardFile(folder + "/progress"), board(boardFile) {
        scripted::host().homeFolder = folder;
        board.of(writer).process = ::getpid();
    }

    bool enroll(const std::string& folder) {
        return target.setLogFile(logName, (folder + "/logs").c_str()) &&
               elmu::LoggingCore::getInstance()->registerTarget(&target);
    }

    bool leave() { return elmu::LoggingCore::getInstance()->unregisterTarget(&target); }

    /// The latest check was a whole interval ago, if every record is to check.
    void write() {
        const std::string number = std::to_string(writer);
        const std::string message = messageOf(writer, written);
        if (checks == Checks::AtEveryRecord) {
            target.lastSegmentCheckTime = target.lastRecordTime - 900;
        }
        target.writeLog(elmu::WARN, "writer", number.c_str(), "", "", "", "", message.c_str(), nullptr, 0,
                        true);
        board.of(writer).returned = ++written;
    }

  private:
    int writer;
    Checks checks;
    int written = 0;
    std::string boardFile;
    ProgressBoard board;
    elmu::LogTargetDefault target{"rotating"};
};

Checks checksNamed(const std::string& name) {
    return name == "often" ? Checks::AtEveryRecord : Checks::AtRegistration;
}

/// Writes until the test says something: FOLDER WRITER CHECKS.
const support::KnownRole
    writesUntilSpokenTo("rotating-writer", [](const std::vector<std::string>& arguments) {
        Writer writer(arguments.at(0), std::stoi(arguments.at(1)), checksNamed(arguments.at(2)));
        support::answer(writer.enroll(arguments.at(0)) ? "ready" : "refused");
        pollfd orders{STDIN_FILENO, POLLIN, 0};
        while (::poll(&orders, 1, 0) == 0) {
            writer.write();
        }
        return support::wasTold("leave") && writer.leave() ? 0 : 1;
    });

/// Registers, writes one record and leaves: FOLDER WRITER.
const support::KnownRole writesOnce("rotating-guest", [](const std::vector<std::string>& arguments) {
    Writer writer(arguments.at(0), std::stoi(arguments.at(1)), Checks::AtRegistration);
    if (!writer.enroll(arguments.at(0))) {
        return 1;
    }
    writer.write();
    return writer.leave() ? 0 : 1;
});

constexpr std::string_view timeForm = "00/00/00 00:00:00:000";

bool isTime(std::string_view text) {
    return text.size() == timeForm.size() &&
           std::equal(text.begin(), text.end(), timeForm.begin(),
                      [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

bool takeOff(std::string_view& text, std::string_view start) {
    const bool fits = text.substr(0, start.size()) == start;
    text.remove_prefix(fits ? start.size() : 0);
    return fits;
}

int takeNumber(std::string_view& text) {
    const std::size_t length = std::min(text.find_first_not_of("0123456789"), text.size());
    const int number = length == 0 || length > 9 ? -1 : std::stoi(std::string(text.substr(0, length)));
    text.remove_prefix(length);
    return number;
}

/// What the lines of the log and its copies add up to.
class Tally {
  public:
    Tally() {
        scripted::reset();
        const elmu::LogTargetDefault any("any");
        for (const std::string& line : elmu::headerLines(any.storedHeader)) {
            headerTexts.insert(line);
        }
    }

    void add(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = text.find('\n');
            addLine(text.substr(0, end), end != std::string_view::npos);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        }
    }

    int timesOf(int writer, int record) const {
        const auto found = seen.find(writer);
        const auto place = static_cast<std::size_t>(record);
        return found == seen.end() || place >= found->second.size() ? 0 : found->second[place];
    }
    int recordsOf(int writer) const {
        const auto found = seen.find(writer);
        return found == seen.end() ? 0 : static_cast<int>(found->second.size());
    }
    int doubled() const {
        std::ptrdiff_t count = 0;
        for (const auto& [writer, times] : seen) {
            count += std::count_if(times.begin(), times.end(), [](int n) { return n > 1; });
        }
        return static_cast<int>(count);
    }

    int headers = 0;               ///< lines of header blocks
    std::vector<std::string> torn; ///< the beginnings of lines that nobody wrote as a whole

  private:
    void addLine(std::string_view line, bool isEnded) {
        if (isEnded && (isPadding(line) || isHeader(line) || isRecord(line))) {
            return;
        }
        torn.emplace_back(line.substr(0, 120));
    }

    static bool isPadding(std::string_view line) {
        return line.substr(0, 7) == "padding" && line.find_first_not_of('\0', 7) == std::string_view::npos;
    }

    bool isHeader(std::string_view line) {
        const bool begins = isTime(line.substr(0, timeForm.size())) &&
                            line.substr(timeForm.size()).substr(0, 21) == " | [INFO] | writer | ";
        const std::size_t before = line.rfind(" | ");
        const bool isOne = begins && headerTexts.count(std::string(line.substr(before + 3))) == 1;
        headers += isOne ? 1 : 0;
        return isOne;
    }

    bool isRecord(std::string_view line) {
        std::string_view rest = line;
        rest.remove_prefix(std::min(rest.size(), timeForm.size()));
        if (!isTime(line.substr(0, timeForm.size())) || !takeOff(rest, " | [WARN] | writer | ")) {
            return false;
        }
        const int writer = takeNumber(rest);
        if (!takeOff(rest, " |  |  |  |  | 4711 | record ")) {
            return false;
        }
        std::string_view number = rest;
        const int record = takeNumber(number);
        if (writer < 0 || record < 0 ||
            rest != std::string_view(messageOf(writer, record)).substr(std::strlen("record "))) {
            return false;
        }
        auto& times = seen[writer];
        times.resize(std::max(times.size(), static_cast<std::size_t>(record) + 1));
        ++times[static_cast<std::size_t>(record)];
        return true;
    }

    std::set<std::string> headerTexts;
    std::map<int, std::vector<int>> seen; ///< how often each record of a writer is there
};

/// What a dated copy held when it was first seen.
struct CopyContent {
    std::size_t size;
    std::size_t hash;
};

std::size_t hashOf(std::string_view text) { return std::hash<std::string_view>()(text); }

/// Gives the room that the zero bytes of the file take back to the disk, if it can do that.
void thinOut(const std::string& file, std::string_view content) {
    const std::size_t start = content.find('\0');
    const std::size_t end = content.rfind('\0');
    if (start == std::string_view::npos ||
        content.substr(start, end - start).find('\n') != std::string::npos) {
        return;
    }
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
#ifdef FALLOC_FL_PUNCH_HOLE
    ::fallocate(descriptor, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(start),
                static_cast<off_t>(end - start));
#endif
    ::close(descriptor);
}

class RotationAmongProcesses : public testing::Test {
  protected:
    RotationAmongProcesses() : board(home / "progress") {
        support::writeFile(path, "");
        support::writeFile(home / "logs/ruk.trace", "keeplogs");
        EXPECT_TRUE(lock.create(path, support::logProject)) << "so that the set lives as long as the test";
    }

    int semaphores() const { return lock.semId; }

    std::unique_ptr<Child> start(const std::string& checks = "seldom") {
        return std::make_unique<Child>(
            std::vector<std::string>{"rotating-writer", home.path(), std::to_string(writers++), checks});
    }

    /// Lets a process come and go.
    void letAGuestCome() {
        Child guest({"rotating-guest", home.path(), std::to_string(writers++)});
        EXPECT_EQ(guest.join(), 0);
    }

    off_t logSize() const {
        struct stat info = {};
        EXPECT_EQ(::stat(path.c_str(), &info), 0);
        return info.st_size;
    }

    /// Makes the log as large as the limit with one line, unless it ends in the middle of one that the next
    /// writer has to care for.
    void fillUp() {
        const elmu::LockHolder held(&lock);
        ASSERT_TRUE(held);
        const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        const off_t size = logSize();
        char last = '\n';
        EXPECT_EQ(size == 0 ? 1 : ::pread(descriptor, &last, 1, size - 1), 1);
        if (last == '\n' && size + 8 < limit) {
            EXPECT_EQ(::pwrite(descriptor, "padding", 7, size), 7);
            EXPECT_EQ(::pwrite(descriptor, "\n", 1, limit - 1), 1);
        }
        ::close(descriptor);
    }

    std::vector<std::string> copies() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(home / "logs")) {
            const std::string name = entry.path().filename().string();
            if (name.rfind("shared 2", 0) == 0) {
                names.push_back(entry.path().string());
            }
        }
        return names;
    }

    /// Remembers the copies that are new.
    void lookAtCopies() {
        for (const std::string& copy : copies()) {
            if (known.count(copy) == 0) {
                const std::string content = support::readFile(copy);
                known[copy] = {content.size(), hashOf(content)};
                thinOut(copy, content);
            }
        }
    }

    /// Every copy that was seen holds at least what it held then.
    int changedCopies() const {
        int changed = 0;
        for (const auto& [copy, content] : known) {
            const std::string now = fs::exists(copy) ? support::readFile(copy) : "";
            changed += now.size() < content.size ||
                               hashOf(std::string_view(now).substr(0, content.size)) != content.hash
                           ? 1
                           : 0;
        }
        return changed;
    }

    Tally tally() const {
        Tally all;
        for (const std::string& copy : copies()) {
            all.add(support::readFile(copy));
        }
        all.add(support::readFile(path));
        return all;
    }

    /// How many records whose call returned are nowhere.
    int lostOf(const Tally& all) {
        int lost = 0;
        for (int writer = 0; writer < writers; ++writer) {
            for (int record = 0; record < board.of(writer).returned; ++record) {
                lost += all.timesOf(writer, record) == 0 ? 1 : 0;
            }
        }
        return lost;
    }

    int returnedCalls() {
        int sum = 0;
        for (int writer = 0; writer < writers; ++writer) {
            sum += board.of(writer).returned;
        }
        return sum;
    }

    /// No writer has more records in the log than it began to write.
    void expectNothingInvented(const Tally& all) {
        for (int writer = 0; writer < writers; ++writer) {
            EXPECT_LE(all.recordsOf(writer), board.of(writer).returned + 1) << "writer " << writer;
        }
    }

    void expectOnlyLogsLeft() const {
        for (const auto& entry : fs::directory_iterator(home / "logs")) {
            const std::string name = entry.path().filename().string();
            EXPECT_TRUE(name.rfind("shared", 0) == 0 || name == "ruk.trace") << name;
        }
    }

    static void tell(const std::string& what, long long count) {
        RecordProperty(what, std::to_string(count));
        std::cout << what << ": " << count << std::endl;
    }

    support::LogHome home;
    std::string path = home / (std::string("logs/") + logName);
    ProgressBoard board;
    elmu::BinaryLock lock;
    int writers = 0;
    std::map<std::string, CopyContent> known;
};

TEST_F(RotationAmongProcesses, KeepsEveryRecordOfEightWritersOnce) {
    constexpr int rotations = 25;
    std::vector<std::unique_ptr<Child>> all;
    for (int i = 0; i < 8; ++i) {
        all.push_back(start(i % 4 == 3 ? "often" : "seldom"));
        EXPECT_EQ(all.back()->hear(), "ready");
    }
    for (int i = 0; i < rotations; ++i) {
        fillUp();
        letAGuestCome();
        lookAtCopies();
    }
    for (const auto& child : all) {
        child->tell("leave");
        EXPECT_EQ(child->join(), 0);
    }
    const Tally found = tally();
    tell("rotations", static_cast<long long>(copies().size()));
    tell("records", returnedCalls());
    EXPECT_GE(copies().size(), static_cast<std::size_t>(rotations));
    EXPECT_EQ(lostOf(found), 0);
    EXPECT_EQ(found.doubled(), 0);
    EXPECT_TRUE(found.torn.empty()) << testing::PrintToString(found.torn);
    EXPECT_GT(found.headers, 0);
    EXPECT_EQ(changedCopies(), 0);
    expectNothingInvented(found);
    expectOnlyLogsLeft();
}

/// Writers that come all the time and are killed at moments that a fixed seed chooses.
class KilledWriters : public RotationAmongProcesses {
  protected:
    static constexpr std::size_t atOnce = 6;

    int anyBelow(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(dice); }

    /// Whether `process` holds the lock of a log that is to be rotated.
    bool rotates(pid_t process) const {
        return support::memberValue(semaphores(), support::lockMember) == 0 &&
               ::semctl(semaphores(), support::lockMember, GETPID) == process && logSize() >= limit;
    }

    struct Running {
        std::unique_ptr<Child> child;
        int number = 0;
    };

    void replace(Running& slot) {
        slot.number = writers;
        slot.child = start(anyBelow(2) == 0 ? "often" : "seldom");
    }

    void kill(Running& slot) {
        ++kills;
        killsInRotation += rotates(board.of(slot.number).process) ? 1 : 0;
        slot.child->killAndJoin();
        replace(slot);
    }

    Running* rotatingOne() {
        for (Running& slot : running) {
            const pid_t process = board.of(slot.number).process;
            if (process != 0 && rotates(process)) {
                return &slot;
            }
        }
        return nullptr;
    }

    /// Returns a random while later, or when `process` does not rotate any more.
    void untilSomeMoment(pid_t process) {
        const auto moment = steady_clock::now() + std::chrono::microseconds(anyBelow(30000));
        while (steady_clock::now() < moment && rotates(process)) {
            ::sched_yield();
        }
    }

    /// Returns when the copy that `process` makes is there, or when it does not rotate any more.
    void untilItsCopyIsThere(pid_t process) const {
        const std::size_t before = copies().size();
        while (rotates(process) && copies().size() == before) {
        }
    }

    /// Kills the process that is about to copy the log, at some moment of its rotation; nobody when none is
    /// found soon.
    void killARotatingOne() {
        const auto deadline = steady_clock::now() + milliseconds(200);
        while (steady_clock::now() < deadline) {
            if (Running* slot = rotatingOne()) {
                const pid_t process = board.of(slot->number).process;
                anyBelow(2) == 0 ? untilItsCopyIsThere(process) : untilSomeMoment(process);
                kill(*slot);
                return;
            }
            ::sched_yield();
        }
    }

    /// Kills any process a random while later, or when it says that it is registered.
    void killAnyone() {
        Running& slot = running[static_cast<std::size_t>(anyBelow(atOnce))];
        slot.child->hasAnswerWithin(milliseconds(anyBelow(30)));
        kill(slot);
    }

    /// Kills a process in the middle of its writing.
    void killABusyOne() {
        Running& slot = running[static_cast<std::size_t>(anyBelow(atOnce))];
        const Progress& progress = board.of(slot.number);
        const int enough = progress.returned + 1 + anyBelow(60);
        const auto deadline = steady_clock::now() + milliseconds(200);
        while (progress.returned < enough && steady_clock::now() < deadline) {
            ::sched_yield();
        }
        kill(slot);
    }

    void killInSomeWay() {
        switch (anyBelow(4)) {
        case 0:
            killAnyone();
            break;
        case 1:
            killABusyOne();
            break;
        default:
            fillUp();
            killARotatingOne();
        }
    }

    void run(std::chrono::seconds time) {
        for (Running& slot : running) {
            replace(slot);
        }
        const auto end = steady_clock::now() + time;
        while (steady_clock::now() < end && writers < mostWriters - 2) {
            killInSomeWay();
            lookAtCopies();
        }
        for (Running& slot : running) {
            slot.child->killAndJoin();
            ++kills;
        }
    }

    std::mt19937 dice{20261121};
    std::vector<Running> running{atOnce};
    int kills = 0;
    int killsInRotation = 0;
};

TEST_F(KilledWriters, LoseNoRecordWhoseCallReturnedAndTearNoLine) {
    run(std::chrono::seconds(10));
    fillUp();
    letAGuestCome();
    letAGuestCome();
    lookAtCopies();
    const Tally found = tally();
    const int lost = lostOf(found);
    tell("runs", writers);
    tell("kills", kills);
    tell("kills in a rotation", killsInRotation);
    tell("rotations", static_cast<long long>(copies().size()));
    tell("records", returnedCalls());
    tell("lost", lost);
    tell("torn", static_cast<long long>(found.torn.size()));
    tell("doubled", found.doubled());
    tell("changed copies", changedCopies());
    EXPECT_EQ(lost, 0);
    EXPECT_TRUE(found.torn.empty()) << testing::PrintToString(found.torn);
    EXPECT_EQ(changedCopies(), 0);
    EXPECT_GT(killsInRotation, 0) << "the test has to meet what it is about";
    EXPECT_GT(copies().size(), 1U);
    expectNothingInvented(found);
    expectOnlyLogsLeft();
}

} // namespace
