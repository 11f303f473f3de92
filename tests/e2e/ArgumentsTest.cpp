#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::StartsWith;

namespace {

const std::string NoEquals = "ERROR The argument does not contain any \"=\"";
const std::string NoHyphens =
    "ERROR The \"--\" is not there for the argument. Every argument should have \"--\"";
const std::string GivenAlready = "ERROR The argument install already sepecified";

std::string emptyPart(const std::string& argument) {
    return "ERROR The argument key or value is empty for " + argument;
}

/// A command line, which of the two paths it selects, and the errors that are recorded for it.
struct CommandLine {
    std::string name;
    std::vector<std::string> arguments;
    bool installs;
    std::vector<std::string> errors;
};

void PrintTo(const CommandLine& line, std::ostream* out) { *out << line.name; }

std::string nameOf(const testing::TestParamInfo<CommandLine>& line) { return line.param.name; }

class CommandLines : public MachineTest, public testing::WithParamInterface<CommandLine> {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put(Manifest, "an older manifest");
        fillCache();
    }

    static std::vector<std::string> expectedRecords() {
        std::vector<std::string> records = {parsing(static_cast<int>(GetParam().arguments.size()) + 1)};
        records.insert(records.end(), GetParam().errors.begin(), GetParam().errors.end());
        records.push_back(GetParam().installs ? Created : Deleted);
        return records;
    }

    void expectInstalled() const {
        EXPECT_EQ(machine.read(Manifest), manifestText());
        EXPECT_FALSE(machine.has(Cache));
    }

    void expectUninstalled() const {
        EXPECT_FALSE(machine.has(Manifest));
        EXPECT_TRUE(machine.has(Cache + "/Cache/index"));
    }
};

class DebugRecordsOfArguments : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put(LogsFolder + "/ELMU.debug", "");
    }
};

} // namespace

TEST_P(CommandLines, SelectOnePathAndTellWhatWasRejected) {
    runTool(GetParam().arguments);
    GetParam().installs ? expectInstalled() : expectUninstalled();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(expectedRecords()));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, CommandLines,
    testing::Values(
        CommandLine{"None", {}, false, {}}, CommandLine{"Install1", {"--install=1"}, true, {}},
        CommandLine{"Install0", {"--install=0"}, false, {}},
        CommandLine{"InstallYes", {"--install=yes"}, false, {}},
        CommandLine{"InstallTrue", {"--install=true"}, false, {}},
        CommandLine{"InstallLeadingZero", {"--install=01"}, false, {}},
        CommandLine{"InstallLeadingBlank", {"--install= 1"}, false, {}},
        CommandLine{"InstallTrailingBlank", {"--install=1 "}, false, {}},
        CommandLine{"InstallTrailingNewline", {"--install=1\n"}, false, {}},
        CommandLine{"InstallQuoted", {"--install=\"1\""}, false, {}},
        CommandLine{"InstallTwoEqualsSigns", {"--install==1"}, false, {}},
        CommandLine{"InstallEqualsSignAtTheEnd", {"--install=1="}, false, {}},
        CommandLine{"InstallUpperCase", {"--INSTALL=1"}, false, {}},
        CommandLine{"InstallCapital", {"--Install=1"}, false, {}},
        CommandLine{"InstallBlankInTheKey", {"--install =1"}, false, {}},
        CommandLine{"InstallThreeHyphens", {"---install=1"}, false, {}},
        CommandLine{"CapitalAndLowerCaseAreTwoKeys", {"--Install=0", "--install=1"}, true, {}},
        CommandLine{"OneHyphen", {"-install=1"}, false, {NoHyphens}},
        CommandLine{"NoHyphen", {"install=1"}, false, {NoHyphens}},
        CommandLine{"EqualsSignAlone", {"="}, false, {NoHyphens}},
        CommandLine{"OneHyphenAndNoKey", {"-=1"}, false, {NoHyphens}},
        CommandLine{"NoEqualsSign", {"--install"}, false, {NoEquals}},
        CommandLine{"NoEqualsSignAndValueApart", {"--install", "1"}, false, {NoEquals, NoEquals}},
        CommandLine{"EmptyArgument", {""}, false, {NoEquals}},
        CommandLine{"HyphensAlone", {"--"}, false, {NoEquals}},
        CommandLine{"EmptyValue", {"--install="}, false, {emptyPart("--install=")}},
        CommandLine{"EmptyKey", {"--=1"}, false, {emptyPart("--=1")}},
        CommandLine{"EmptyKeyAndValue", {"--="}, false, {emptyPart("--=")}},
        CommandLine{"PercentSignsAreNoFormat", {"--%s%n="}, false, {emptyPart("--%s%n=")}},
        CommandLine{"EmptyValueThenInstall1", {"--install=", "--install=1"}, true, {emptyPart("--install=")}},
        CommandLine{"FirstOfTwoWins1", {"--install=1", "--install=0"}, true, {GivenAlready}},
        CommandLine{"FirstOfTwoWins0", {"--install=0", "--install=1"}, false, {GivenAlready}},
        CommandLine{"SameTwice", {"--install=1", "--install=1"}, true, {GivenAlready}},
        CommandLine{"ProcessSerialNumber", {"-psn_0_12345"}, false, {}},
        CommandLine{"ProcessSerialNumberPrefixAlone", {"-psn"}, false, {}},
        CommandLine{"ProcessSerialNumberWithEqualsSign", {"-psnX=1"}, false, {}},
        CommandLine{"ProcessSerialNumberThenInstall1", {"-psn_0_12345", "--install=1"}, true, {}},
        CommandLine{"AlmostAProcessSerialNumber", {"-ps"}, false, {NoEquals}},
        CommandLine{"UnknownKey", {"--foo=bar"}, false, {}},
        CommandLine{"UnknownKeyThenInstall1", {"--foo=bar", "--install=1"}, true, {}},
        CommandLine{
            "RejectedThenInstall1", {"nonsense", "-x=1", "--install=1"}, true, {NoEquals, NoHyphens}}),
    nameOf);

