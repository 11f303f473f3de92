#pragma once

#include <string>

#include <gtest/gtest.h>

#include "support/LogHome.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

namespace support {

/// A file target with a log of its own, not registered yet.
template <class Target = elmu::LogTargetDefault> class FileTargetTest : public testing::Test {
  protected:
    FileTargetTest() { EXPECT_TRUE(target.setLogFile("test.log", home.path().c_str())); }
    ~FileTargetTest() override { elmu::LoggingCore::getInstance()->unregisterTarget(&target); }

    bool enroll() { return elmu::LoggingCore::getInstance()->registerTarget(&target); }
    bool leave() { return elmu::LoggingCore::getInstance()->unregisterTarget(&target); }

    /// Writes `message`, finished as it is, under the lock.
    bool write(const char* message, elmu::Log_Level level = elmu::INFO) {
        return target.writeLog(level, "", "", "", "", "", "", message, nullptr, 0, true);
    }
    bool writeUnlocked(const char* message, elmu::Log_Level level = elmu::INFO) {
        return target.writeLog(level, "", "", "", "", "", "", message, nullptr, 0, false);
    }

    std::string content() const { return readFile(path); }
    /// The semaphore set of the log; -1 without one.
    int set() const { return semaphoreSetOf(path).value_or(-1); }

    LogHome home;
    std::string path = home / "test.log";
    Target target{"file-target"};
};

} // namespace support
