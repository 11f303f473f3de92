#pragma once

#include <string>

#include <gtest/gtest.h>

namespace attack {

/// Why no attack can be played on this system; empty if it can. The program sets it before tests run.
inline std::string obstacle;

/// A test in the machine, in which this process is root and the tool a program beside it.
class AttackTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!obstacle.empty()) {
            GTEST_SKIP() << obstacle;
        }
    }
};

} // namespace attack
