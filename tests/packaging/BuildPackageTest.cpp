#include "packaging/PackageBuilder.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace packaging;
using e2e::Outcome;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class BuildPackage : public testing::Test {
  protected:
    /// Builds with `options`, which must succeed, and opens the package.
    Package built(const std::vector<std::string>& options = {}) const {
        const Outcome outcome = builder.build(options);
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        return builder.open(builder.output() + "/HCDCustomHook-4.3.0.256.pkg");
    }

    /// Builds with `options`, which must be refused with `sentence` alone before anything is made.
    void expectRefusal(const std::string& sentence, const std::vector<std::string>& options = {}) const {
        const Outcome outcome = builder.build(options);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "build-package.sh: " + sentence + "\n");
        EXPECT_FALSE(fs::exists(builder.output()));
    }

    /// Builds with `options`, which must fail with `sentence` and leave nothing.
    void expectFailure(const std::string& sentence, const std::vector<std::string>& options = {}) const {
        const Outcome outcome = builder.build(options);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors, HasSubstr("build-package.sh: " + sentence + "\n"));
        EXPECT_THAT(namesIn(builder.output()), IsEmpty());
    }

    PackageBuilder builder;
};

class MissingCommand : public BuildPackage, public testing::WithParamInterface<std::string> {};

} // namespace

TEST_F(BuildPackage, PutsTheToolAndItsRemovalIntoThePayload) {
    const Package package = built();
    EXPECT_THAT(namesIn(package.payload), ElementsAre("HCDCustomHook", "uninstall.sh"));
    EXPECT_EQ(support::readFile(package.payload + "/HCDCustomHook"), "the tool");
    EXPECT_EQ(support::readFile(package.payload + "/uninstall.sh"),
              support::readFile(HCD_SOURCES "/packaging/macos/uninstall.sh"));
}

TEST_F(BuildPackage, PutsOnlyPostinstallIntoTheScripts) {
    const Package package = built();
    EXPECT_THAT(namesIn(package.scripts), ElementsAre("postinstall"));
    EXPECT_EQ(support::readFile(package.scripts + "/postinstall"),
              support::readFile(HCD_SOURCES "/packaging/macos/scripts/postinstall"));
}

TEST_F(BuildPackage, LetsEverybodyReadAndRunWhatItPacksWhateverTheUmask) {
    fs::permissions(builder.tool(), fs::perms::owner_all);
    const support::ScopedUmask strict(077);
    const Package package = built();
    EXPECT_EQ(support::modeOf(package.payload), 0755U);
    EXPECT_EQ(support::modeOf(package.payload + "/HCDCustomHook"), 0755U);
    EXPECT_EQ(support::modeOf(package.payload + "/uninstall.sh"), 0755U);
    EXPECT_EQ(support::modeOf(package.scripts + "/postinstall"), 0755U);
}

TEST_F(BuildPackage, HasRootOwnTheFilesInTheFolderOfTheTool) {
    built();
    EXPECT_THAT(builder.callOf("pkgbuild"), AllOf(HasSubstr(" <--ownership> <recommended>"),
                                                  HasSubstr(" <--install-location> <" + Location + ">"),
                                                  HasSubstr(" <--identifier> <" + Identifier + ">")));
}

TEST_F(BuildPackage, TakesTheVersionOfTheProject) {
    const Package package = built();
    EXPECT_THAT(builder.callOf("pkgbuild"), HasSubstr(" <--version> <4.3.0.256>"));
    EXPECT_THAT(support::readFile(package.distribution), HasSubstr(" version=\"4.3.0.256\">"));
}

TEST_F(BuildPackage, NamesTheComponentAndTheToolsArchitecturesInTheDistribution) {
    EXPECT_THAT(
        support::readFile(built().distribution),
        AllOf(HasSubstr(" hostArchitectures=\"x86_64,arm64\""),
              HasSubstr("<pkg-ref id=\"" + Identifier + "\" version=\"4.3.0.256\">HCDCustomHook.pkg<"),
              Not(HasSubstr("@"))));
}

TEST_F(BuildPackage, OffersTheRunningSystemAsTheOnlyDestination) {
    EXPECT_THAT(support::readFile(built().distribution),
                HasSubstr("<domains enable_anywhere=\"false\" enable_currentUserHome=\"false\" "
                          "enable_localSystem=\"true\"/>"));
}

TEST_F(BuildPackage, PrintsThePathOfThePackageAlone) {
    EXPECT_EQ(builder.build().output, builder.output() + "/HCDCustomHook-4.3.0.256.pkg\n");
}

TEST_F(BuildPackage, LeavesOnlyThePackage) {
    built();
    EXPECT_THAT(namesIn(builder.output()), ElementsAre("HCDCustomHook-4.3.0.256.pkg"));
}

