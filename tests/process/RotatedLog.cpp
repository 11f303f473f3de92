#include "process/RotatedLog.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <new>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <elmu/logging/LogHeader.h>
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

namespace rotated {

namespace {

namespace fs = std::filesystem;

const char* const logName = "shared.log";

/// The message of a writer's record. Every fiftieth is longer than a page, so that its writing can be cut.
std::string messageOf(int writer, int record) {
    const std::size_t length = record % 50 == 49 ? 20000 : 40;
    return "record " + std::to_string(record) + " of writer " + std::to_string(writer) + " " +
           std::string(length, static_cast<char>('a' + record % 26));
}

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

const char* nameOf(Checks checks) { return checks == Checks::AtEveryRecord ? "often" : "seldom"; }

Checks checksNamed(const std::string& name) {
    return name == nameOf(Checks::AtEveryRecord) ? Checks::AtEveryRecord : Checks::AtRegistration;
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

/// The same when it is told to, for a tracer: FOLDER WRITER.
const support::KnownRole writesOnOrder("rotating-traced", [](const std::vector<std::string>& arguments) {
    Writer writer(arguments.at(0), std::stoi(arguments.at(1)), Checks::AtRegistration);
    if (!support::wasTold("begin") || !writer.enroll(arguments.at(0))) {
        return 1;
    }
    writer.write();
    return writer.leave() ? 0 : 1;
});

/// Writes until the system ends it in the middle of a record, when the log is SIZE bytes long: FOLDER WRITER
/// SIZE.
const support::KnownRole diesInARecord("rotating-cut", [](const std::vector<std::string>& arguments) -> int {
    Writer writer(arguments.at(0), std::stoi(arguments.at(1)), Checks::AtRegistration);
    if (!writer.enroll(arguments.at(0))) {
        return 1;
    }
    rlimit none = {};
    ::setrlimit(RLIMIT_CORE, &none);
    rlimit most = {};
    ::getrlimit(RLIMIT_FSIZE, &most);
    most.rlim_cur = std::stoul(arguments.at(2));
    ::setrlimit(RLIMIT_FSIZE, &most);
    for (;;) {
        writer.write();
    }
});

constexpr std::string_view timeForm = "00/00/00 00:00:00:000";

bool beginsATime(std::string_view text) {
    return text.size() <= timeForm.size() &&
           std::equal(text.begin(), text.end(), timeForm.begin(),
                      [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

bool isTime(std::string_view text) { return text.size() == timeForm.size() && beginsATime(text); }

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

bool isPadding(std::string_view line) {
    return line.substr(0, 7) == "padding" && line.find_first_not_of('\0', 7) == std::string_view::npos;
}

std::string shortened(std::string_view line) { return std::string(line.substr(0, 120)); }

/// The `count` lines before `offset`, shortened.
std::string linesBefore(std::string_view text, std::size_t offset, int count) {
    std::string lines;
    for (std::size_t end = offset; end > 0 && count > 0; --count) {
        const std::size_t newline = end < 2 ? std::string_view::npos : text.rfind('\n', end - 2);
        const std::size_t start = newline == std::string_view::npos ? 0 : newline + 1;
        lines.insert(0, "  " + shortened(text.substr(start, end - 1 - start)) + "\n");
        end = start;
    }
    return lines;
}

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

} // namespace

ProgressBoard::ProgressBoard(const std::string& file) {
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(::ftruncate(descriptor, size), 0);
    void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    writers = static_cast<Progress*>(memory);
}

ProgressBoard::~ProgressBoard() { ::munmap(writers, size); }

Tally::Tally() {
    scripted::reset();
    const elmu::LogTargetDefault any("any");
    for (const std::string& line : elmu::headerLines(any.storedHeader)) {
        headerTexts.insert(line);
    }
}

void Tally::add(const std::string& file, std::string_view text) {
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        const std::string_view line = text.substr(start, end - start);
        if (end == std::string_view::npos || !isWhole(line)) {
            torn.push_back({file, start, std::string(line), linesBefore(text, start, 3)});
        }
        start = end == std::string_view::npos ? text.size() : end + 1;
    }
}

int Tally::timesOf(int writer, int record) const {
    const auto found = seen.find(writer);
    const auto place = static_cast<std::size_t>(record);
    return found == seen.end() || place >= found->second.size() ? 0 : found->second[place];
}

int Tally::recordsOf(int writer) const {
    const auto found = seen.find(writer);
    return found == seen.end() ? 0 : static_cast<int>(found->second.size());
}

int Tally::doubled() const {
    std::ptrdiff_t count = 0;
    for (const auto& [writer, times] : seen) {
        count += std::count_if(times.begin(), times.end(), [](int n) { return n > 1; });
    }
    return static_cast<int>(count);
}

bool Tally::isWhole(std::string_view line) { return isPadding(line) || isHeader(line) || isRecord(line); }

bool Tally::isHeader(std::string_view line) {
    const bool begins = isTime(line.substr(0, timeForm.size())) &&
                        line.substr(timeForm.size()).substr(0, 21) == " | [INFO] | writer | ";
    const std::size_t before = line.rfind(" | ");
    const bool isOne = begins && headerTexts.count(std::string(line.substr(before + 3))) == 1;
    headers += isOne ? 1 : 0;
    return isOne;
}

bool Tally::isRecord(std::string_view line) {
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

SharedLog::SharedLog() : board(home / "progress") {
    support::writeFile(path, "");
    support::writeFile(home / "logs/ruk.trace", "keeplogs");
    EXPECT_TRUE(lock.create(path, support::logProject)) << "so that the set lives as long as the test";
}

std::unique_ptr<support::Child> SharedLog::startWriter(Checks checks) {
    return std::make_unique<support::Child>(
        std::vector<std::string>{"rotating-writer", home.path(), std::to_string(started++), nameOf(checks)});
}

std::unique_ptr<support::Child> SharedLog::start(const std::string& role, const std::string& argument) {
    return std::make_unique<support::Child>(
        std::vector<std::string>{role, home.path(), std::to_string(started++), argument});
}

void SharedLog::letAGuestCome() { EXPECT_EQ(start("rotating-guest")->join(), 0); }

int SharedLog::returnedCalls() const {
    int sum = 0;
    for (int writer = 0; writer < started; ++writer) {
        sum += board.of(writer).returned;
    }
    return sum;
}

off_t SharedLog::size() const {
    struct stat info = {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0);
    return info.st_size;
}

void SharedLog::fillUp(off_t length) {
    elmu::BinaryLock* const place = &lock;
    const elmu::LockHolder held(&place);
    ASSERT_TRUE(held);
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const off_t end = size();
    char last = '\n';
    EXPECT_EQ(end == 0 ? 1 : ::pread(descriptor, &last, 1, end - 1), 1);
    if (last == '\n' && end + 8 < length) {
        EXPECT_EQ(::pwrite(descriptor, "padding", 7, end), 7);
        EXPECT_EQ(::pwrite(descriptor, "\n", 1, length - 1), 1);
    }
    ::close(descriptor);
}

bool SharedLog::isLockedBy(pid_t process) const {
    return support::memberValue(lock.semId, support::lockMember) == 0 &&
           ::semctl(lock.semId, support::lockMember, GETPID) == process;
}

std::vector<std::string> SharedLog::copies() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(home / "logs")) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("shared 2", 0) == 0) {
            names.push_back(entry.path().string());
        }
    }
    return names;
}

void SharedLog::lookAtCopies() {
    for (const std::string& copy : copies()) {
        if (known.count(copy) == 0) {
            const std::string content = support::readFile(copy);
            known[copy] = {content.size(), hashOf(content)};
            thinOut(copy, content);
            note("copy " + copy + " with " + std::to_string(content.size()) + " bytes");
        }
    }
}

Tally SharedLog::tally() const {
    Tally all;
    for (const std::string& copy : copies()) {
        all.add(copy, support::readFile(copy));
    }
    all.add(path, support::readFile(path));
    return all;
}

std::vector<std::string> SharedLog::lostRecords(const Tally& all) const {
    std::vector<std::string> lost;
    for (int writer = 0; writer < started; ++writer) {
        for (int record = 0; record < board.of(writer).returned; ++record) {
            if (all.timesOf(writer, record) == 0) {
                lost.push_back("record " + std::to_string(record) + " of writer " + std::to_string(writer));
            }
        }
    }
    return lost;
}

/// The copies that do not begin with what they held when they were first seen.
std::vector<std::string> SharedLog::changedCopies() const {
    std::vector<std::string> changed;
    for (const auto& [copy, content] : known) {
        const std::string now = fs::exists(copy) ? support::readFile(copy) : "";
        if (now.size() < content.size ||
            hashOf(std::string_view(now).substr(0, content.size)) != content.hash) {
            changed.push_back(copy);
        }
    }
    return changed;
}

/// The last events before `file` was seen; before now, if it is no copy.
std::string SharedLog::history(const std::string& file) const {
    constexpr std::ptrdiff_t most = 20;
    const auto end = std::find_if(journal.begin(), journal.end(), [&file](const std::string& event) {
        return event.rfind("copy " + file, 0) == 0;
    });
    std::string events;
    for (auto event = end - std::min(most, end - journal.begin()); event != end; ++event) {
        events += "  " + *event + "\n";
    }
    return events;
}

/// Whether `line` is the beginning of a record whose call did not return: that of a writer that was killed.
bool SharedLog::isOfAKilledWriter(std::string_view line) const {
    const std::string_view time = line.substr(0, timeForm.size());
    const std::string_view rest = line.substr(time.size());
    for (int writer = 0; beginsATime(time) && writer < started; ++writer) {
        const std::string text = " | [WARN] | writer | " + std::to_string(writer) + " |  |  |  |  | 4711 | " +
                                 messageOf(writer, board.of(writer).returned);
        if (text.starts_with(rest)) {
            return true;
        }
    }
    return false;
}

void SharedLog::expectOrder(const Tally& all) const {
    EXPECT_EQ(lostRecords(all), std::vector<std::string>()) << "after these events:\n" << history(path);
    for (const TornLine& torn : all.torn) {
        EXPECT_TRUE(isOfAKilledWriter(torn.line))
            << "a torn line in " << torn.file << " at byte " << torn.offset << ":\n  " << shortened(torn.line)
            << "\nafter these lines:\n"
            << torn.before << "and these events:\n"
            << history(torn.file);
    }
    EXPECT_EQ(all.doubled(), 0) << "after these events:\n" << history(path);
    EXPECT_EQ(changedCopies(), std::vector<std::string>());
    for (int writer = 0; writer < started; ++writer) {
        EXPECT_LE(all.recordsOf(writer), board.of(writer).returned + 1) << "writer " << writer;
    }
    for (const auto& entry : fs::directory_iterator(home / "logs")) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name.rfind("shared", 0) == 0 || name == "ruk.trace") << name;
    }
}

void tell(const std::string& what, long long count) {
    testing::Test::RecordProperty(what, std::to_string(count));
    std::cout << what << ": " << count << std::endl;
}

} // namespace rotated
