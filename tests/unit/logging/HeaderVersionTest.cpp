#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogHome.h"
#include <elmu/logging/LogHeader.h>
#include <elmu/logging/LogTargetDefault.h>

namespace {

namespace fs = std::filesystem;

using elmu::LogTargetDefault;
using platform::FolderDomain;
using platform::FolderKind;
using scripted::host;

const std::string versionEntry = "<key>CFBundleShortVersionString</key><string>4.3.0</string>";

/// A machine with an application bundle beside its utilities, or without.
class VersionInTheHeader : public testing::Test {
  protected:
    VersionInTheHeader() {
        host().folders[{FolderDomain::Local, FolderKind::Utilities}] = home / "Applications/Utilities";
    }

    void install(const std::string& entries) const {
        support::writeFile(bundle + "/Contents/Info.plist",
                           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>" +
                               entries + "</dict>\n</plist>\n");
    }

    /// The application's version in the header of a new target.
    static std::optional<std::string> version() { return versionIn(LogTargetDefault("header")); }

    static std::optional<std::string> versionIn(const LogTargetDefault& target) {
        const auto& fields = target.storedHeader.fields;
        const auto field = fields.find("HCD Version: ");
        return field == fields.end() ? std::nullopt : std::optional(field->second);
    }

    support::LogHome home;
    const std::string bundle = home / "Applications/Utilities/Korvane Halcyra/HCD/Halcyra.app";
};

TEST_F(VersionInTheHeader, IsThatOfTheApplication) {
    install(versionEntry);
    EXPECT_EQ(version(), "4.3.0");
}

TEST_F(VersionInTheHeader, StandsInTheThirdOfSevenLines) {
    install(versionEntry);
    const auto lines = elmu::headerLines(LogTargetDefault("header").storedHeader);
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[2], "HCD Version: 4.3.0");
}

TEST_F(VersionInTheHeader, IsMissingWithoutAnApplication) { EXPECT_EQ(version(), std::nullopt); }

TEST_F(VersionInTheHeader, IsMissingForAnApplicationWithoutOne) {
    install("<key>CFBundleName</key><string>Halcyra</string>");
    EXPECT_EQ(version(), std::nullopt);
}

TEST_F(VersionInTheHeader, IsMissingForAnApplicationWithoutAPropertyList) {
    fs::create_directories(bundle);
    EXPECT_EQ(version(), std::nullopt);
}

TEST_F(VersionInTheHeader, IsMissingForAnApplicationWithAnUnreadablePropertyList) {
    support::writeFile(bundle + "/Contents/Info.plist", "not a property list");
    EXPECT_EQ(version(), std::nullopt);
}

TEST_F(VersionInTheHeader, IsEmptyForAnApplicationWithAnEmptyOne) {
    install("<key>CFBundleShortVersionString</key><string></string>");
    EXPECT_EQ(version(), "");
}

TEST_F(VersionInTheHeader, IsMissingWithoutAFolderOfUtilities) {
    install(versionEntry);
    host().folders.clear();
    EXPECT_EQ(version(), std::nullopt);
}

TEST_F(VersionInTheHeader, IsMissingForAnApplicationElsewhere) {
    support::writeFile(home / "Applications/Utilities/HCD/Halcyra.app/Contents/Info.plist",
                       "<plist version=\"1.0\"><dict>" + versionEntry + "</dict></plist>");
    EXPECT_EQ(version(), std::nullopt);
}

TEST_F(VersionInTheHeader, IsThatOfTheTimeWhenTheTargetWasMade) {
    const LogTargetDefault target("header");
    install(versionEntry);
    EXPECT_EQ(versionIn(target), std::nullopt);
}

TEST_F(VersionInTheHeader, IsAmongTheFactsOfTheMachine) {
    install(versionEntry);
    EXPECT_EQ(elmu::currentHeaderFacts().productVersion, "4.3.0");
}

} // namespace
