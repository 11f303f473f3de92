#include <elmu/logging/LogHeader.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Clock.h"
#include "support/FileTargetTest.h"
#include "support/Scopes.h"
#include <elmu/logging/LogTargetDefault.h>

namespace {

namespace fs = std::filesystem;

using elmu::LogTargetDefault;
using elmu::stLogHeader;
using platform::FolderDomain;
using platform::FolderKind;
using scripted::host;
using support::lockMember;
using support::LogHome;
using support::memberValue;
using support::ScopedAlarm;
using support::ScopedTimeZone;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

using Texts = std::vector<std::string>;
using Fields = std::map<std::string, std::string>;

const std::string rule = "******************************************************************************";

/// The lines of a header on the scripted machine, which has no application.
const Texts ownLines{rule, "Bit: 64", "OS Locale: en_US", "OS Name: Mac OS 10.15.7", "OS Version: 10.15.7",
                     rule};

stLogHeader header(const std::string& startLine, const Fields& fields, const std::string& endLine,
                   bool persistent) {
    stLogHeader made;
    made.startLine = startLine;
    made.fields = fields;
    made.endLine = endLine;
    made.persistent = persistent;
    return made;
}

stLogHeader oneOff(const std::string& startLine, const Fields& fields, const std::string& endLine) {
    return header(startLine, fields, endLine, false);
}

stLogHeader lasting(const std::string& startLine, const Fields& fields, const std::string& endLine) {
    return header(startLine, fields, endLine, true);
}

Texts with(Texts lines, std::ptrdiff_t position, const std::string& line) {
    lines.insert(lines.begin() + position, line);
    return lines;
}

/// A machine without an application.
class FactsInTheHeader : public testing::Test {
  protected:
    FactsInTheHeader() {
        host().folders[{FolderDomain::Local, FolderKind::Utilities}] = home / "Applications/Utilities";
    }

    static Texts lines() { return elmu::headerLines(LogTargetDefault("header").storedHeader); }

    LogHome home;
};

} // namespace

TEST(LogHeaderRecord, IsEmptyAndPassingAtFirst) {
    const stLogHeader empty;
    EXPECT_EQ(empty.startLine, "");
    EXPECT_THAT(empty.fields, IsEmpty());
    EXPECT_EQ(empty.endLine, "");
    EXPECT_FALSE(empty.persistent);
}

TEST(LogHeaderRecord, KeepsItsFieldsInTheirOrder) {
    const stLogHeader record;
    const std::vector<const void*> fields{&record.startLine, &record.fields, &record.endLine,
                                          &record.persistent};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
}

TEST_F(FactsInTheHeader, FillTheTargetsHeaderWhenItIsMade) {
    const LogTargetDefault target("header");
    EXPECT_EQ(target.storedHeader.startLine, rule);
    EXPECT_EQ(target.storedHeader.fields, (Fields{{"OS Name: ", "Mac OS 10.15.7"},
                                                  {"OS Version: ", "10.15.7"},
                                                  {"OS Locale: ", "en_US"},
                                                  {"Bit: ", "64"}}));
    EXPECT_EQ(target.storedHeader.endLine, rule);
}

TEST_F(FactsInTheHeader, StandBetweenRulesOf78Asterisks) {
    const LogTargetDefault target("header");
    EXPECT_EQ(target.storedHeader.startLine, std::string(78, '*'));
    EXPECT_EQ(target.storedHeader.endLine, std::string(78, '*'));
}

TEST_F(FactsInTheHeader, MakeSixLinesWithoutAnApplication) { EXPECT_EQ(lines(), ownLines); }

TEST_F(FactsInTheHeader, NameTheSystemAndItsVersion) {
    host().systemVersion = platform::SystemVersion{11, 0, 0};
    EXPECT_THAT(lines(), Contains("OS Name: Mac OS 11.0.0"));
    EXPECT_THAT(lines(), Contains("OS Version: 11.0.0"));
}

TEST_F(FactsInTheHeader, NameTheVersionThatTheOlderQueryGives) {
    host().offersSystemVersion = false;
    host().olderVersionNumbers = {10, 9, 5};
    EXPECT_THAT(lines(), Contains("OS Name: Mac OS 10.9.5"));
    EXPECT_THAT(lines(), Contains("OS Version: 10.9.5"));
}

