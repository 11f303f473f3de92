#include <elmu/utils/CommandLineParser.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/ReportReceivers.h"

using elmu::DEBUG;
using elmu::ERROR;
using elmu::INFO;
using ELMUUtils::CommandLineParser;
using support::Line;
using support::Lines;
using support::Receiver;
using support::Record;
using support::RecordingLogger;
using support::ReportReceivers;

namespace {

const char* const tool = "/opt/tools/HCDCustomHook";

bool parse(CommandLineParser& parser, const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{tool};
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    return parser.parseCommandLineArguments(static_cast<int>(argv.size()), argv.data());
}

/// The value under `key`, or "(none)".
std::string valueOf(const CommandLineParser& parser, const std::string& key) {
    std::string value;
    return parser.getValueForArgument(key, value) ? value : "(none)";
}

Line counted(int count) {
    return {INFO, "Parsing the command line provided. Number of command line arguments is " +
                      std::to_string(count)};
}

Line toolSkipped() {
    return {DEBUG,
            "First command line argument is /opt/tools/HCDCustomHook, Assuming the first argument to be "
            "executable address ignoring it."};
}

Line specified(const std::string& argument) { return {DEBUG, "Argument specified is " + argument}; }

const Line noEquals{ERROR, "The argument does not contain any \"=\""};
const Line noDashes{ERROR, "The \"--\" is not there for the argument. Every argument should have \"--\""};

Line emptyPart(const std::string& argument) {
    return {ERROR, "The argument key or value is empty for " + argument};
}

Line repeated(const std::string& key) { return {ERROR, "The argument " + key + " already sepecified"}; }

} // namespace

TEST(CommandLineParser, StoresTheValueUnderItsKeyWithoutTheDashes) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--install=1"}));
    EXPECT_EQ(valueOf(parser, "install"), "1");
    EXPECT_EQ(valueOf(parser, "--install"), "(none)");
}

TEST(CommandLineParser, SplitsAtTheFirstEqualsSign) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--a=b=c"}));
    EXPECT_EQ(valueOf(parser, "a"), "b=c");
}

TEST(CommandLineParser, KeepsAValueOfOnlyEqualsSigns) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--a=="}));
    EXPECT_EQ(valueOf(parser, "a"), "=");
}

TEST(CommandLineParser, RejectsAnEmptyKey) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--=1"}));
    EXPECT_EQ(valueOf(parser, ""), "(none)");
}

TEST(CommandLineParser, RejectsAnEmptyValue) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--install="}));
    EXPECT_EQ(valueOf(parser, "install"), "(none)");
}

TEST(CommandLineParser, RejectsAnArgumentWithoutTwoDashes) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"-install=1", "install=1"}));
    EXPECT_EQ(valueOf(parser, "install"), "(none)");
    EXPECT_EQ(valueOf(parser, "-install"), "(none)");
    EXPECT_EQ(valueOf(parser, "nstall"), "(none)");
}

TEST(CommandLineParser, RemovesOnlyTwoDashesFromTheKey) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"---x=1"}));
    EXPECT_EQ(valueOf(parser, "-x"), "1");
    EXPECT_EQ(valueOf(parser, "x"), "(none)");
}

TEST(CommandLineParser, RejectsAnArgumentWithoutAnEqualsSign) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--install"}));
    EXPECT_EQ(valueOf(parser, "install"), "(none)");
}

TEST(CommandLineParser, StoresNothingOfAProcessSerialNumber) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"-psn_0_12345", "-psnX=1"}));
    EXPECT_EQ(valueOf(parser, "-psnX"), "(none)");
    EXPECT_EQ(valueOf(parser, "snX"), "(none)");
}

TEST(CommandLineParser, StoresAKeyThatOnlyResemblesAProcessSerialNumber) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--psn=1"}));
    EXPECT_EQ(valueOf(parser, "psn"), "1");
}

TEST(CommandLineParser, TellsKeysApartByCase) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--Install=2", "--install=1"}));
    EXPECT_EQ(valueOf(parser, "Install"), "2");
    EXPECT_EQ(valueOf(parser, "install"), "1");
    EXPECT_EQ(valueOf(parser, "INSTALL"), "(none)");
}

