#include <array>
#include <climits>
#include <cstdio>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogHome.h"
#include "support/RecordingTarget.h"
#include "support/VirtualPlace.h"
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

using elmu::AbstractLogger;
using elmu::Logger;
using elmu::LoggingCore;
using support::LogHome;
using support::nullText;
using support::RecordingTarget;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Fields = std::vector<std::string>;
using Send = std::function<void(Logger&)>;

class RegisteredTarget : public RecordingTarget {
  public:
    explicit RegisteredTarget(const char* id) : RecordingTarget(id) {
        LoggingCore::getInstance()->registerTarget(this);
    }
    ~RegisteredTarget() override { LoggingCore::getInstance()->unregisterTarget(this); }
};

/// A logger that keeps what goes through its `logit`.
class InterceptingLogger : public Logger {
  public:
    using Logger::Logger;

    void logit(elmu::Log_Level level, const char* detail1, const char* detail2, const char* format,
               char* args) override {
        char text[256];
        elmu::ArgumentList list(args);
        std::vsnprintf(text, sizeof text, format, list.get());
        levels.push_back(level);
        texts.push_back({detail1, detail2, text});
    }

    std::vector<elmu::Log_Level> levels;
    std::vector<Fields> texts;
};

/// More arguments of every kind than any machine hands over in registers.
template <class Call> void sendEverything(Call call) {
    call("%d %u %ld %lu %lld %llu %zu %hd %hhu %c %x %X %o %5d %-5d| %05d %+d %*d %s %.3s %10s %-10s| "
         "%f %.1f %e %g %f %f %f %f %f %f %Lf %p %% %s %d",
         -1, 4000000000U, -3L, 4UL, LLONG_MIN, ULLONG_MAX, sizeof(int), -8, 9U, 'j', 0xabU, 0xcdU, 014U, 15,
         16, 17, 18, 6, 19, "text", "cut off", "right", "left", 1.5, -2.25, 3e100, 4e-5, 5.0, 6.0, 7.0, 8.0,
         9.0, 10.0, 11.5L, static_cast<void*>(nullptr), "last", 42);
}

std::string everything() {
    std::array<char, 4096> text{};
    sendEverything([&](auto... arguments) { std::snprintf(text.data(), text.size(), arguments...); });
    return text.data();
}

