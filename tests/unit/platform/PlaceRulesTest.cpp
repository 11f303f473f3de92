#include "../../../platform/posix/PlaceRules.h"

#include <gtest/gtest.h>

using namespace platform;

TEST(BundleOfExecutable, IsTheEnclosingApplication) {
    EXPECT_EQ(bundleOfExecutable("/d/X.app/Contents/MacOS/tool"), "/d/X.app");
    EXPECT_EQ(bundleOfExecutable("/A b.app/Contents/MacOS/A b"), "/A b.app");
    EXPECT_EQ(bundleOfExecutable("/X.app/Contents/MacOS/Y.app/Contents/MacOS/y"),
              "/X.app/Contents/MacOS/Y.app");
}

TEST(BundleOfExecutable, IsTheFolderOfABareProgram) {
    EXPECT_EQ(bundleOfExecutable("/usr/local/bin/tool"), "/usr/local/bin");
    EXPECT_EQ(bundleOfExecutable("/tool"), "/");
}

TEST(BundleOfExecutable, IsTheFolderWhereTheLayoutIsAnother) {
    for (const std::string folder :
         {"/d/X.app/Contents/Resources", "/d/X.app/MacOS", "/d/X/Contents/MacOS", "/d/X.apple/Contents/MacOS",
          "/d/.app/Contents/MacOS", "/d/X.app/contents/MacOS", "/d/X.app/Contents/MacOS/more", "/MacOS"}) {
        EXPECT_EQ(bundleOfExecutable(folder + "/tool"), folder);
    }
}

TEST(HomeNamed, HasNoTrailingSlash) {
    EXPECT_EQ(homeNamed("/home/ann"), "/home/ann");
    EXPECT_EQ(homeNamed("/home/ann//"), "/home/ann");
    EXPECT_EQ(homeNamed("/"), "/");
    EXPECT_EQ(homeNamed("///"), "/");
}

TEST(HomeNamed, IsEmptyUnlessThePathIsAbsolute) {
    EXPECT_EQ(homeNamed(""), "");
    EXPECT_EQ(homeNamed("home/ann"), "");
    EXPECT_EQ(homeNamed("~"), "");
}