TEST_F(DebugRecordsOfArguments, NameTheProgramAndEveryArgument) {
    runTool({"--foo=bar=baz", "--install=1"});
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAre(parsing(3),
                            "DEBUG First command line argument is " + Tool +
                                ", Assuming the first argument to be executable address ignoring it.",
                            "DEBUG Argument specified is --foo=bar=baz",
                            "DEBUG Argument specified is --install=1", Created));
}

TEST_F(DebugRecordsOfArguments, ComeBeforeTheErrorAboutTheSameArgument) {
    runTool({"--install"});
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAre(parsing(2), StartsWith("DEBUG First command line argument is "),
                            "DEBUG Argument specified is --install", NoEquals, Deleted));
}

TEST_F(DebugRecordsOfArguments, NameAProcessSerialNumberAndNothingMoreOfIt) {
    runTool({"-psn_0_12345"});
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAre(parsing(2), StartsWith("DEBUG First command line argument is "),
                            "DEBUG Argument specified is -psn_0_12345", Deleted));
}

TEST_F(DebugRecordsOfArguments, NameTheProgramAsItWasCalled) {
    runShell("cd " + ToolFolder + " && ./HCDCustomHook");
    EXPECT_THAT(
        toldBy(machine.read(Log)),
        Contains("DEBUG First command line argument is ./HCDCustomHook, Assuming the first argument to "
                 "be executable address ignoring it."));
}

TEST_F(DebugRecordsOfArguments, KeepBytesThatAreNoText) {
    runTool({"--key=\xff\xfe\x80"});
    EXPECT_THAT(toldBy(machine.read(Log)), Contains("DEBUG Argument specified is --key=\xff\xfe\x80"));
}

TEST_F(DebugRecordsOfArguments, AreCutAfter4094Characters) {
    const std::string argument = "--key=" + std::string(5000, 'v');
    runTool({argument});
    const std::string whole = "Argument specified is " + argument;
    EXPECT_THAT(toldBy(machine.read(Log)), Contains("DEBUG " + whole.substr(0, 4094)));
}