TEST_F(FactsInTheHeader, NameZeroesWhenTheSystemHasNoAnswer) {
    host().systemVersion = std::nullopt;
    EXPECT_THAT(lines(), Contains("OS Version: 0.0.0"));
}

TEST_F(FactsInTheHeader, KeepAllTheirLinesWhenTheVersionQueryFails) {
    host().offersSystemVersion = false;
    EXPECT_THAT(lines(), ElementsAre(rule, "Bit: 64", "OS Locale: en_US", StartsWith("OS Name: Mac OS "),
                                     StartsWith("OS Version: "), rule));
}

TEST_F(FactsInTheHeader, KeepAllTheirLinesWhenTheMachineQueryFails) {
    host().machineName = std::nullopt;
    EXPECT_THAT(lines(), ElementsAre(rule, StartsWith("Bit: "), "OS Locale: en_US", "OS Name: Mac OS 10.15.7",
                                     "OS Version: 10.15.7", rule));
}

TEST_F(FactsInTheHeader, NameTheBitness) {
    host().machineName = "i386";
    EXPECT_THAT(lines(), Contains("Bit: 32"));
    host().machineName = "arm64";
    EXPECT_THAT(lines(), Contains("Bit: 64"));
}

TEST_F(FactsInTheHeader, NameTheLocaleOfTheUsersLanguage) {
    host().preferredLanguages = {"xx", "de-AT"};
    EXPECT_THAT(lines(), Contains("OS Locale: de_DE"));
    host().preferredLanguages = {"ar"};
    host().localeIdentifier = "ar_TN";
    EXPECT_THAT(lines(), Contains("OS Locale: fr_MA"));
}

TEST_F(FactsInTheHeader, AreThoseOfTheTimeWhenTheTargetWasMade) {
    const LogTargetDefault target("header");
    host().preferredLanguages = {"ja"};
    host().systemVersion = platform::SystemVersion{11, 0, 0};
    EXPECT_EQ(elmu::headerLines(target.storedHeader), ownLines);
}

TEST_F(FactsInTheHeader, AreWhatTheMachineSays) {
    host().preferredLanguages = {"sv"};
    const elmu::HeaderFacts facts = elmu::currentHeaderFacts();
    EXPECT_EQ(facts.osName, "Mac OS 10.15.7");
    EXPECT_EQ(facts.osVersion, "10.15.7");
    EXPECT_EQ(facts.osLocale, "sv_SE");
    EXPECT_EQ(facts.bits, "64");
    EXPECT_EQ(facts.productVersion, std::nullopt);
}

TEST(HeaderFromFacts, HasALabelForEachFact) {
    const stLogHeader made = elmu::headerFromFacts({"name", "version", "locale", "bits", "product"});
    EXPECT_EQ(made.startLine, rule);
    EXPECT_EQ(made.fields, (Fields{{"OS Name: ", "name"},
                                   {"OS Version: ", "version"},
                                   {"OS Locale: ", "locale"},
                                   {"Bit: ", "bits"},
                                   {"HCD Version: ", "product"}}));
    EXPECT_EQ(made.endLine, rule);
}

TEST(HeaderFromFacts, LeavesOutAProductThatIsNotThere) {
    const stLogHeader made = elmu::headerFromFacts({"name", "version", "locale", "bits", std::nullopt});
    EXPECT_THAT(made.fields, SizeIs(4));
    EXPECT_EQ(made.fields.count("HCD Version: "), 0U);
}

TEST(HeaderLines, FollowTheByteOrderOfTheLabels) {
    const Fields fields{{"b: ", "1"}, {"a: ", "2"}, {"B: ", "3"}, {"\xc3\x84: ", "4"}, {"", "5"}};
    EXPECT_THAT(elmu::headerLines(oneOff("first", fields, "last")),
                ElementsAre("first", "5", "B: 3", "a: 2", "b: 1", "\xc3\x84: 4", "last"));
}

TEST(HeaderLines, PutNothingBetweenLabelAndValue) {
    const Fields fields{{"label", "value"}, {"only label", ""}};
    EXPECT_THAT(elmu::headerLines(oneOff("", fields, "")), ElementsAre("labelvalue", "only label"));
}