/// One of the operations that take a variable list.
struct Operation {
    std::string name;
    elmu::Log_Level level;
    bool throughLogit;
    Send call;           ///< with the message "text %d", 7 and details "D1" and "D2"
    Fields fields;       ///< of that call's record, for contexts "one" to "four"
    Send callEverything; ///< with the format and arguments of `sendEverything`
    std::vector<Send> callsWithoutRecord;
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

Fields withContextsAnd(const std::string& detail1, const std::string& detail2) {
    return {"one", "two", "three", "four", detail1, detail2, "text 7"};
}

Fields withOtherContextAnd(const std::string& detail1) {
    return {"one", "two", "three", "4th", detail1, "", "text 7"};
}

std::vector<Operation> operationsOfContexts() {
    return {
        {"trace",
         elmu::TRACE,
         true,
         [](Logger& l) { l.trace("text %d", 7); },
         withContextsAnd("", ""),
         [](Logger& l) { sendEverything([&](auto... a) { l.trace(a...); }); },
         {[](Logger& l) { l.trace(nullptr); }}},
        {"debug",
         elmu::DEBUG,
         true,
         [](Logger& l) { l.debug("text %d", 7); },
         withContextsAnd("", ""),
         [](Logger& l) { sendEverything([&](auto... a) { l.debug(a...); }); },
         {[](Logger& l) { l.debug(nullptr); }}},
        {"info",
         elmu::INFO,
         true,
         [](Logger& l) { l.info("text %d", 7); },
         withContextsAnd("", ""),
         [](Logger& l) { sendEverything([&](auto... a) { l.info(a...); }); },
         {[](Logger& l) { l.info(nullptr); }}},
        {"warn",
         elmu::WARN,
         true,
         [](Logger& l) { l.warn("D1", "text %d", 7); },
         withContextsAnd("D1", ""),
         [](Logger& l) { sendEverything([&](auto... a) { l.warn("", a...); }); },
         {[](Logger& l) { l.warn("D1", nullptr); }}},
        {"error",
         elmu::ERROR,
         true,
         [](Logger& l) { l.error("D1", "text %d", 7); },
         withContextsAnd("D1", ""),
         [](Logger& l) { sendEverything([&](auto... a) { l.error("", a...); }); },
         {[](Logger& l) { l.error("D1", nullptr); }}},
        {"fatal",
         elmu::FATAL,
         true,
         [](Logger& l) { l.fatal("D1", "text %d", 7); },
         withContextsAnd("D1", ""),
         [](Logger& l) { sendEverything([&](auto... a) { l.fatal("", a...); }); },
         {[](Logger& l) { l.fatal("D1", nullptr); }}},
        {"log",
         elmu::WARN,
         true,
         [](Logger& l) { l.log(elmu::WARN, "D1", "D2", "text %d", 7); },
         withContextsAnd("D1", "D2"),
         [](Logger& l) { sendEverything([&](auto... a) { l.log(elmu::WARN, "", "", a...); }); },
         {[](Logger& l) { l.log(elmu::WARN, "D1", "D2", nullptr); }}},
    };
}

std::vector<Operation> operationsOfAnotherContext() {
    return {
        {"logTrace",
         elmu::TRACE,
         false,
         [](Logger& l) { l.logTrace("4th", "text %d", 7); },
         withOtherContextAnd(""),
         [](Logger& l) { sendEverything([&](auto... a) { l.logTrace("", a...); }); },
         {[](Logger& l) { l.logTrace(nullptr, "text"); }, [](Logger& l) { l.logTrace("4th", nullptr); }}},
        {"logDebug",
         elmu::DEBUG,
         false,
         [](Logger& l) { l.logDebug("4th", "text %d", 7); },
         withOtherContextAnd(""),
         [](Logger& l) { sendEverything([&](auto... a) { l.logDebug("", a...); }); },
         {[](Logger& l) { l.logDebug(nullptr, "text"); }, [](Logger& l) { l.logDebug("4th", nullptr); }}},
        {"logInfo",
         elmu::INFO,
         false,
         [](Logger& l) { l.logInfo("4th", "text %d", 7); },
         withOtherContextAnd(""),
         [](Logger& l) { sendEverything([&](auto... a) { l.logInfo("", a...); }); },
         {[](Logger& l) { l.logInfo(nullptr, "text"); }, [](Logger& l) { l.logInfo("4th", nullptr); }}},
        {"logWarn",
         elmu::WARN,
         false,
         [](Logger& l) { l.logWarn("4th", "D1", "text %d", 7); },
         withOtherContextAnd("D1"),
         [](Logger& l) { sendEverything([&](auto... a) { l.logWarn("", "", a...); }); },
         {[](Logger& l) { l.logWarn(nullptr, "D1", "text"); },
          [](Logger& l) { l.logWarn("4th", nullptr, "text"); },
          [](Logger& l) { l.logWarn("4th", "D1", nullptr); }}},
        {"logError",
         elmu::ERROR,
         false,
         [](Logger& l) { l.logError("4th", "D1", "text %d", 7); },
         withOtherContextAnd("D1"),
         [](Logger& l) { sendEverything([&](auto... a) { l.logError("", "", a...); }); },
         {[](Logger& l) { l.logError(nullptr, "D1", "text"); },
          [](Logger& l) { l.logError("4th", nullptr, "text"); },
          [](Logger& l) { l.logError("4th", "D1", nullptr); }}},
        {"logFatal",
         elmu::FATAL,
         false,
         [](Logger& l) { l.logFatal("4th", "D1", "text %d", 7); },
         withOtherContextAnd("D1"),
         [](Logger& l) { sendEverything([&](auto... a) { l.logFatal("", "", a...); }); },
         {[](Logger& l) { l.logFatal(nullptr, "D1", "text"); },
          [](Logger& l) { l.logFatal("4th", nullptr, "text"); },
          [](Logger& l) { l.logFatal("4th", "D1", nullptr); }}},
    };
}

class LoggerOperation : public testing::TestWithParam<Operation> {
  protected:
    LogHome home;
    RegisteredTarget target{"logger-test"};
    Logger logger{"logger-test", "one", "two", "three", "four"};
};

TEST_P(LoggerOperation, SendsOneRecordWithItsLevelAndFields) {
    GetParam().call(logger);
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_EQ(target.records[0].level, GetParam().level);
    EXPECT_THAT(target.records[0].fields, ElementsAreArray(GetParam().fields));
}

TEST_P(LoggerOperation, FormatsNothingItself) {
    GetParam().call(logger);
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_EQ(target.records[0].format, "text %d");
}

TEST_P(LoggerOperation, LeavesTheTimeToTheTarget) {
    GetParam().call(logger);
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_EQ(target.records[0].timeMs, 0U);
}

TEST_P(LoggerOperation, SendsNothingForNulls) {
    for (const Send& call : GetParam().callsWithoutRecord) {
        call(logger);
    }
    EXPECT_THAT(target.records, IsEmpty());
}

TEST_P(LoggerOperation, GoesThroughTheVirtualLogitOnlyWhenItShould) {
    InterceptingLogger intercepting("logger-test", "one", "two", "three", "four");
    GetParam().call(intercepting);
    EXPECT_EQ(intercepting.texts.size(), GetParam().throughLogit ? 1U : 0U);
    EXPECT_EQ(target.records.size(), GetParam().throughLogit ? 0U : 1U);
}

TEST_P(LoggerOperation, HandsItsLevelAndTextsToAnInterceptor) {
    InterceptingLogger intercepting("logger-test", "one", "two", "three", "four");
    GetParam().call(intercepting);
    if (GetParam().throughLogit) {
        const Fields& fields = GetParam().fields;
        EXPECT_THAT(intercepting.levels, ElementsAre(GetParam().level));
        EXPECT_THAT(intercepting.texts, ElementsAre(Fields(fields.begin() + 4, fields.end())));
    } else {
        EXPECT_THAT(intercepting.levels, IsEmpty());
    }
}

TEST_P(LoggerOperation, CarriesArgumentsOfEveryKind) {
    GetParam().callEverything(logger);
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_EQ(target.records[0].fields.back(), everything());
}

TEST_P(LoggerOperation, GivesEveryTargetTheWholeList) {
    RegisteredTarget second("logger-test");
    GetParam().callEverything(logger);
    ASSERT_EQ(target.records.size(), 1U);
    ASSERT_EQ(second.records.size(), 1U);
    EXPECT_EQ(target.records[0].fields.back(), everything());
    EXPECT_EQ(second.records[0].fields.back(), everything());
}

std::string operationName(const testing::TestParamInfo<Operation>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(OfItsContexts, LoggerOperation, testing::ValuesIn(operationsOfContexts()),
                         operationName);
INSTANTIATE_TEST_SUITE_P(OfAnotherContext, LoggerOperation, testing::ValuesIn(operationsOfAnotherContext()),
                         operationName);

class LoggerClient : public testing::Test {
  protected:
    LogHome home;
    RegisteredTarget target{"logger-test"};
    Logger logger{"logger-test", "one", "two", "three", "four"};
};

TEST_F(LoggerClient, SendsAnEmptyDetailForANullOne) {
    logger.warn(nullptr, "x");
    logger.error(nullptr, "x");
    logger.fatal(nullptr, "x");
    logger.log(elmu::INFO, nullptr, nullptr, "x");
    ASSERT_EQ(target.records.size(), 4U);
    for (const auto& record : target.records) {
        EXPECT_THAT(record.fields, ElementsAre("one", "two", "three", "four", "", "", "x"));
    }
}

TEST_F(LoggerClient, SendsAnEmptyFormat) {
    logger.info("%s", "");
    logger.logInfo("", "%s", "");
    EXPECT_EQ(target.records.size(), 2U);
}

TEST_F(LoggerClient, LogsAtAnyNumber) {
    logger.log(static_cast<elmu::Log_Level>(-5), "", "", "x");
    logger.log(elmu::NONE, "", "", "x");
    ASSERT_EQ(target.records.size(), 2U);
    EXPECT_EQ(target.records[0].level, -5);
    EXPECT_EQ(target.records[1].level, elmu::NONE);
}

TEST_F(LoggerClient, HandsOnAFinishedMessageWithoutArguments) {
    logger.logit(elmu::ERROR, "D1", "D2", "100% finished", nullptr);
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_EQ(target.records[0].level, elmu::ERROR);
    EXPECT_EQ(target.records[0].args, nullptr);
    EXPECT_THAT(target.records[0].fields,
                ElementsAre("one", "two", "three", "four", "D1", "D2", "100% finished"));
    EXPECT_EQ(target.records[0].timeMs, 0U);
}

TEST_F(LoggerClient, ChecksNothingInLogit) {
    logger.logit(elmu::ERROR, nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_THAT(target.records[0].fields,
                ElementsAre("one", "two", "three", "four", nullText, nullText, nullText));
}

TEST_F(LoggerClient, CopiesItsTexts) {
    std::string text = "a text too long for the string itself";
    Logger copying("logger-test", text.c_str(), text.c_str(), text.c_str(), text.c_str());
    const std::string before = text;
    text.assign(text.size(), 'x');
    copying.info("x");
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_THAT(target.records[0].fields, ElementsAre(before, before, before, before, "", "", "x"));
}

TEST_F(LoggerClient, HasEmptyContextsForNulls) {
    Logger plain("logger-test", nullptr, nullptr, nullptr, nullptr);
    plain.info("x");
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_THAT(target.records[0].fields, ElementsAre("", "", "", "", "", "", "x"));
}

TEST_F(LoggerClient, KeepsItsContextsAfterAnotherFourthOne) {
    logger.logInfo("4th", "x");
    logger.info("x");
    ASSERT_EQ(target.records.size(), 2U);
    EXPECT_EQ(target.records[1].fields[3], "four");
}

TEST_F(LoggerClient, ReachesItsIdentifierOnly) {
    RegisteredTarget other("other");
    Logger("other", "", "", "", "").info("x");
    EXPECT_THAT(target.records, IsEmpty());
    EXPECT_EQ(other.records.size(), 1U);
}

TEST_F(LoggerClient, WithoutIdentifierReachesTheTargetWithoutIdentifier) {
    RegisteredTarget unnamed(nullptr);
    Logger(nullptr, "", "", "", "").info("one");
    Logger("", "", "", "", "").logInfo("", "two");
    EXPECT_EQ(unnamed.records.size(), 2U);
    EXPECT_THAT(target.records, IsEmpty());
}

TEST_F(LoggerClient, IsSilentWithoutATarget) {
    Logger lonely("nobody", "", "", "", "");
    lonely.info("%s", "x");
    lonely.logFatal("", "", "x");
    EXPECT_THAT(target.records, IsEmpty());
}

TEST_F(LoggerClient, HandsOnTextsOfAnyBytes) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    Logger odd("logger-test", bytes.c_str(), "", "", "");
    odd.warn(bytes.c_str(), "%s", bytes.c_str());
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_THAT(target.records[0].fields, ElementsAre(bytes, "", "", "", bytes, "", bytes));
}

TEST_F(LoggerClient, CarriesAVeryLongFormat) {
    const std::string format(7000, 'x');
    logger.info(format.c_str(), 0); // clang warns of a text from elsewhere as the only argument
    ASSERT_EQ(target.records.size(), 1U);
    EXPECT_EQ(target.records[0].format, format);
}

TEST(LoggerClasses, HaveNoVirtualDestructor) {
    EXPECT_FALSE(std::has_virtual_destructor_v<Logger>);
    EXPECT_FALSE(std::has_virtual_destructor_v<AbstractLogger>);
}

TEST(LoggerClasses, LetNobodyDestroyALoggerThroughItsInterface) {
    EXPECT_FALSE(std::is_destructible_v<AbstractLogger>);
    EXPECT_TRUE(std::is_destructible_v<Logger>);
}

TEST(LoggerClasses, KeepTheirOperationsInTheirOrder) {
    const std::vector<std::uintptr_t> places{
        support::placeOf(&AbstractLogger::trace),    support::placeOf(&AbstractLogger::debug),
        support::placeOf(&AbstractLogger::info),     support::placeOf(&AbstractLogger::warn),
        support::placeOf(&AbstractLogger::error),    support::placeOf(&AbstractLogger::fatal),
        support::placeOf(&AbstractLogger::log),      support::placeOf(&AbstractLogger::logit),
        support::placeOf(&AbstractLogger::logTrace), support::placeOf(&AbstractLogger::logDebug),
        support::placeOf(&AbstractLogger::logInfo),  support::placeOf(&AbstractLogger::logWarn),
        support::placeOf(&AbstractLogger::logError), support::placeOf(&AbstractLogger::logFatal)};
    for (std::size_t i = 0; i < places.size(); ++i) {
        EXPECT_EQ(places[i], places[0] + i) << i;
    }
}

} // namespace
