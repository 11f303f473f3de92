#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <poll.h>
#include <sched.h>
#include <unistd.h>

#include "support/Children.h"
#include "support/InChild.h"
#include "support/LogHome.h"
#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

using support::Child;
using support::memberValue;
using support::semaphoreSetExists;
using support::userCount;

const char* const logName = "shared.log";

enum class Length { Short, Mixed };

/// The message of a writer's record: every record of every writer has another one.
std::string messageOf(int writer, int record, Length length) {
    if (length == Length::Short) {
        return "record " + std::to_string(record) + " of writer " + std::to_string(writer);
    }
    const int size = 1 + (record * 7919 + writer * 1301) % 9000;
    return std::string(static_cast<std::size_t>(size), static_cast<char>('a' + (record + writer) % 26));
}

/// What follows the time in a writer's record.
std::string afterTime(int writer, int record, Length length) {
    const std::string number = std::to_string(writer);
    return " | [WARN] | writer | " + number + " |  | fourth | detail |  | " + std::to_string(1000 + writer) +
           " | " + messageOf(writer, record, length);
}

Length lengthNamed(const std::string& name) { return name == "mixed" ? Length::Mixed : Length::Short; }

/// A process's share of a log: the target, registered, and a logger for it.
class Writer {
  public:
    Writer(int number, Length lengthOfRecords)
        : writer(number), length(lengthOfRecords),
          logger("shared", "writer", std::to_string(number).c_str(), "", "fourth") {
        scripted::host().threadId = 1000 + number;
    }

    bool enroll(const std::string& folder) {
        return target.setLogFile(logName, folder.c_str()) &&
               elmu::LoggingCore::getInstance()->registerTarget(&target);
    }

    bool leave() { return elmu::LoggingCore::getInstance()->unregisterTarget(&target); }

    /// Short records take the way of formatted messages, the others that of finished ones, which are not cut.
    void write(int record) {
        if (length == Length::Short) {
            logger.warn("detail", "record %d of writer %d", record, writer);
        } else {
            logger.logit(elmu::WARN, "detail", "", messageOf(writer, record, length).c_str(), nullptr);
        }
    }

  private:
    int writer;
    Length length;
    elmu::LogTargetDefault target{"shared"};
    elmu::Logger logger;
};

void useHome(const std::string& folder) { scripted::host().homeFolder = folder; }

/// Writes a number of records: FOLDER WRITER COUNT LENGTH.
const support::KnownRole writesRecords("writer", [](const std::vector<std::string>& arguments) {
    useHome(arguments.at(0));
    Writer writer(std::stoi(arguments.at(1)), lengthNamed(arguments.at(3)));
    support::answer(writer.enroll(arguments.at(0)) ? "ready" : "refused");
    if (!support::wasTold("write")) {
        return 1;
    }
    for (int record = 0; record < std::stoi(arguments.at(2)); ++record) {
        writer.write(record);
    }
    support::answer("done");
    return support::wasTold("leave") && writer.leave() ? 0 : 1;
});

bool isSpokenTo() {
    pollfd orders{STDIN_FILENO, POLLIN, 0};
    return ::poll(&orders, 1, 0) > 0;
}

/// So many records of four writers leave the log below the size at which it is rotated.
constexpr int mostSteadyRecords = 20000;

/// Writes until it is told to stop, or has written enough, and says how many records it wrote: FOLDER WRITER.
const support::KnownRole writesUntilTold("steady-writer", [](const std::vector<std::string>& arguments) {
    useHome(arguments.at(0));
    Writer writer(std::stoi(arguments.at(1)), Length::Short);
    support::answer(writer.enroll(arguments.at(0)) ? "ready" : "refused");
    int records = 0;
    while (records < mostSteadyRecords && !isSpokenTo()) {
        writer.write(records++);
    }
    if (!support::wasTold("stop")) {
        return 1;
    }
    support::answer(std::to_string(records));
    return support::wasTold("leave") && writer.leave() ? 0 : 1;
});

/// Writes until it is killed, and tells of every tenth record: FOLDER WRITER.
const support::KnownRole writesForEver("victim", [](const std::vector<std::string>& arguments) -> int {
    useHome(arguments.at(0));
    Writer writer(std::stoi(arguments.at(1)), Length::Short);
    support::answer(writer.enroll(arguments.at(0)) ? "ready" : "refused");
    for (int record = 0;; ++record) {
        writer.write(record);
        if (record % 10 == 9) {
            support::answer("ten more");
        }
    }
});

