#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "attacker/AttackTest.h"
#include "attacker/Ground.h"
#include "e2e/FullLog.h"
#include "e2e/Machine.h"

// The tests run inside a throw-away machine: the program starts itself again in one.

namespace {

const std::string Inside = "/opt/hcd/attacker_tests";
constexpr unsigned DiskSize = 512 * 1024 * 1024;
constexpr int NoMachine = 69;

std::string ownProgram() { return std::filesystem::read_symlink("/proc/self/exe").string(); }

std::string sessionOnTheFirstSeat() {
    const std::string id = std::to_string(attack::User);
    return "IS_SEAT0=1\nCAN_MULTI_SESSION=1\nCAN_TTY=1\nCAN_GRAPHICAL=1\nACTIVE=c2\nACTIVE_UID=" + id +
           "\nSESSIONS=c2\nUIDS=" + id + "\n";
}

std::string sessionOfTheUser() {
    return "UID=" + std::to_string(attack::User) +
           "\nUSER=mira\nACTIVE=1\nIS_DISPLAY=1\nSTATE=active\nREMOTE=0\nTYPE=x11\nCLASS=user\n"
           "SCOPE=session-c2.scope\nSEAT=seat0\nVTNR=1\nPOSITION=1\nLEADER=7\n";
}

/// A machine whose console user is the attacker. Users and the product have file systems in memory.
void furnish(e2e::Machine& machine) {
    machine.put("/etc/passwd", "root:x:0:0:System Administrator:/var/root:/bin/sh\n"
                               "mira:x:1500:1600:Mira Quint:" +
                                   attack::Home +
                                   ":/bin/sh\n"
                                   "other:x:1502:1600::/Users/other:/bin/sh\n");
    machine.put("/etc/group", "wheel:x:0:\nstaff:x:1600:\n");
    machine.put("/run/systemd/seats/seat0", sessionOnTheFirstSeat());
    machine.put("/run/systemd/sessions/c2", sessionOfTheUser());
    machine.add({"--ro-bind", ownProgram(), Inside});
    for (const char* place : {"/Users", "/Library", "/Applications"}) {
        machine.makeTiny(place, DiskSize);
    }
    machine.setEnvironment("HOME", "/var/root");
    machine.setEnvironment("TZ", e2e::zone(e2e::hoursToNoon())); // no test sees the date change
    machine.setEnvironment("ASAN_OPTIONS", "detect_leaks=0");    // which cannot be done to a traced process
}

int runInside(const e2e::Machine& machine, int argc, char** argv) {
    std::vector<std::string> command = {Inside};
    command.insert(command.end(), argv + 1, argv + argc);
    const e2e::Outcome outcome = machine.run(command);
    std::cout << outcome.output;
    std::cerr << outcome.errors;
    return outcome.status;
}

bool listsOnly(int argc, char** argv) {
    return std::any_of(argv + 1, argv + argc, [](const char* argument) {
        return argument == std::string_view("--gtest_list_tests");
    });
}

int runHere(int argc, char** argv, const std::string& obstacle) {
    attack::obstacle = obstacle;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

} // namespace

int main(int argc, char** argv) {
    if (listsOnly(argc, argv) || ownProgram() == Inside) {
        return runHere(argc, argv, "");
    }
    if (::geteuid() != 0) {
        return runHere(argc, argv, "needs root: its machine has several users");
    }
    e2e::Machine machine;
    furnish(machine);
    const e2e::Outcome trial = machine.run({"/bin/true"});
    if (trial.status == NoMachine) {
        return runHere(argc, argv, "needs bubblewrap: " + trial.errors.substr(0, trial.errors.find('\n')));
    }
    return runInside(machine, argc, argv);
}