TEST(CommandLineParser, KeepsTheFirstOfTwoValuesForOneKey) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--k=1", "--k=2"}));
    EXPECT_EQ(valueOf(parser, "k"), "1");
}

TEST(CommandLineParser, KeepsBlanksQuotesAndBackslashesAsTheyStand) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"-- a b = \"c\" \\n "}));
    EXPECT_EQ(valueOf(parser, " a b "), " \"c\" \\n ");
}

TEST(CommandLineParser, KeepsBytesThatAreNotUtf8) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--\xff=\xc0\x80"}));
    EXPECT_EQ(valueOf(parser, "\xff"), "\xc0\x80");
}

TEST(CommandLineParser, KeepsAVeryLongValueWhole) {
    CommandLineParser parser;
    const std::string longText(1 << 20, 'v');
    EXPECT_TRUE(parse(parser, {"--key=" + longText}));
    EXPECT_EQ(valueOf(parser, "key"), longText);
}

TEST(CommandLineParser, GoesOnAfterARejectedArgument) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"", "--bad", "bad=1", "--=1", "--bad=", "-psn_0_1", "--good=1"}));
    EXPECT_EQ(valueOf(parser, "good"), "1");
    EXPECT_EQ(valueOf(parser, "bad"), "(none)");
}

TEST(CommandLineParser, NeverReadsTheToolsOwnPathAsAnArgument) {
    CommandLineParser parser;
    const char* const argv[] = {"--install=1"};
    EXPECT_TRUE(parser.parseCommandLineArguments(1, argv));
    EXPECT_EQ(valueOf(parser, "install"), "(none)");
}

TEST(CommandLineParser, ReadsNoFurtherThanTheArgumentCount) {
    CommandLineParser parser;
    const char* const argv[] = {tool, "--a=1", "--b=2"};
    EXPECT_TRUE(parser.parseCommandLineArguments(2, argv));
    EXPECT_EQ(valueOf(parser, "a"), "1");
    EXPECT_EQ(valueOf(parser, "b"), "(none)");
}

TEST(CommandLineParser, SucceedsWithTheToolsPathAlone) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {}));
}

TEST(CommandLineParser, FailsWithoutAnyArgument) {
    CommandLineParser parser;
    EXPECT_FALSE(parser.parseCommandLineArguments(0, nullptr));
    EXPECT_FALSE(parser.parseCommandLineArguments(-1, nullptr));
}

TEST(CommandLineParser, KeepsItsTableWhenALaterCallHasNoArguments) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--a=1"}));
    EXPECT_FALSE(parser.parseCommandLineArguments(0, nullptr));
    EXPECT_EQ(valueOf(parser, "a"), "1");
}

TEST(CommandLineParser, AddsToItsTableWhenItParsesAgain) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--a=1"}));
    EXPECT_TRUE(parse(parser, {"--a=2", "--b=3"}));
    EXPECT_EQ(valueOf(parser, "a"), "1");
    EXPECT_EQ(valueOf(parser, "b"), "3");
}

TEST(CommandLineParser, LeavesTheOutputAloneForAKeyNeverGiven) {
    CommandLineParser parser;
    std::string value = "before";
    EXPECT_FALSE(parser.getValueForArgument("install", value));
    EXPECT_EQ(value, "before");
}

TEST(CommandLineParser, ReplacesTheOutputWithTheStoredValue) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--install=1"}));
    std::string value = "a longer text before";
    EXPECT_TRUE(parser.getValueForArgument("install", value));
    EXPECT_EQ(value, "1");
}

TEST(CommandLineParser, ComparesKeysWithTheirNulBytes) {
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"--install=1"}));
    EXPECT_EQ(valueOf(parser, std::string("install\0", 8)), "(none)");
}

TEST(CommandLineParser, GivesEachInstanceATableOfItsOwn) {
    CommandLineParser first;
    CommandLineParser second;
    EXPECT_TRUE(parse(first, {"--install=1"}));
    EXPECT_EQ(valueOf(second, "install"), "(none)");
}

