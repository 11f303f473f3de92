#include "e2e/FullLog.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace e2e;
using testing::ElementsAreArray;
using testing::Ge;
using testing::SizeIs;

namespace {

const std::string PropertyList = ProductFolder + "/HCD/Halcyra.app/Contents/Info.plist";

std::string xmlPropertyList(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n<dict>" +
           entries + "</dict>\n</plist>\n";
}

std::string xmlVersion(const std::string& version) {
    return xmlPropertyList("<key>CFBundleShortVersionString</key><string>" + version +
                           "</string><key>CFBundleVersion</key><string>4.3.0.256</string>");
}

/// A binary list of CFBundleShortVersionString ("4.3.0") and CFBundleName ("Halcyra").
std::string binaryVersion() {
    using namespace std::string_literals;
    const std::string objects = "\xd2\x01\x02\x03\x04"s +
                                "_\x10\x1a"
                                "CFBundleShortVersionString\\CFBundleNameU4.3.0WHalcyra";
    const std::string offsets = "\x08\r*7="s;
    const std::string trailer = "\0\0\0\0\0\0\x01\x01"
                                "\0\0\0\0\0\0\0\x05"
                                "\0\0\0\0\0\0\0\0"
                                "\0\0\0\0\0\0\0E"s;
    return "bplist00" + objects + offsets + trailer;
}

class Header : public FullLogTest {
  protected:
    /// The header of the log that a run starts anew.
    std::vector<LogRecord> freshHeader() {
        std::vector<LogRecord> records = freshLog();
        records.resize(std::min(records.size(), headerSize()));
        return records;
    }

    std::vector<LogRecord> freshLog() {
        fillLog();
        install();
        return recordsOf(machine.read(Log));
    }

    /// Runs the tool; the fresh log must hold exactly `header` and the records of an install.
    void expectHeader(std::vector<std::string> header) {
        header.insert(header.end(), {parsing(2), Created});
        fillLog();
        install();
        EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(header));
    }

    static std::size_t headerSize() { return headerRecords().size(); }
};

using Variables = std::vector<std::pair<std::string, std::string>>;

/// What the environment says of languages, and the locale that the header names.
struct Languages {
    std::string name;
    Variables variables;
    std::string locale;
};

void PrintTo(const Languages& languages, std::ostream* out) { *out << languages.name; }

std::string nameOf(const testing::TestParamInfo<Languages>& info) { return info.param.name; }

class LocaleInTheHeader : public Header, public testing::WithParamInterface<Languages> {};

} // namespace

TEST_F(Header, HasSixRecordsWithoutAnInstalledApplication) { expectHeader(headerRecords()); }

TEST_F(Header, NamesTheVersionOfAnInstalledApplicationAfterTheBitness) {
    machine.put(PropertyList, xmlVersion("4.3.0"));
    expectHeader(headerRecords("4.3.0"));
}

TEST_F(Header, NamesTheVersionFromABinaryPropertyList) {
    machine.put(PropertyList, binaryVersion());
    expectHeader(headerRecords("4.3.0"));
}

TEST_F(Header, NamesAnyTextThatIsTheVersion) {
    machine.put(PropertyList, xmlVersion("4.3 %s \xc3\xa4 &amp; later"));
    expectHeader(headerRecords("4.3 %s \xc3\xa4 & later"));
}

TEST_F(Header, HasNoVersionOfAnApplicationThatHasNone) {
    machine.put(PropertyList, xmlPropertyList("<key>CFBundleVersion</key><string>4.3.0.256</string>"));
    expectHeader(headerRecords());
}

TEST_F(Header, HasNoVersionOfAnApplicationWithoutAPropertyList) {
    machine.makeFolder(ProductFolder + "/HCD/Halcyra.app/Contents");
    expectHeader(headerRecords());
}

TEST_F(Header, HasNoVersionFromADamagedPropertyList) {
    machine.put(PropertyList, xmlVersion("4.3.0").substr(0, 250));
    expectHeader(headerRecords());
}

TEST_F(Header, HasNoVersionOfAnApplicationInAnotherPlace) {
    machine.put("/Applications/Halcyra.app/Contents/Info.plist", xmlVersion("4.3.0"));
    machine.put(ProductFolder + "/Halcyra.app/Contents/Info.plist", xmlVersion("4.3.0"));
    expectHeader(headerRecords());
}

TEST_F(Header, NamesTheVersionThatIsInstalledAtEachRotation) {
    machine.put(PropertyList, xmlVersion("4.3.0"));
    expectHeader(headerRecords("4.3.0"));
    machine.put(PropertyList, xmlVersion("4.4.1"));
    expectHeader(headerRecords("4.4.1"));
}

TEST_F(Header, HasTheContextsOfTheRecordThatFollowsAndNoDetails) {
    const std::array<std::string, 6> contexts = {"", "HCD", "HCDCustomHook", "", "", ""};
    const std::vector<LogRecord> records = freshHeader();
    ASSERT_THAT(records, SizeIs(headerSize()));
    for (const LogRecord& record : records) {
        EXPECT_EQ(record.contexts, contexts) << record.message;
    }
}

