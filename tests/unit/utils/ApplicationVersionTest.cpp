#include <string>

#include <gtest/gtest.h>

#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"
#include <elmu/utils/FileUtils.h>

namespace fs = std::filesystem;

using ELMUUtils::FileUtils;
using support::Receiver;
using support::ReportReceivers;
using support::TempFolder;
using support::WorkingFolder;
using support::writeFile;

namespace {

std::string xmlPropertyList(const std::string& root) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n" +
           root + "\n</plist>\n";
}

std::string dictionary(const std::string& entries) { return xmlPropertyList("<dict>" + entries + "</dict>"); }

std::string versioned(const std::string& value) {
    return dictionary("<key>CFBundleName</key><string>Halcyra</string>"
                      "<key>CFBundleShortVersionString</key>" +
                      value + "<key>CFBundleVersion</key><string>4.3.0.256</string>");
}

/// A binary list of CFBundleShortVersionString ("4.3.0") and CFBundleName ("Halcyra").
std::string binaryPropertyList() {
    using namespace std::string_literals;
    const std::string header = "bplist00";
    const std::string objects = "\xd2\x01\x02\x03\x04"s +
                                "_\x10\x1a"
                                "CFBundleShortVersionString\\CFBundleNameU4.3.0WHalcyra";
    const std::string offsets = "\x08\r*7="s;
    const std::string trailer = "\0\0\0\0\0\0\x01\x01"
                                "\0\0\0\0\0\0\0\x05"
                                "\0\0\0\0\0\0\0\0"
                                "\0\0\0\0\0\0\0E"s;
    return header + objects + offsets + trailer;
}

class ApplicationVersion : public testing::Test {
  protected:
    void writeList(const std::string& content) const { writeFile(bundle + "/Contents/Info.plist", content); }

    std::string versionOf(const std::string& path) const {
        std::string version = "before";
        return FileUtils::getApplicationVersion(path, version) ? version : "(none)";
    }
    std::string versionOf() const { return versionOf(bundle); }

    void expectNoVersion() const {
        std::string version = "before";
        EXPECT_FALSE(FileUtils::getApplicationVersion(bundle, version));
        EXPECT_EQ(version, "before");
    }

    TempFolder temp;
    std::string bundle = temp / "Halcyra.app";
};

} // namespace

TEST_F(ApplicationVersion, IsTheShortVersionOfAnXmlList) {
    writeList(versioned("<string>4.3.0</string>"));
    EXPECT_EQ(versionOf(), "4.3.0");
}

TEST_F(ApplicationVersion, IsTheShortVersionOfABinaryList) {
    writeList(binaryPropertyList());
    EXPECT_EQ(versionOf(), "4.3.0");
}

TEST_F(ApplicationVersion, IsFoundBehindATrailingSlash) {
    writeList(versioned("<string>4.3.0</string>"));
    EXPECT_EQ(versionOf(bundle + "/"), "4.3.0");
}

TEST_F(ApplicationVersion, IsFoundFromTheWorkingFolder) {
    writeList(versioned("<string>4.3.0</string>"));
    WorkingFolder inside(temp.path());
    EXPECT_EQ(versionOf("Halcyra.app"), "4.3.0");
}

TEST_F(ApplicationVersion, IsFoundThroughALink) {
    writeList(versioned("<string>4.3.0</string>"));
    fs::create_directory_symlink(bundle, temp / "link.app");
    EXPECT_EQ(versionOf(temp / "link.app"), "4.3.0");
}

TEST_F(ApplicationVersion, MayBeEmpty) {
    writeList(versioned("<string></string>"));
    EXPECT_EQ(versionOf(), "");
}

TEST_F(ApplicationVersion, KeepsTextOutsideAscii) {
    writeList(versioned("<string>4.3 \xc3\xa4\xe2\x82\xac &amp; \xf0\x9f\x8d\x80</string>"));
    EXPECT_EQ(versionOf(), "4.3 \xc3\xa4\xe2\x82\xac & \xf0\x9f\x8d\x80");
}