TEST_F(BuildPackage, TakesAnotherToolVersionAndFolderWithBlanksInTheirNames) {
    builder.instruct("my tools/a tool", "another tool");
    fs::permissions(builder / "my tools/a tool", fs::perms::owner_all);
    const std::string folder = builder / "my packages/new ones";
    const Outcome outcome =
        builder.build({"--output", folder, "--version", "5.0", "--tool", builder / "my tools/a tool"});
    EXPECT_EQ(outcome.output, folder + "/HCDCustomHook-5.0.pkg\n");
    const Package package = builder.open(folder + "/HCDCustomHook-5.0.pkg");
    EXPECT_EQ(support::readFile(package.payload + "/HCDCustomHook"), "another tool");
    EXPECT_THAT(support::readFile(package.distribution), HasSubstr(" version=\"5.0\">"));
}

TEST_F(BuildPackage, ReplacesAnOlderPackageOfTheSameVersion) {
    built();
    builder.putTool("a newer tool");
    EXPECT_EQ(builder.build().status, 0);
    fs::remove_all(builder / "opened product");
    fs::remove_all(builder / "opened component");
    const Package package = builder.open(builder.output() + "/HCDCustomHook-4.3.0.256.pkg");
    EXPECT_EQ(support::readFile(package.payload + "/HCDCustomHook"), "a newer tool");
}

TEST_F(BuildPackage, SignsNothingUnasked) {
    const Package package = built();
    EXPECT_EQ(support::readFile(package.payload + "/HCDCustomHook"), "the tool");
    for (const std::string& call : builder.calls()) {
        EXPECT_THAT(call, AllOf(Not(StartsWith("codesign ")), Not(HasSubstr("sign>"))));
    }
}

TEST_F(BuildPackage, SignsThePackedToolForTheHardenedRuntimeWithATimestamp) {
    const Package package = built({"--sign-tool", "Developer ID Application: Korvane (K1)"});
    EXPECT_EQ(support::readFile(package.payload + "/HCDCustomHook"), "the toolsigned");
    EXPECT_THAT(builder.callOf("codesign"),
                AllOf(HasSubstr(" <--options> <runtime>"), HasSubstr(" <--timestamp>"),
                      HasSubstr(" <--sign> <Developer ID Application: Korvane (K1)>")));
}

TEST_F(BuildPackage, LeavesTheBuiltToolUnsigned) {
    built({"--sign-tool", "K1"});
    EXPECT_EQ(support::readFile(builder.tool()), "the tool");
}

TEST_F(BuildPackage, SignsTheProductWithATimestamp) {
    built({"--sign-package", "Developer ID Installer: Korvane (K1)"});
    EXPECT_THAT(builder.callOf("productbuild"),
                HasSubstr(" <--timestamp> <--sign> <Developer ID Installer: Korvane (K1)>"));
}

TEST_F(BuildPackage, WarnsOfAToolForOneArchitectureAndPacksIt) {
    for (const std::string architecture : {"arm64", "x86_64"}) {
        builder.instruct("architectures", architecture + "\n");
        const Outcome outcome = builder.build();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.errors,
                    StartsWith("build-package.sh: Warning: the tool is not universal, it is for " +
                               architecture + " only.\n"));
        EXPECT_THAT(namesIn(builder.output()), ElementsAre("HCDCustomHook-4.3.0.256.pkg"));
    }
}

TEST_F(BuildPackage, DoesNotWarnOfAUniversalToolWhateverTheOrder) {
    builder.instruct("architectures", "arm64 x86_64\n");
    EXPECT_THAT(builder.build().errors, Not(HasSubstr("Warning")));
}

TEST_F(BuildPackage, RefusesAMissingTool) {
    fs::remove(builder.tool());
    expectRefusal("There is no tool at " + builder.tool() + "; build it with packaging/macos/build-tool.sh.");
}

TEST_F(BuildPackage, RefusesAFolderInTheToolsPlace) {
    fs::remove(builder.tool());
    fs::create_directory(builder.tool());
    expectRefusal("There is no tool at " + builder.tool() + "; build it with packaging/macos/build-tool.sh.");
}

TEST_F(BuildPackage, RefusesAToolThatIsNotExecutable) {
    fs::permissions(builder.tool(), fs::perms::owner_read);
    expectRefusal("The tool " + builder.tool() + " is not executable.");
}

TEST_F(BuildPackage, RefusesAProgramOfAnotherSystem) {
    builder.remove("architectures");
    expectFailure("The tool " + builder.tool() + " is not a program for macOS.");
    EXPECT_FALSE(fs::exists(builder.output()));
}

TEST_P(MissingCommand, IsNamedBeforeAnythingIsMade) {
    builder.remove("bin/" + GetParam());
    expectRefusal("There is no " + GetParam() +
                      " here: packages are built on a Mac with the command line developer tools.",
                  {"--sign-tool", "K1"});
}