TEST_F(Header, IsWrittenByTheThreadOfTheRecordThatFollows) {
    const std::vector<LogRecord> records = freshLog();
    ASSERT_THAT(records, SizeIs(headerSize() + 2));
    for (const LogRecord& record : records) {
        EXPECT_EQ(record.thread, records.back().thread) << record.message;
    }
}

TEST_F(Header, IsAtInfoWhenTheMarkersAskForMore) {
    machine.put(LogsFolder + "/ELMU.debug", "");
    fillLog(DebugLogLimit);
    install();
    const std::vector<LogRecord> records = recordsOf(machine.read(Log));
    ASSERT_THAT(records.size(), Ge(headerSize()));
    for (std::size_t index = 0; index < headerSize(); ++index) {
        EXPECT_EQ(records[index].level, "INFO") << records[index].message;
    }
}

TEST_F(Header, IsTheSameWithTheLogOfAnUninstall) {
    fillLog();
    uninstall();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(afterHeader({parsing(1), Deleted})));
}

TEST_P(LocaleInTheHeader, FollowsTheEnvironment) {
    for (const auto& [name, value] : GetParam().variables) {
        machine.setEnvironment(name, value);
    }
    expectHeader(headerRecords(std::nullopt, GetParam().locale));
}

INSTANTIATE_TEST_SUITE_P(
    Environments, LocaleInTheHeader,
    testing::Values(
        Languages{"Nothing", {}, "en_US"},
        Languages{"EmptyVariables", {{"LC_ALL", ""}, {"LANG", ""}}, "en_US"},
        Languages{"C", {{"LANG", "C"}}, "en_US"}, Languages{"CWithCodeset", {{"LANG", "C.UTF-8"}}, "en_US"},
        Languages{"Posix", {{"LC_ALL", "POSIX"}, {"LANG", "de_DE.UTF-8"}}, "en_US"},
        Languages{"Lang", {{"LANG", "de_DE.UTF-8"}}, "de_DE"},
        Languages{"RegionThatIsNotOffered", {{"LANG", "de_AT.UTF-8"}}, "de_DE"},
        Languages{"SecondRegion", {{"LANG", "fr_CA.UTF-8"}}, "fr_CA"},
        Languages{"Modifier", {{"LANG", "en_GB@euro"}}, "en_GB"},
        Languages{"LanguageAlone", {{"LANG", "sv"}}, "sv_SE"},
        Languages{"Portuguese", {{"LANG", "pt_PT.UTF-8"}}, "pt_BR"},
        Languages{"HongKong", {{"LANG", "zh_HK.UTF-8"}}, "zh_TW"},
        Languages{"ChineseScript", {{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "zh_Hans_CN"}}, "zh_CN"},
        Languages{"UnknownLanguage", {{"LANG", "xx_YY.UTF-8"}}, "en_US"},
        Languages{"MessagesBeforeLang", {{"LC_MESSAGES", "it_IT.UTF-8"}, {"LANG", "de_DE.UTF-8"}}, "it_IT"},
        Languages{"AllBeforeMessages", {{"LC_ALL", "ko_KR.UTF-8"}, {"LC_MESSAGES", "it_IT.UTF-8"}}, "ko_KR"},
        Languages{"ListOfLanguages", {{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "ja"}}, "ja_JP"},
        Languages{"ListInItsOrder", {{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "xx:nb:da"}}, "nb_NO"},
        Languages{"ListWithoutAKnownOne", {{"LANG", "da_DK.UTF-8"}, {"LANGUAGE", "xx:yy"}}, "da_DK"},
        Languages{"ListInTheCLocale", {{"LANG", "C"}, {"LANGUAGE", "ja"}}, "en_US"},
        Languages{"Hebrew", {{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "he:de"}}, "en_IL"},
        Languages{"HebrewOfARegion", {{"LANG", "he_IL.UTF-8"}}, "en_US"},
        Languages{"ArabicInTunisia", {{"LANGUAGE", "ar"}, {"LC_ALL", "ar_TN.UTF-8"}}, "fr_MA"},
        Languages{"ArabicInAlgeria", {{"LANGUAGE", "ar"}, {"LC_CTYPE", "ar_DZ"}, {"LANG", "ar_EG"}}, "fr_MA"},
        Languages{"ArabicInMorocco", {{"LANGUAGE", "ar"}, {"LANG", "ar_MA.UTF-8"}}, "fr_MA"},
        Languages{"ArabicInEgypt", {{"LANGUAGE", "ar"}, {"LANG", "ar_EG.UTF-8"}}, "en_AE"},
        Languages{"ArabicElsewhere", {{"LANGUAGE", "ar"}, {"LANG", "de_DE.UTF-8"}}, "en_AE"},
        Languages{"ArabicOfARegion", {{"LANGUAGE", "ar_EG:fi"}, {"LANG", "en_US.UTF-8"}}, "fi_FI"}),
    nameOf);