TEST_F(ApplicationVersion, KeepsAVeryLongTextWhole) {
    const std::string text(100000, '4');
    writeList(versioned("<string>" + text + "</string>"));
    EXPECT_EQ(versionOf(), text);
}

TEST_F(ApplicationVersion, IsMissingWithoutABundle) { expectNoVersion(); }

TEST_F(ApplicationVersion, IsMissingWithoutAList) {
    fs::create_directories(bundle + "/Contents");
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsMissingForAnEmptyPath) {
    writeFile(temp / "Contents/Info.plist", versioned("<string>4.3.0</string>"));
    WorkingFolder inside(temp.path());
    EXPECT_EQ(versionOf(""), "(none)");
}

TEST_F(ApplicationVersion, IsMissingWhenTheListIsAFolder) {
    fs::create_directories(bundle + "/Contents/Info.plist");
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsMissingWhenTheListLacksTheKey) {
    writeList(dictionary("<key>CFBundleVersion</key><string>4.3.0.256</string>"));
    expectNoVersion();
    writeList(dictionary(""));
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsNeverTakenFromANestedDictionary) {
    writeList(dictionary("<key>Inner</key><dict><key>CFBundleShortVersionString</key>"
                         "<string>4.3.0</string></dict>"));
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsNeverAKeyOfAnotherCase) {
    writeList(dictionary("<key>cfbundleshortversionstring</key><string>4.3.0</string>"));
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsMissingWhenTheListIsEmpty) {
    writeList("");
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsMissingWhenTheListIsGarbage) {
    writeList("\x01\x02 no property list \xff");
    expectNoVersion();
    writeList("bplist00 but not really");
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsMissingWhenABinaryListIsCutOff) {
    const std::string whole = binaryPropertyList();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        writeList(whole.substr(0, length));
        expectNoVersion();
    }
}

TEST_F(ApplicationVersion, IsMissingWhenAnXmlListIsCutOff) {
    const std::string whole = versioned("<string>4.3.0</string>");
    writeList(whole.substr(0, whole.find("4.3.0")));
    expectNoVersion();
}

TEST_F(ApplicationVersion, IsMissingWhenTheFileMayNotBeRead) {
    writeList(versioned("<string>4.3.0</string>"));
    fs::permissions(bundle + "/Contents/Info.plist", fs::perms(0));
    fs::permissions(temp.path(), fs::perms(0755));
    support::asOrdinaryUser([this] { expectNoVersion(); });
}

TEST_F(ApplicationVersion, IsReportedToNobodyWhenItIsMissing) {
    ReportReceivers receivers(Receiver::ProcessWideFunction);
    expectNoVersion();
    writeList("garbage");
    expectNoVersion();
    EXPECT_TRUE(receivers.records().empty());
}

class ApplicationVersionOfAnotherKind : public ApplicationVersion,
                                        public testing::WithParamInterface<const char*> {};

TEST_P(ApplicationVersionOfAnotherKind, IsMissing) {
    writeList(versioned(GetParam()));
    expectNoVersion();
}

INSTANTIATE_TEST_SUITE_P(Values, ApplicationVersionOfAnotherKind,
                         testing::Values("<integer>4</integer>", "<real>4.3</real>", "<true/>",
                                         "<data>NC4zLjA=</data>", "<date>2026-11-16T04:49:07Z</date>",
                                         "<array><string>4.3.0</string></array>",
                                         "<dict><key>a</key><string>4.3.0</string></dict>"));

class ApplicationVersionOfAnotherRoot : public ApplicationVersion,
                                        public testing::WithParamInterface<const char*> {};

TEST_P(ApplicationVersionOfAnotherRoot, IsMissing) {
    writeList(xmlPropertyList(GetParam()));
    expectNoVersion();
}

INSTANTIATE_TEST_SUITE_P(Roots, ApplicationVersionOfAnotherRoot,
                         testing::Values("<array><string>CFBundleShortVersionString</string>"
                                         "<string>4.3.0</string></array>",
                                         "<string>CFBundleShortVersionString</string>",
                                         "<integer>4</integer>", ""));