TEST(HeaderLines, LeaveOutEmptyFirstAndLastLines) {
    EXPECT_THAT(elmu::headerLines(oneOff("", {}, "")), IsEmpty());
    EXPECT_THAT(elmu::headerLines(oneOff("first", {}, "")), ElementsAre("first"));
    EXPECT_THAT(elmu::headerLines(oneOff("", {}, "last")), ElementsAre("last"));
}

TEST(MergedHeader, TakesOverLinesAndFields) {
    stLogHeader stored = oneOff("first", {{"A: ", "1"}, {"B: ", "2"}}, "last");
    elmu::mergeHeader(stored, lasting("new first", {{"B: ", "3"}, {"C: ", "4"}}, "new last"));
    EXPECT_EQ(stored.startLine, "new first");
    EXPECT_EQ(stored.fields, (Fields{{"A: ", "1"}, {"B: ", "3"}, {"C: ", "4"}}));
    EXPECT_EQ(stored.endLine, "new last");
}

TEST(MergedHeader, KeepsItsLinesForEmptyOnes) {
    stLogHeader stored = oneOff("first", {{"A: ", "1"}}, "last");
    elmu::mergeHeader(stored, lasting("", {}, ""));
    EXPECT_EQ(stored.startLine, "first");
    EXPECT_EQ(stored.fields, (Fields{{"A: ", "1"}}));
    EXPECT_EQ(stored.endLine, "last");
}

TEST(MergedHeader, TakesOverAnEmptyValue) {
    stLogHeader stored = oneOff("", {{"A: ", "1"}}, "");
    elmu::mergeHeader(stored, lasting("", {{"A: ", ""}}, ""));
    EXPECT_EQ(stored.fields, (Fields{{"A: ", ""}}));
}

namespace {

struct Call {
    elmu::Log_Level level;
    std::vector<std::optional<std::string>> texts; ///< four contexts, two details, format
    bool hasArguments;
    unsigned long long timeMs;
    bool locked;
    bool headerWasPending;
};

/// A target that remembers the calls of its `writeLog` besides doing them.
class WatchedTarget : public LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;

    bool writeLog(elmu::Log_Level level, const char* context1, const char* context2, const char* context3,
                  const char* context4, const char* detail1, const char* detail2, const char* format,
                  char* args, unsigned long long timeMs, bool locked) override {
        Call call{level, {}, args != nullptr, timeMs, locked, headerPending};
        for (const char* text : {context1, context2, context3, context4, detail1, detail2, format}) {
            call.texts.push_back(text == nullptr ? std::nullopt : std::optional<std::string>(text));
        }
        calls.push_back(call);
        return LogTargetDefault::writeLog(level, context1, context2, context3, context4, detail1, detail2,
                                          format, args, timeMs, locked);
    }

    void WriteStream(const char* text) override {
        const auto set = support::semaphoreSetOf(logFilePath);
        lockValues.push_back(set ? memberValue(*set, lockMember) : -1);
        LogTargetDefault::WriteStream(text);
    }

    std::vector<Call> calls;
    std::vector<int> lockValues; ///< what the lock was like whenever a line was written
};

class LogHeader : public support::FileTargetTest<WatchedTarget> {
  protected:
    bool writeHeader(stLogHeader* given, elmu::Log_Level level = elmu::INFO, bool locked = true) {
        return target.logHeader(level, "c1", "c2", "c3", "c4", given, locked);
    }
    bool writeRecord(const char* message, elmu::Log_Level level = elmu::INFO, bool locked = true) {
        return target.writeLog(level, "r1", "r2", "r3", "r4", "d1", "d2", message, nullptr, 0, locked);
    }

    /// The lines of the log from the level on.
    Texts records() const {
        Texts result;
        std::istringstream lines(content());
        for (std::string line; std::getline(lines, line);) {
            EXPECT_NE(line.find(" | ["), std::string::npos) << line;
            result.push_back(line.substr(line.find('[')));
        }
        return result;
    }

    Texts messages() const {
        Texts result;
        for (const std::string& record : records()) {
            const std::string before = " | 4711 | ";
            result.push_back(record.substr(record.find(before) + before.size()));
        }
        return result;
    }
};

Texts asRecords(const Texts& lines, const std::string& prefix) {
    Texts result;
    for (const std::string& line : lines) {
        result.push_back(prefix + line);
    }
    return result;
}