TEST(CommandLineParser, HandsFormatsAndArgumentsOnApart) {
    ReportReceivers receivers(Receiver::OwnLogger);
    CommandLineParser parser;
    parser.setLogger(receivers.logger());
    parse(parser, {"--k=1", "--k=2", "--k="});
    std::vector<std::string> formats;
    for (const Record& record : receivers.records()) {
        formats.push_back(record.format);
    }
    EXPECT_EQ(
        formats,
        (std::vector<std::string>{
            "Parsing the command line provided. Number of command line arguments is %d",
            "First command line argument is %s, Assuming the first argument to be executable address "
            "ignoring it.",
            "Argument specified is %s", "Argument specified is %s", "The argument %s already sepecified",
            "Argument specified is %s", "The argument key or value is empty for %s"}));
}

TEST(CommandLineParser, ReportsToTheLoggerThatIsSetAtTheTime) {
    ReportReceivers receivers(Receiver::ProcessWideFunction);
    RecordingLogger first;
    RecordingLogger second;
    CommandLineParser parser;
    parser.setLogger(static_cast<elmu::AbstractLogger*>(&first));
    parse(parser, {});
    parser.setLogger(static_cast<elmu::AbstractLogger*>(&second));
    parse(parser, {});
    EXPECT_EQ(first.records.size(), 2U);
    EXPECT_EQ(second.records.size(), 2U);
    EXPECT_TRUE(receivers.records().empty());
}

TEST(CommandLineParser, FallsBackToTheProcessWideReceiversWhenItsLoggerIsTakenAway) {
    ReportReceivers receivers(Receiver::ProcessWideFunction);
    RecordingLogger first;
    CommandLineParser parser;
    parser.setLogger(static_cast<elmu::AbstractLogger*>(&first));
    parser.setLogger(nullptr);
    parse(parser, {});
    EXPECT_EQ(receivers.lines("CommandLineParser"), (Lines{counted(1), toolSkipped()}));
    EXPECT_TRUE(first.records.empty());
}

TEST(CommandLineParser, ParsesInSilenceWhenNobodyListens) {
    ReportReceivers receivers(Receiver::Nobody);
    CommandLineParser parser;
    EXPECT_TRUE(parse(parser, {"bad", "--install=1"}));
    EXPECT_EQ(valueOf(parser, "install"), "1");
    EXPECT_TRUE(receivers.records().empty());
}

TEST(CommandLineParser, ReportsNothingWhenItIsAskedForAValue) {
    ReportReceivers receivers(Receiver::OwnLogger);
    CommandLineParser parser;
    parser.setLogger(receivers.logger());
    EXPECT_EQ(valueOf(parser, "install"), "(none)");
    EXPECT_TRUE(receivers.records().empty());
}

class CommandLineParserReports : public testing::TestWithParam<Receiver> {
  protected:
    CommandLineParserReports() { parser.setLogger(receivers.logger()); }

    Lines lines() const { return receivers.lines("CommandLineParser"); }

    ReportReceivers receivers{GetParam()};
    CommandLineParser parser;
};

TEST_P(CommandLineParserReports, TheCountAndTheSkippedToolForTheToolAlone) {
    parse(parser, {});
    EXPECT_EQ(lines(), (Lines{counted(1), toolSkipped()}));
}

TEST_P(CommandLineParserReports, TheCountAndAnErrorForNoArguments) {
    parser.parseCommandLineArguments(0, nullptr);
    EXPECT_EQ(lines(), (Lines{counted(0),
                              {ERROR, "Argument count is zero. There should be at least one i.e. "
                                      "name of application."}}));
}

TEST_P(CommandLineParserReports, ANegativeCountAsItIs) {
    parser.parseCommandLineArguments(-7, nullptr);
    EXPECT_EQ(lines(), (Lines{counted(-7),
                              {ERROR, "Argument count is zero. There should be at least one i.e. "
                                      "name of application."}}));
}

TEST_P(CommandLineParserReports, OnlyTheArgumentItselfWhenItIsStored) {
    parse(parser, {"--install=1"});
    EXPECT_EQ(lines(), (Lines{counted(2), toolSkipped(), specified("--install=1")}));
}