INSTANTIATE_TEST_SUITE_P(BuildPackage, MissingCommand,
                         testing::Values("pkgbuild", "productbuild", "lipo", "codesign"),
                         [](const auto& command) { return command.param; });

TEST_F(BuildPackage, NeedsNoCodesignWhenNothingIsToBeSigned) {
    builder.remove("bin/codesign");
    EXPECT_EQ(builder.build().status, 0);
}

TEST_F(BuildPackage, RefusesAMalformedVersion) {
    for (const std::string version :
         {"4.3.0-beta", "v4", ".4", "4.", "4..3", ".", "4.3.0.256.1", "4 3", "4/3", "4\n5"}) {
        expectRefusal("The version \"" + version + "\" is not one to four numbers with dots between them.",
                      {"--version", version});
    }
}

TEST_F(BuildPackage, TakesVersionsOfOneToFourNumbers) {
    for (const std::string version : {"4", "4.3", "4.3.0", "10.20.30.40"}) {
        EXPECT_EQ(builder.build({"--version", version}).output,
                  builder.output() + "/HCDCustomHook-" + version + ".pkg\n");
    }
}

TEST_F(BuildPackage, ShowsItsUsageForAnUnknownOptionAndForAMissingValue) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--sign", "K1"}, {"--tool"}, {"--version", ""}, {"package"}};
    for (const auto& options : wrong) {
        const Outcome outcome = builder.build(options);
        EXPECT_EQ(outcome.status, 64) << options.front();
        EXPECT_THAT(outcome.errors, StartsWith("usage: build-package.sh ")) << options.front();
    }
    EXPECT_THAT(builder.calls(), IsEmpty());
}

TEST_F(BuildPackage, LeavesNothingWhenTheComponentFailsHalfWay) {
    builder.instruct("fail-pkgbuild");
    expectFailure("pkgbuild failed; no package was made.");
}

TEST_F(BuildPackage, LeavesNothingWhenTheProductFailsHalfWay) {
    builder.instruct("fail-productbuild");
    expectFailure("productbuild failed; no package was made.");
}

TEST_F(BuildPackage, LeavesNothingWhenTheToolCannotBeSigned) {
    builder.instruct("fail-codesign");
    expectFailure("codesign could not sign the tool; no package was made.", {"--sign-tool", "K1"});
    EXPECT_EQ(support::readFile(builder.tool()), "the tool");
}

TEST_F(BuildPackage, LeavesNothingWhenItIsInterrupted) {
    builder.instruct("interrupt-productbuild");
    EXPECT_NE(builder.build().status, 0);
    EXPECT_THAT(builder.callOf("productbuild"), HasSubstr("HCDCustomHook.pkg"));
    EXPECT_THAT(namesIn(builder.output()), IsEmpty());
}

TEST_F(BuildPackage, KeepsTheOlderPackageWhenItFails) {
    built();
    builder.instruct("fail-productbuild");
    EXPECT_EQ(builder.build().status, 1);
    EXPECT_THAT(namesIn(builder.output()), ElementsAre("HCDCustomHook-4.3.0.256.pkg"));
    fs::remove_all(builder / "opened product");
    fs::remove_all(builder / "opened component");
    builder.open(builder.output() + "/HCDCustomHook-4.3.0.256.pkg");
}

TEST_F(BuildPackage, PacksTheToolThatBuildToolBuilt) {
    fs::remove(builder.tool());
    const Outcome outcome = builder.run("build-tool.sh");
    EXPECT_EQ(outcome.output, builder.tool() + "\n");
    EXPECT_EQ(support::readFile(built().payload + "/HCDCustomHook"), "the built tool");
}

TEST_F(BuildPackage, HasTheToolBuiltForBothArchitecturesWithTheOptionsGiven) {
    EXPECT_EQ(builder.run("build-tool.sh", {"-G", "Ninja"}).status, 0);
    EXPECT_THAT(
        builder.calls(),
        ElementsAre(AllOf(StartsWith("cmake <-S> "), HasSubstr(" <-DCMAKE_BUILD_TYPE=Release>"),
                          HasSubstr(" <-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64>"), HasSubstr(" <-G> <Ninja>")),
                    StartsWith("cmake <--build> ")));
}

TEST_F(BuildPackage, TellsWhyTheToolCouldNotBeBuilt) {
    const auto failure = [this] {
        const Outcome outcome = builder.run("build-tool.sh");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        return outcome.errors;
    };
    builder.instruct("fail-cmake---build");
    EXPECT_EQ(failure(), "build-tool.sh: The tool could not be built; see above.\n");
    builder.instruct("fail-cmake--S");
    EXPECT_EQ(failure(), "build-tool.sh: The build could not be configured; see above.\n");
    builder.remove("bin/cmake");
    EXPECT_EQ(failure(), "build-tool.sh: There is no cmake; get it with: brew install cmake\n");
}