/// Writes one record as a user without rights: FOLDER WRITER.
const support::KnownRole
    writesWithoutRights("ordinary-writer", [](const std::vector<std::string>& arguments) {
        useHome(arguments.at(0));
        support::becomeOrdinaryUser();
        Writer writer(std::stoi(arguments.at(1)), Length::Short);
        support::answer(writer.enroll(arguments.at(0)) ? "ready" : "refused");
        writer.write(0);
        writer.leave();
        return 0;
    });

/// Takes the lock of a log and keeps it until it is killed: PATH.
const support::KnownRole keepsTheLock("lock-keeper", [](const std::vector<std::string>& arguments) {
    elmu::BinaryLock lock;
    const bool taken = lock.create(arguments.at(0), support::logProject) && lock.wait();
    support::answer(taken ? "taken" : "refused");
    support::wasTold("nothing");
    return 1;
});

bool isTime(std::string_view text) {
    constexpr std::string_view form = "00/00/00 00:00:00:000";
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (form[i] == '0' ? !digit : text[i] != form[i]) {
            return false;
        }
    }
    return true;
}

constexpr std::size_t timeLength = 21;

/// The number of the writer whose record the line is; nothing when it has another form.
std::optional<int> writerOf(const std::string& line) {
    const std::string before = " | [WARN] | writer | ";
    if (line.size() < timeLength + before.size() || !isTime(line) ||
        line.compare(timeLength, before.size(), before) != 0) {
        return std::nullopt;
    }
    return std::atoi(line.c_str() + timeLength + before.size());
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    if (start < text.size()) {
        lines.push_back(text.substr(start) + "<no newline>");
    }
    return lines;
}

std::string shortened(const std::string& line) { return line.substr(0, 200); }

class SharedLog : public testing::Test {
  protected:
    std::unique_ptr<Child> start(const std::string& role, int writer, const std::string& rest = "0") {
        auto child = std::make_unique<Child>(
            std::vector<std::string>{role, home.path(), std::to_string(writer), rest, lengthName});
        EXPECT_EQ(child->hear(), "ready");
        return child;
    }

    /// Processes that have registered and write at once.
    void startSteadyWriters(int count) {
        for (int writer = 0; writer < count; ++writer) {
            writers.push_back(start("steady-writer", writer));
        }
    }

    void stopSteadyWriters() {
        for (const auto& writer : writers) {
            recordsOf.push_back(std::atoi(writer->ask("stop").c_str()));
        }
        letThemLeave();
    }

    /// Processes that have registered and wait for the order to write `records` records each.
    void startWriters(int count, int records) {
        for (int writer = 0; writer < count; ++writer) {
            writers.push_back(start("writer", writer, std::to_string(records)));
            recordsOf.push_back(records);
        }
    }

    /// Gives the order to write, and lets nobody begin before all of them want to.
    void letThemWrite() {
        elmu::BinaryLock gate;
        ASSERT_TRUE(gate.create(path, support::logProject) && gate.wait());
        for (const auto& writer : writers) {
            writer->tell("write");
        }
        untilWaiting(static_cast<int>(writers.size()));
        EXPECT_TRUE(gate.release());
        EXPECT_TRUE(gate.finalize());
    }