TEST_P(CommandLineParserReports, NoErrorForAProcessSerialNumber) {
    parse(parser, {"-psn_0_12345", "-psnX=1", "-psn"});
    EXPECT_EQ(lines(), (Lines{counted(4), toolSkipped(), specified("-psn_0_12345"), specified("-psnX=1"),
                              specified("-psn")}));
}

TEST_P(CommandLineParserReports, AnErrorForAMissingEqualsSign) {
    parse(parser, {"--install", "-ps", "--", ""});
    EXPECT_EQ(lines(), (Lines{counted(5), toolSkipped(), specified("--install"), noEquals, specified("-ps"),
                              noEquals, specified("--"), noEquals, specified(""), noEquals}));
}

TEST_P(CommandLineParserReports, AnErrorForMissingDashes) {
    parse(parser, {"-install=1", "install=1", "=", "-=1"});
    EXPECT_EQ(lines(),
              (Lines{counted(5), toolSkipped(), specified("-install=1"), noDashes, specified("install=1"),
                     noDashes, specified("="), noDashes, specified("-=1"), noDashes}));
}

TEST_P(CommandLineParserReports, AnErrorWithTheWholeArgumentForAnEmptyKeyOrValue) {
    parse(parser, {"--=1", "--install=", "--="});
    EXPECT_EQ(lines(),
              (Lines{counted(4), toolSkipped(), specified("--=1"), emptyPart("--=1"), specified("--install="),
                     emptyPart("--install="), specified("--="), emptyPart("--=")}));
}

TEST_P(CommandLineParserReports, AnErrorWithTheBareKeyForARepeatedKey) {
    parse(parser, {"--k=1", "--k=2", "--k=1"});
    EXPECT_EQ(lines(), (Lines{counted(4), toolSkipped(), specified("--k=1"), specified("--k=2"),
                              repeated("k"), specified("--k=1"), repeated("k")}));
}

TEST_P(CommandLineParserReports, AnEmptyValueBeforeARepeatedKey) {
    parse(parser, {"--k=1", "--k="});
    EXPECT_EQ(lines(),
              (Lines{counted(3), toolSkipped(), specified("--k=1"), specified("--k="), emptyPart("--k=")}));
}

TEST_P(CommandLineParserReports, AKeyOfAnEarlierCallAsRepeated) {
    parse(parser, {"--k=1"});
    parse(parser, {"--k=2"});
    EXPECT_EQ(lines(), (Lines{counted(2), toolSkipped(), specified("--k=1"), counted(2), toolSkipped(),
                              specified("--k=2"), repeated("k")}));
}

TEST_P(CommandLineParserReports, EveryArgumentInItsTurn) {
    parse(parser, {"a", "--b=1", "c=1", "-psn_1", "--d=", "--b=2"});
    EXPECT_EQ(lines(), (Lines{counted(7), toolSkipped(), specified("a"), noEquals, specified("--b=1"),
                              specified("c=1"), noDashes, specified("-psn_1"), specified("--d="),
                              emptyPart("--d="), specified("--b=2"), repeated("b")}));
}

TEST_P(CommandLineParserReports, PercentSignsOfAnArgumentAsText) {
    parse(parser, {"--%s%d=%s%d%f", "--%s%d=2", "--%c="});
    EXPECT_EQ(lines(), (Lines{counted(4), toolSkipped(), specified("--%s%d=%s%d%f"), specified("--%s%d=2"),
                              repeated("%s%d"), specified("--%c="), emptyPart("--%c=")}));
}

TEST_P(CommandLineParserReports, AVeryLongArgumentWhole) {
    const std::string argument = "--" + std::string(100000, 'k') + "=";
    parse(parser, {argument});
    EXPECT_EQ(lines(), (Lines{counted(2), toolSkipped(), specified(argument), emptyPart(argument)}));
}

INSTANTIATE_TEST_SUITE_P(Report, CommandLineParserReports, testing::ValuesIn(support::allReceivers()),
                         support::receiverName);
