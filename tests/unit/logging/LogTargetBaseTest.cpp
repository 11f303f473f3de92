#include <algorithm>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogHome.h"
#include "support/RecordingTarget.h"
#include "support/VirtualPlace.h"

namespace {

using elmu::LogTargetBase;
using support::LogHome;
using support::RecordingTarget;

class BaseTarget : public testing::Test {
  protected:
    LogHome home;
    RecordingTarget target{nullptr};
};

TEST_F(BaseTarget, StartsWithoutAnIdentifier) {
    EXPECT_EQ(target.identifier, "");
    EXPECT_EQ(target.getIdentifier(), "");
}

TEST_F(BaseTarget, StartsWithABarBetweenBlanksAsSeparator) { EXPECT_EQ(target.separator, " | "); }

TEST_F(BaseTarget, StartsWithTheLibrarysOwnFileNameAndNoPath) {
    EXPECT_EQ(target.logFileName, "ELMU.log");
    EXPECT_EQ(target.logFilePath, "");
}

TEST_F(BaseTarget, StartsAtInfo) {
    EXPECT_EQ(target.logLevel, elmu::INFO);
    EXPECT_EQ(target.getLogLevel(), elmu::INFO);
}

TEST_F(BaseTarget, StartsWithAClosedStream) {
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_FALSE(target.streamAttached);
}

TEST_F(BaseTarget, StartsWithAUsableFile) { EXPECT_TRUE(target.logFileValid); }

TEST_F(BaseTarget, StartsWithoutRegistrations) {
    EXPECT_EQ(target.refCount, 0);
    EXPECT_EQ(target.getRefCount(), 0);
}

TEST_F(BaseTarget, StartsWithAFreeMutex) {
    ASSERT_EQ(::pthread_mutex_trylock(&target.refCountMutex), 0);
    ::pthread_mutex_unlock(&target.refCountMutex);
}

TEST_F(BaseTarget, KeepsItsFieldsInTheirOrder) {
    const std::vector<const void*> fields{&target.identifier,   &target.separator,      &target.logFileName,
                                          &target.logFilePath,  &target.logLevel,       &target.stream,
                                          &target.logFileValid, &target.streamAttached, &target.refCount,
                                          &target.refCountMutex};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
}

TEST_F(BaseTarget, KeepsItsVirtualOperationsInTheirOrder) {
    const auto first = support::placeOf(&LogTargetBase::SetStreamHandle);
    EXPECT_EQ(support::placeOf(&LogTargetBase::onRegisterTarget),
              first + 3); // behind the two of the destructor
    EXPECT_EQ(support::placeOf(&LogTargetBase::onUnregisterTarget), first + 4);
    EXPECT_EQ(support::placeOf(&LogTargetBase::writeLog), first + 5);
    EXPECT_EQ(support::placeOf(&LogTargetBase::logHeader), first + 6);
    EXPECT_EQ(support::placeOf(&LogTargetBase::WriteStream), first + 7);
}

TEST_F(BaseTarget, IsAbstractAndDestroyedThroughItsBase) {
    EXPECT_TRUE(std::is_abstract_v<LogTargetBase>);
    EXPECT_TRUE(std::has_virtual_destructor_v<LogTargetBase>);
}

TEST_F(BaseTarget, TakesAnIdentifier) {
    EXPECT_TRUE(target.setIdentifier("HCDCustomHook"));
    EXPECT_EQ(target.getIdentifier(), "HCDCustomHook");
    EXPECT_EQ(&target.getIdentifier(), &target.identifier);
}

TEST_F(BaseTarget, TakesAnEmptyIdentifier) {
    target.setIdentifier("earlier");
    EXPECT_TRUE(target.setIdentifier(""));
    EXPECT_EQ(target.getIdentifier(), "");
}

TEST_F(BaseTarget, RefusesANullIdentifierAndKeepsItsOwn) {
    target.setIdentifier("earlier");
    EXPECT_FALSE(target.setIdentifier(nullptr));
    EXPECT_EQ(target.getIdentifier(), "earlier");
}

TEST_F(BaseTarget, MayBeGivenItsOwnIdentifier) {
    target.setIdentifier("an identifier too long for the string itself");
    EXPECT_TRUE(target.setIdentifier(target.getIdentifier().c_str()));
    EXPECT_EQ(target.getIdentifier(), "an identifier too long for the string itself");
}

TEST_F(BaseTarget, CountsRegistrationsUpAndDown) {
    target.incrementRefCount();
    target.incrementRefCount();
    EXPECT_EQ(target.getRefCount(), 2);
    target.decrementRefCount();
    EXPECT_EQ(target.getRefCount(), 1);
}

TEST_F(BaseTarget, CountsBelowZero) {
    target.decrementRefCount();
    EXPECT_EQ(target.getRefCount(), -1);
}

TEST_F(BaseTarget, LosesNoCountWhenSeveralThreadsCount) {
    const auto count = [this] {
        for (int i = 0; i < 20000; ++i) {
            target.incrementRefCount();
        }
    };
    std::thread first(count);
    std::thread second(count);
    first.join();
    second.join();
    EXPECT_EQ(target.getRefCount(), 40000);
}

TEST_F(BaseTarget, CountsUnderItsMutex) {
    ASSERT_EQ(::pthread_mutex_lock(&target.refCountMutex), 0);
    std::thread counter([this] { target.incrementRefCount(); });
    EXPECT_EQ(target.getRefCount(), 0) << "read without the mutex, while the counter is kept out";
    ::pthread_mutex_unlock(&target.refCountMutex);
    counter.join();
    EXPECT_EQ(target.getRefCount(), 1);
}

} // namespace