    /// Returns when `count` processes wait for the lock.
    void untilWaiting(int count) const {
        const auto deadline = std::chrono::steady_clock::now() + support::childDeadline;
        while (support::waitersFor(set(), support::lockMember) != count) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            ::sched_yield();
        }
    }

    void letThemFinish() {
        for (const auto& writer : writers) {
            EXPECT_EQ(writer->hear(), "done");
        }
        letThemLeave();
    }

    void letThemLeave() {
        for (const auto& writer : writers) {
            writer->tell("leave");
            EXPECT_EQ(writer->join(), 0);
        }
    }

    /// Every writer's records are there, whole, once and in its own order. Lines of processes that are no
    /// writers are passed over when `othersWrote`.
    void expectEveryRecordOnce(bool othersWrote = false) {
        const Length length = lengthNamed(lengthName);
        const int count = static_cast<int>(writers.size());
        std::map<int, int> next;
        for (const std::string& line : linesOf(support::readFile(path))) {
            const auto writer = writerOf(line);
            if (othersWrote && (!writer || *writer >= count)) {
                continue;
            }
            ASSERT_TRUE(writer) << shortened(line);
            ASSERT_LT(*writer, count) << shortened(line);
            ASSERT_EQ(line.substr(timeLength), afterTime(*writer, next[*writer]++, length));
        }
        for (int writer = 0; writer < count; ++writer) {
            EXPECT_EQ(next[writer], recordsOf[static_cast<std::size_t>(writer)])
                << "records of writer " << writer;
        }
    }

    int set() const { return support::semaphoreSetOf(path).value_or(-1); }

    support::LogHome home;
    std::string path = home / logName;
    std::string lengthName = "short";
    std::vector<std::unique_ptr<Child>> writers;
    std::vector<int> recordsOf; ///< how many each of the writers wrote
};

TEST_F(SharedLog, HoldsEveryRecordOfEightProcessesOnce) {
    startWriters(8, 2000);
    letThemWrite();
    letThemFinish();
    expectEveryRecordOnce();
}

TEST_F(SharedLog, HoldsRecordsOfEveryLengthWhole) {
    lengthName = "mixed";
    startWriters(8, 300);
    letThemWrite();
    letThemFinish();
    expectEveryRecordOnce();
}

TEST_F(SharedLog, CountsItsProcessesAndLeavesNoSetBehind) {
    startWriters(8, 10);
    const int id = set();
    EXPECT_EQ(memberValue(id, userCount), 8);
    letThemWrite();
    letThemFinish();
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(SharedLog, LeavesNoSetBehindWhenProcessesComeAndGo) {
    for (int round = 0; round < 5; ++round) {
        startWriters(2, 10);
        letThemWrite();
        letThemFinish();
        writers.clear();
        recordsOf.clear();
    }
    EXPECT_EQ(set(), -1);
}

TEST_F(SharedLog, KeepsWhatItHeldWhenProcessesJoin) {
    support::writeFile(path, "an earlier line\n");
    startWriters(2, 10);
    letThemWrite();
    letThemFinish();
    const auto lines = linesOf(support::readFile(path));
    EXPECT_EQ(lines.front(), "an earlier line");
    EXPECT_EQ(lines.size(), 21U);
}

TEST_F(SharedLog, MakesWritersWaitForAHolderAndGoOnWhenItIsKilled) {
    startWriters(1, 3);
    Child keeper({"lock-keeper", path});
    ASSERT_EQ(keeper.hear(), "taken");
    writers[0]->tell("write");
    untilWaiting(1);
    EXPECT_EQ(support::readFile(path), "");
    keeper.killAndJoin();
    letThemFinish();
    expectEveryRecordOnce();
}

TEST_F(SharedLog, HoldsEveryRecordOfTheOthersWhenWritersAreKilled) {
    constexpr int kills = 20;
    startSteadyWriters(4);
    for (int victim = 0; victim < kills; ++victim) {
        const auto child = start("victim", 100 + victim);
        for (int tens = 0; tens <= victim % 4; ++tens) {
            EXPECT_EQ(child->hear(), "ten more");
        }
        child->killAndJoin();
    }
    stopSteadyWriters();
    expectEveryRecordOnce(true);
    EXPECT_EQ(memberValue(set(), userCount), kills) << "the killed ones stay counted";
    EXPECT_EQ(memberValue(set(), support::lockMember), 1);
}

TEST_F(SharedLog, TakesRecordsOfAnOrdinaryUserAfterRootMadeIt) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes a log and then becomes another user";
    }
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    const support::ScopedUmask umask(077);
    startWriters(1, 1);
    const auto ordinary = start("ordinary-writer", 1);
    EXPECT_EQ(ordinary->join(), 0);
    letThemWrite();
    letThemFinish();
    const auto lines = linesOf(support::readFile(path));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].substr(timeLength), afterTime(1, 0, Length::Short));
    EXPECT_EQ(lines[1].substr(timeLength), afterTime(0, 0, Length::Short));
}

} // namespace