Texts operator+(Texts first, const Texts& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace

TEST_F(LogHeader, IsTheTargetsOwnForNull) {
    enroll();
    EXPECT_TRUE(writeHeader(nullptr));
    EXPECT_EQ(messages(), ownLines);
}

TEST_F(LogHeader, HasTheFormOfRecordsWithEmptyDetails) {
    enroll();
    writeHeader(nullptr);
    EXPECT_EQ(records(), asRecords(ownLines, "[INFO] | c1 | c2 | c3 | c4 |  |  | 4711 | "));
}

TEST_F(LogHeader, HasEmptyFieldsForNullContexts) {
    enroll();
    target.logHeader(elmu::INFO, nullptr, nullptr, nullptr, nullptr, nullptr, true);
    EXPECT_EQ(records(), asRecords(ownLines, "[INFO] |  |  |  |  |  |  | 4711 | "));
}

TEST_F(LogHeader, IsWrittenAtTheGivenLevel) {
    enroll();
    writeHeader(nullptr, elmu::FATAL);
    EXPECT_EQ(records(), asRecords(ownLines, "[FATAL] | c1 | c2 | c3 | c4 |  |  | 4711 | "));
}

TEST_F(LogHeader, IsFilteredByTheTargetsLevel) {
    enroll();
    writeHeader(nullptr, elmu::DEBUG);
    EXPECT_EQ(content(), "");
}

TEST_F(LogHeader, ShowsTheCurrentTime) {
    const ScopedTimeZone utc("UTC0");
    enroll();
    const std::time_t before = support::now();
    writeHeader(nullptr);
    std::tm parsed = {};
    ASSERT_NE(::strptime(content().c_str(), "%D %T", &parsed), nullptr);
    EXPECT_GE(::timegm(&parsed), before);
    EXPECT_LE(::timegm(&parsed), support::now());
}

TEST_F(LogHeader, IsOneRecordALineWithoutArgumentsOrTime) {
    enroll();
    writeHeader(nullptr, elmu::WARN, false);
    ASSERT_THAT(target.calls, SizeIs(ownLines.size()));
    for (std::size_t line = 0; line < ownLines.size(); ++line) {
        const Call& call = target.calls[line];
        EXPECT_EQ(call.level, elmu::WARN);
        EXPECT_EQ(call.texts[0], "c1");
        EXPECT_EQ(call.texts[3], "c4");
        EXPECT_EQ(call.texts[4].value_or(""), "");
        EXPECT_EQ(call.texts[5].value_or(""), "");
        EXPECT_EQ(call.texts[6], ownLines[line]);
        EXPECT_FALSE(call.hasArguments);
        EXPECT_EQ(call.timeMs, 0U);
    }
}

TEST_F(LogHeader, PassesOnWhetherItIsToBeLocked) {
    enroll();
    for (const bool locked : {true, false}) {
        target.calls.clear();
        writeHeader(nullptr, elmu::INFO, locked);
        ASSERT_THAT(target.calls, SizeIs(ownLines.size()));
        for (const Call& call : target.calls) {
            EXPECT_EQ(call.locked, locked);
        }
    }
}

TEST_F(LogHeader, HoldsTheLockForEachLineWhenAsked) {
    const ScopedAlarm deadline(100);
    enroll();
    writeHeader(nullptr, elmu::INFO, true);
    EXPECT_THAT(target.lockValues, AllOf(SizeIs(ownLines.size()), Each(0)));
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(LogHeader, TakesNoLockWhenNotAsked) {
    enroll();
    writeHeader(nullptr, elmu::INFO, false);
    EXPECT_THAT(target.lockValues, AllOf(SizeIs(ownLines.size()), Each(1)));
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(LogHeader, IsDroppedUnderTheLockWithoutRegistration) {
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    writeHeader(nullptr, elmu::INFO, true);
    EXPECT_EQ(content(), "");
}

TEST_F(LogHeader, IsWrittenWithoutTheLockToAnOpenStream) {
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    writeHeader(nullptr, elmu::INFO, false);
    EXPECT_EQ(messages(), ownLines);
}

TEST_F(LogHeader, TakesItsLinesForFinishedMessages) {
    enroll();
    stLogHeader given = oneOff("100%s", {{"%n", "%d"}}, "%%");
    writeHeader(&given);
    EXPECT_THAT(messages(), ElementsAre("100%s", "%n%d", "%%"));
}

TEST_F(LogHeader, HidesSecretsAsRecordsDo) {
    enroll();
    stLogHeader given = oneOff("eyJ.eyJ", {{"User: ", "<user>bob</user>"}}, "");
    writeHeader(&given);
    EXPECT_THAT(
        records(),
        ElementsAre("[WARN] | c1 | c2 | c3 | c4 |  |  | 4711 | Found access/device token. Log skipped.",
                    "[INFO] | c1 | c2 | c3 | c4 |  |  | 4711 | User: <user>****</user>"));
}

TEST_F(LogHeader, IsTheGivenOneAloneWhenThatDoesNotLast) {
    enroll();
    stLogHeader given = oneOff("first", {{"User: ", "bob"}, {"App: ", "x"}}, "last");
    EXPECT_TRUE(writeHeader(&given));
    EXPECT_THAT(messages(), ElementsAre("first", "App: x", "User: bob", "last"));
}

TEST_F(LogHeader, IsTheFieldsAloneWithoutFirstAndLastLine) {
    enroll();
    stLogHeader given = oneOff("", {{"User: ", "bob"}}, "");
    writeHeader(&given);
    EXPECT_THAT(messages(), ElementsAre("User: bob"));
}

TEST_F(LogHeader, IsNothingWhenTheGivenOneIsEmpty) {
    enroll();
    stLogHeader given;
    writeHeader(&given);
    EXPECT_EQ(content(), "");
}

TEST_F(LogHeader, IsTheTargetsOwnAgainAfterOneThatDoesNotLast) {
    enroll();
    stLogHeader given = oneOff("first", {{"User: ", "bob"}, {"Bit: ", "16"}}, "last");
    writeHeader(&given);
    fs::resize_file(path, 0);
    writeHeader(nullptr);
    EXPECT_EQ(messages(), ownLines);
}

TEST_F(LogHeader, GetsAFieldThatLasts) {
    enroll();
    stLogHeader given = lasting("", {{"User: ", "bob"}}, "");
    writeHeader(&given);
    EXPECT_EQ(messages(), with(ownLines, 5, "User: bob"));
}

TEST_F(LogHeader, KeepsAFieldThatLasts) {
    enroll();
    stLogHeader given = lasting("", {{"User: ", "bob"}}, "");
    writeHeader(&given);
    fs::resize_file(path, 0);
    writeHeader(nullptr);
    EXPECT_EQ(messages(), with(ownLines, 5, "User: bob"));
}

TEST_F(LogHeader, PutsALastingFieldAtItsPlaceInTheOrderOfLabels) {
    enroll();
    stLogHeader given = lasting("", {{"App: ", "x"}}, "");
    writeHeader(&given);
    EXPECT_EQ(messages(), with(ownLines, 1, "App: x"));
}

TEST_F(LogHeader, ReplacesAFieldOfTheSameLabel) {
    enroll();
    stLogHeader given = lasting("", {{"OS Locale: ", "xx_XX"}}, "");
    writeHeader(&given);
    Texts expected = ownLines;
    expected[2] = "OS Locale: xx_XX";
    EXPECT_EQ(messages(), expected);
}

TEST_F(LogHeader, ReplacesItsFirstAndLastLineByLastingOnes) {
    enroll();
    stLogHeader first = lasting("first", {}, "");
    stLogHeader last = lasting("", {}, "last");
    writeHeader(&first);
    writeHeader(&last);
    fs::resize_file(path, 0);
    writeHeader(nullptr);
    Texts expected = ownLines;
    expected.front() = "first";
    expected.back() = "last";
    EXPECT_EQ(messages(), expected);
}

TEST_F(LogHeader, GathersWhatLasts) {
    enroll();
    for (stLogHeader given : {lasting("", {{"User: ", "a"}}, ""), lasting("", {{"User: ", "b"}}, ""),
                              lasting("", {{"App: ", "c"}}, "")}) {
        writeHeader(&given);
    }
    fs::resize_file(path, 0);
    writeHeader(nullptr);
    EXPECT_EQ(messages(), with(with(ownLines, 5, "User: b"), 1, "App: c"));
}

TEST_F(LogHeader, LeavesTheGivenHeaderAsItIs) {
    enroll();
    for (const bool persistent : {true, false}) {
        stLogHeader given = header("first", {{"User: ", "bob"}}, "", persistent);
        writeHeader(&given);
        EXPECT_EQ(given.startLine, "first");
        EXPECT_EQ(given.fields, (Fields{{"User: ", "bob"}}));
        EXPECT_EQ(given.endLine, "");
        EXPECT_EQ(given.persistent, persistent);
    }
}

TEST_F(LogHeader, GetsALastingFieldAlsoWhenNoLineCanBeWritten) {
    stLogHeader given = lasting("", {{"User: ", "bob"}}, "");
    writeHeader(&given);
    EXPECT_EQ(content(), "");
    enroll();
    writeHeader(nullptr);
    EXPECT_EQ(messages(), with(ownLines, 5, "User: bob"));
}

TEST_F(LogHeader, IsNoLongerDueOnceItIsWritten) {
    enroll();
    target.headerPending = true;
    writeHeader(nullptr);
    EXPECT_FALSE(target.headerPending);
    EXPECT_EQ(messages(), ownLines);
}

TEST_F(LogHeader, IsNoLongerDueBeforeItsFirstLineIsWritten) {
    enroll();
    target.headerPending = true;
    writeHeader(nullptr);
    ASSERT_THAT(target.calls, SizeIs(ownLines.size()));
    EXPECT_FALSE(target.calls.front().headerWasPending);
}

TEST_F(LogHeader, IsNoLongerDueAfterAnyHeader) {
    enroll();
    for (const bool persistent : {true, false}) {
        target.headerPending = true;
        stLogHeader given = header("", {{"User: ", "bob"}}, "", persistent);
        writeHeader(&given);
        EXPECT_FALSE(target.headerPending);
    }
    target.headerPending = true;
    stLogHeader empty;
    writeHeader(&empty);
    EXPECT_FALSE(target.headerPending);
}

TEST_F(LogHeader, ComesBeforeTheRecordThatItIsDueFor) {
    const ScopedAlarm deadline(100);
    enroll();
    target.headerPending = true;
    writeRecord("message", elmu::ERROR);
    EXPECT_EQ(records(), asRecords(ownLines, "[INFO] | r1 | r2 | r3 | r4 |  |  | 4711 | ") +
                             Texts{"[ERROR] | r1 | r2 | r3 | r4 | d1 | d2 | 4711 | message"});
}

TEST_F(LogHeader, ComesOnceOnly) {
    enroll();
    target.headerPending = true;
    writeRecord("one");
    writeRecord("two");
    EXPECT_EQ(messages(), ownLines + Texts({"one", "two"}));
}

TEST_F(LogHeader, DoesNotComeWhenItIsNotDue) {
    enroll();
    writeRecord("message");
    EXPECT_THAT(messages(), ElementsAre("message"));
}

TEST_F(LogHeader, IsWrittenUnderTheLockOfItsRecord) {
    const ScopedAlarm deadline(100);
    enroll();
    target.headerPending = true;
    writeRecord("message");
    EXPECT_THAT(target.lockValues, AllOf(SizeIs(ownLines.size() + 1), Each(0)));
    EXPECT_EQ(memberValue(set(), lockMember), 1);
    for (std::size_t call = 1; call < target.calls.size(); ++call) {
        EXPECT_FALSE(target.calls[call].locked);
    }
}

TEST_F(LogHeader, ComesBeforeAnUnlockedRecordToo) {
    enroll();
    target.headerPending = true;
    writeRecord("message", elmu::INFO, false);
    EXPECT_EQ(messages(), ownLines + Texts{"message"});
    EXPECT_THAT(target.lockValues, Each(1));
}

TEST_F(LogHeader, StaysDueWhenTheRecordIsFiltered) {
    enroll();
    target.headerPending = true;
    writeRecord("message", elmu::DEBUG);
    EXPECT_EQ(content(), "");
    EXPECT_TRUE(target.headerPending);
}

TEST_F(LogHeader, StaysDueWhenTheRecordIsDroppedForWantOfTheLock) {
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    target.headerPending = true;
    writeRecord("message");
    EXPECT_EQ(content(), "");
    EXPECT_TRUE(target.headerPending);
}

TEST_F(LogHeader, IsDroppedOnATargetAboveInfo) {
    enroll();
    target.setLogLevel(elmu::WARN);
    target.headerPending = true;
    writeRecord("message", elmu::WARN);
    EXPECT_THAT(messages(), ElementsAre("message"));
    EXPECT_FALSE(target.headerPending);
}

TEST_F(LogHeader, ShowsTheCurrentTimeBeforeARecordOfAnotherTime) {
    const ScopedTimeZone utc("UTC0");
    enroll();
    target.headerPending = true;
    const unsigned long long longAgo = 1000;
    target.writeLog(elmu::INFO, "", "", "", "", "", "", "message", nullptr, longAgo, true);
    const std::string text = content();
    EXPECT_THAT(text, Not(StartsWith("01/01/70")));
    EXPECT_THAT(text, testing::HasSubstr("\n01/01/70 00:00:01:000 | [INFO] |"));
    EXPECT_EQ(target.lastRecordTime, 1);
}

namespace {

/// What a target asks its own `logHeader` for.
class HeaderlessTarget : public LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;

    bool logHeader(elmu::Log_Level level, const char* context1, const char* context2, const char* context3,
                   const char* context4, stLogHeader* given, bool locked) override {
        ++calls;
        arguments = {std::to_string(level), context1, context2, context3, context4};
        hadHeader = given != nullptr;
        wasLocked = locked;
        return false;
    }

    int calls = 0;
    Texts arguments;
    bool hadHeader = true;
    bool wasLocked = true;
};

class OverriddenHeader : public support::FileTargetTest<HeaderlessTarget> {};

} // namespace

TEST_F(OverriddenHeader, IsAskedForWithTheRecordsContexts) {
    enroll();
    target.headerPending = true;
    target.writeLog(elmu::ERROR, "c1", "c2", "c3", "c4", "d1", "d2", "message", nullptr, 0, true);
    EXPECT_EQ(target.calls, 1);
    EXPECT_THAT(target.arguments, ElementsAre("30", "c1", "c2", "c3", "c4"));
    EXPECT_FALSE(target.hadHeader);
    EXPECT_FALSE(target.wasLocked);
}

TEST_F(OverriddenHeader, DoesNotKeepTheRecordFromBeingWrittenWhenItFails) {
    enroll();
    target.headerPending = true;
    write("message");
    EXPECT_THAT(content(), testing::EndsWith(" | message\n"));
}

namespace {

constexpr std::uintmax_t fullSize = 10485760;

/// A target that starts new files.
class HeaderOfNewFiles : public LogHeader {
  protected:
    void startNewFile() {
        leave();
        fs::resize_file(path, fullSize);
        ASSERT_TRUE(enroll());
    }
};

} // namespace

TEST_F(HeaderOfNewFiles, WaitsForTheFirstRecord) {
    startNewFile();
    EXPECT_EQ(content(), "");
    EXPECT_TRUE(target.headerPending);
}

TEST_F(HeaderOfNewFiles, OpensEachOfTwoFilesOnce) {
    for (const char* message : {"one", "two"}) {
        startNewFile();
        writeRecord(message);
        writeRecord("next");
        EXPECT_EQ(messages(), ownLines + Texts({message, "next"}));
    }
}

TEST_F(HeaderOfNewFiles, HasTheContextsOfTheFirstRecord) {
    startNewFile();
    writeRecord("message");
    EXPECT_EQ(records().front(), "[INFO] | r1 | r2 | r3 | r4 |  |  | 4711 | " + rule);
}

TEST_F(HeaderOfNewFiles, CarriesEveryFieldThatLasts) {
    enroll();
    stLogHeader given = lasting("", {{"User: ", "bob"}}, "");
    writeHeader(&given);
    for (const char* message : {"one", "two"}) {
        startNewFile();
        writeRecord(message);
        EXPECT_EQ(messages(), with(ownLines, 5, "User: bob") + Texts{message});
    }
}

TEST_F(HeaderOfNewFiles, IsTheTargetsOwnAgainAfterOneThatDoesNotLast) {
    enroll();
    stLogHeader given = oneOff("", {{"User: ", "bob"}}, "");
    writeHeader(&given);
    startNewFile();
    writeRecord("message");
    EXPECT_EQ(messages(), ownLines + Texts{"message"});
}
