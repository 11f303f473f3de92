#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <algorithm>

using namespace e2e;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace {

const std::string Notice = "WARN Found access/device token. Log skipped.";
const std::string Token = "eyJhbGciOi.eyJzdWIi.c2lnbmF0dXJl";

/// Arguments are the only text from outside that reaches a message: all of them at DEBUG, and the rejected
/// ones at ERROR.
class Masking : public MachineTest {
  protected:
    void askForDebugRecords() const { machine.put(LogsFolder + "/ELMU.debug", ""); }

    std::vector<std::string> told() const { return toldBy(machine.read(Log)); }

    /// Gives the tool an argument; its record must be `told`.
    void expectArgumentTold(const std::string& argument, const std::string& asTold) const {
        askForDebugRecords();
        runTool({argument});
        EXPECT_THAT(told(), Contains("DEBUG Argument specified is " + asTold));
    }

    void expectArgumentInClear(const std::string& argument) const { expectArgumentTold(argument, argument); }
};

class MaskedElement : public Masking, public testing::WithParamInterface<std::string> {};

std::string nameWithoutHyphen(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace

TEST_P(MaskedElement, IsHiddenInADebugRecord) {
    const std::string open = "<" + GetParam() + ">";
    const std::string close = "</" + GetParam() + ">";
    expectArgumentTold("--x=" + open + "secret" + close, "--x=" + open + "****" + close);
    EXPECT_THAT(machine.read(Log), Not(HasSubstr("secret")));
}

TEST_P(MaskedElement, IsHiddenInAnErrorRecord) {
    const std::string open = "<" + GetParam() + ">";
    const std::string close = "</" + GetParam() + ">";
    runTool({"--=" + open + "secret" + close});
    EXPECT_THAT(told(),
                ElementsAre(parsing(2),
                            "ERROR The argument key or value is empty for --=" + open + "****" + close,
                            Deleted));
}

INSTANTIATE_TEST_SUITE_P(Elements, MaskedElement,
                         testing::Values("proxyusername", "proxy-user", "proxyuser", "user", "username",
                                         "proxy-password", "proxypassword", "password"),
                         nameWithoutHyphen);

TEST_F(Masking, HidesEveryElementOfAFragment) {
    expectArgumentTold("--x=<proxyuser>bob</proxyuser><password>pw</password>",
                       "--x=<proxyuser>****</proxyuser><password>****</password>");
}

TEST_F(Masking, FindsTagsInAnyCaseAndKeepsTheirs) {
    expectArgumentTold("--x=<PassWord>pw</PASSWORD>", "--x=<PassWord>****</PASSWORD>");
}

TEST_F(Masking, HidesOnlyTheFirstElementOfAName) {
    expectArgumentTold("--x=<user>a</user><user>b</user>", "--x=<user>****</user><user>b</user>");
}

TEST_F(Masking, LeavesAnElementAfterAnEmptyOneOfItsName) {
    expectArgumentInClear("--x=<password></password><password>pw</password>");
}

TEST_F(Masking, LeavesATagWithAttributes) { expectArgumentInClear("--x=<password kind=\"a\">pw</password>"); }

TEST_F(Masking, LeavesATagThatIsNotClosed) { expectArgumentInClear("--x=<password>pw"); }

TEST_F(Masking, LeavesOtherElements) { expectArgumentInClear("--x=<secret>pw</secret>"); }

TEST_F(Masking, HidesARepeatedKey) {
    runTool({"--<user>bob</user>=1", "--<user>bob</user>=2"});
    EXPECT_THAT(told(), Contains("ERROR The argument <user>****</user> already sepecified"));
}

TEST_F(Masking, DoesNotChangeWhatTheToolDoes) {
    askForDebugRecords();
    runTool({"--x=<password>pw</password>", "--y=" + Token, "--install=1"});
    EXPECT_TRUE(machine.has(Manifest));
}

TEST_F(Masking, PutsANoticeAtWarnInThePlaceOfATokenInADebugRecord) {
    askForDebugRecords();
    runTool({"--token=" + Token});
    ASSERT_THAT(told(), SizeIs(4));
    EXPECT_EQ(told()[2], Notice);
    EXPECT_THAT(machine.read(Log), Not(HasSubstr("eyJ")));
}

TEST_F(Masking, PutsANoticeAtWarnInThePlaceOfATokenInAnErrorRecord) {
    runTool({"--=" + Token});
    EXPECT_THAT(told(), ElementsAre(parsing(2), Notice, Deleted));
}

TEST_F(Masking, KeepsTheOtherFieldsOfARecordWithAToken) {
    runTool({"--=" + Token});
    const std::vector<LogRecord> records = recordsOf(machine.read(Log));
    ASSERT_THAT(records, SizeIs(3));
    EXPECT_EQ(records[1].contexts, records[0].contexts);
    EXPECT_EQ(records[1].thread, records[0].thread);
}

TEST_F(Masking, GivesNoNoticeOfATokenInARecordThatIsNotWritten) {
    runTool({"--token=" + Token});
    EXPECT_THAT(told(), ElementsAre(parsing(2), Deleted));
}

TEST_F(Masking, TakesOneBeginningOfATokenForText) { expectArgumentInClear("--x=payload.eyJzdWIi"); }

TEST_F(Masking, TakesTwoBeginningsWithoutAFullStopForText) {
    expectArgumentInClear("--x=eyJhbGciOi-eyJzdWIi");
}

TEST_F(Masking, TakesATokenInOtherCaseForText) { expectArgumentInClear("--x=EYJhbGciOi.EYJzdWIi"); }
