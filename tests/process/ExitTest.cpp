#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "support/Children.h"
#include "support/LogHome.h"
#include "support/Scopes.h"
#include "support/SemaphoreSets.h"
#include "support/StaticObjects.h"
#include "support/TempFolder.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

using statics::shown;
using support::answer;
using support::Child;

const char* const logName = "exit.log";

const statics::LastCaller lastCaller("program");
const statics::Member member("program");

elmu::LoggingCore& core() { return *elmu::LoggingCore::getInstance(); }

/// A file target that tells of its hooks and its end.
class Witness : public elmu::LogTargetDefault {
  public:
    Witness() : LogTargetDefault("exit") { setLogFile(logName, scripted::host().homeFolder.c_str()); }
    ~Witness() override { answer("target destroyed"); }

    bool onRegisterTarget() override {
        answer("register hook");
        return LogTargetDefault::onRegisterTarget();
    }
    bool onUnregisterTarget() override {
        answer("unregister hook");
        return LogTargetDefault::onUnregisterTarget();
    }
};

/// The static target, constructed by the first call.
Witness& target() {
    static Witness instance;
    return instance;
}

void speak() {
    elmu::Logger("exit", "", "", "", "").info("%s", "farewell");
    answer("spoke");
}

void join() { answer("registered " + shown(core().registerTarget(&target()))); }

void leave() { answer("unregistered " + shown(core().unregisterTarget(&target()))); }

/// Takes what the library knows of the machine, which it looks up in tables of its own.
void build() { answer("locale " + elmu::LogTargetDefault("late").storedHeader.fields.at("OS Locale: ")); }

/// Has a static object destroyed at exit that does `Action`: before all static objects that are there now.
template <void (*Action)()> void atDestruction() {
    struct Object {
        Object() = default;
        ~Object() { Action(); }
        Object(const Object&) = delete;
        Object& operator=(const Object&) = delete;
    };
    static const Object object;
}

/// Takes the steps of its arguments, in order, then exits: FOLDER STEP ...
const support::KnownRole exits("exits", [](const std::vector<std::string>& arguments) -> int {
    const std::map<std::string, std::function<void()>> steps{
        {"core", [] { core(); }},
        {"target", [] { target(); }},
        {"join", join},
        {"speak at destruction", atDestruction<speak>},
        {"join at destruction", atDestruction<join>},
        {"leave at destruction", atDestruction<leave>},
        {"build at destruction", atDestruction<build>},
        {"speak in a handler", [] { std::atexit(speak); }},
    };
    scripted::host().homeFolder = arguments.at(0);
    scripted::host().preferredLanguages = {"de"};
    for (std::size_t step = 1; step < arguments.size(); ++step) {
        steps.at(arguments[step])();
    }
    std::exit(0);
});

class Exit : public testing::Test {
  protected:
    /// Has a child take the steps and exit. What it says, a line each.
    std::string saidAfter(std::vector<std::string> steps) const {
        steps.insert(steps.begin(), {"exits", home.path()});
        Child child(steps);
        EXPECT_EQ(child.join(), 0);
        return child.unheard();
    }

    /// The messages in the log `name`, a line each.
    std::string messages(const std::string& name = logName) const {
        std::istringstream log(support::readFile(home / name));
        std::string all;
        for (std::string line; std::getline(log, line);) {
            all += line.substr(line.rfind(" | ") + 3) + "\n";
        }
        return all;
    }

    bool leftASemaphoreSet() const { return support::semaphoreSetOf(home / logName).has_value(); }

    const support::LogHome home;
};

TEST_F(Exit, WritesARecordOfADestructorWhileTheCoreLives) {
    EXPECT_EQ(saidAfter({"core", "target", "join", "leave at destruction", "speak at destruction"}),
              "register hook\nregistered true\n"
              "spoke\nunregister hook\nunregistered true\ntarget destroyed\n");
    EXPECT_EQ(messages(), "farewell\n");
    EXPECT_FALSE(leftASemaphoreSet());
}

TEST_F(Exit, DropsARecordOfADestructorAfterTheCore) {
    EXPECT_EQ(saidAfter({"target", "speak at destruction", "core", "join"}),
              "register hook\nregistered true\nspoke\ntarget destroyed\n");
    EXPECT_EQ(messages(), "");
    EXPECT_FALSE(leftASemaphoreSet());
}

TEST_F(Exit, DropsARecordAfterTheCoreAndTheTarget) {
    EXPECT_EQ(saidAfter({"speak at destruction", "target", "core", "join"}),
              "register hook\nregistered true\ntarget destroyed\nspoke\n");
    EXPECT_EQ(messages(), "");
}

TEST_F(Exit, WritesARecordOfAHandlerWhileTheCoreLives) {
    EXPECT_EQ(saidAfter({"target", "join", "speak in a handler"}),
              "register hook\nregistered true\nspoke\ntarget destroyed\n");
    EXPECT_EQ(messages(), "farewell\n");
}

TEST_F(Exit, DropsARecordOfAHandlerAfterTheCore) {
    EXPECT_EQ(saidAfter({"target", "speak in a handler", "join"}),
              "register hook\nregistered true\nspoke\ntarget destroyed\n");
    EXPECT_EQ(messages(), "");
}

TEST_F(Exit, RegistersATargetWhileTheCoreLives) {
    EXPECT_EQ(saidAfter({"target", "core", "join at destruction"}),
              "register hook\nregistered true\ntarget destroyed\n");
    EXPECT_FALSE(leftASemaphoreSet());
}

TEST_F(Exit, RefusesATargetAfterTheCoreWithoutAskingIt) {
    EXPECT_EQ(saidAfter({"target", "join at destruction", "core"}), "registered false\ntarget destroyed\n");
}

TEST_F(Exit, UnregistersAfterTheCoreWithoutAskingTheTarget) {
    EXPECT_EQ(saidAfter({"target", "leave at destruction", "join"}),
              "register hook\nregistered true\nunregistered true\ntarget destroyed\n");
    EXPECT_FALSE(leftASemaphoreSet());
}

TEST_F(Exit, MakesTheCoreWhenADestructorIsTheFirstToAskForIt) {
    EXPECT_EQ(saidAfter({"target", "speak at destruction", "join at destruction"}),
              "register hook\nregistered true\nspoke\ntarget destroyed\n");
    EXPECT_FALSE(leftASemaphoreSet());
}

TEST_F(Exit, LeavesTheLibraryAbleToBuildATargetToTheEnd) {
    EXPECT_EQ(saidAfter({"build at destruction", "target", "core"}), "target destroyed\nlocale de_DE\n");
}

TEST_F(Exit, ServesTheStaticObjectsOfAProgramAndOfASharedObject) {
    const support::ScopedVariable objects(statics::folderVariable, home.path().c_str());
    const std::string shared = statics::sharedName();
    EXPECT_EQ(saidAfter({}), "program: unregistered true\n"
                             "program last: registered true, unregistered true\n" +
                                 shared + ": unregistered true\n" + shared +
                                 " last: registered false, unregistered true\n");
    EXPECT_EQ(messages("program.log"), "constructed\ndestroyed\n");
    EXPECT_EQ(messages("program-last.log"), "last call\n");
    // Some systems destroy all that the program holds, the core too, before the objects of a shared object.
    EXPECT_THAT(messages(shared + ".log"), testing::AnyOf("constructed\n", "constructed\ndestroyed\n"));
    EXPECT_EQ(messages(shared + "-last.log"), "");
}

} // namespace
