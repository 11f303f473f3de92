#include <array>
#include <cerrno>
#include <ctime>
#include <fstream>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __APPLE__
#include <sys/sysctl.h>
#endif

#include "Assumption.h"
#include "Place.h"

namespace assumptions {

namespace {

/// The argument of `semctl`, which not every system declares.
union Argument {
    int value;
    void* pointer;
};

/// A set of two members, gone at the end.
class Set {
  public:
    Set() : id(::semget(IPC_PRIVATE, 2, IPC_CREAT | 0666)) {}
    ~Set() { ::semctl(id, 0, IPC_RMID); }
    Set(const Set&) = delete;
    Set& operator=(const Set&) = delete;

    bool isMade() const { return id != -1; }
    bool change(unsigned short member, short by, short flags) const {
        sembuf operation = {};
        operation.sem_num = member;
        operation.sem_op = by;
        operation.sem_flg = flags;
        return ::semop(id, &operation, 1) == 0;
    }
    bool changeAll(std::array<sembuf, 5> operations) const {
        return ::semop(id, operations.data(), operations.size()) == 0;
    }
    std::time_t operationTime() const {
        semid_ds state = {};
        Argument argument = {};
        argument.pointer = &state;
        ::semctl(id, 0, IPC_STAT, argument);
        return state.sem_otime;
    }
    bool setTo(unsigned short member, int value) const {
        Argument argument = {};
        argument.value = value;
        return ::semctl(id, member, SETVAL, argument) != -1;
    }
    int value(unsigned short member) const { return ::semctl(id, member, GETVAL); }
    int get() const { return id; }

  private:
    int id;
};

Found newSet() {
    const Set set;
    return std::to_string(set.value(0)) + " " + std::to_string(set.value(1));
}

Found processThatUsedANewSet() {
    const Set set;
    return std::to_string(::semctl(set.get(), 0, GETPID)) + " " +
           std::to_string(::semctl(set.get(), 1, GETPID));
}

Found processThatTookALock() {
    const Set set;
    set.setTo(1, 1);
    set.change(1, -1, SEM_UNDO);
    return eitherOf(::semctl(set.get(), 1, GETPID) == ::getpid(), "the taker", "another");
}

Found timeOfTheFirstOperation() {
    const Set set;
    set.setTo(1, 1);
    const bool isUnused = set.operationTime() == 0;
    set.change(0, 1, IPC_NOWAIT);
    return eitherOf(isUnused && set.operationTime() != 0, "with the first semop", "otherwise");
}

/// Operations that go on from the count `users`, and from no other.
std::array<sembuf, 5> settingFree(short users) {
    const auto next = static_cast<short>(users + 1);
    const auto none = static_cast<short>(-users);
    return {{{1, 0, IPC_NOWAIT},
             {1, 1, IPC_NOWAIT},
             {0, none, IPC_NOWAIT},
             {0, 0, IPC_NOWAIT},
             {0, next, IPC_NOWAIT}}};
}

Found operationsInOneCall() {
    const Set set;
    set.setTo(0, 2);
    const bool isRefused = !set.changeAll(settingFree(1)) && errno == EAGAIN;
    const std::string before = std::to_string(set.value(0)) + " " + std::to_string(set.value(1));
    const bool isDone = set.changeAll(settingFree(2));
    const std::string after = std::to_string(set.value(0)) + " " + std::to_string(set.value(1));
    return eitherOf(isRefused && before == "2 0" && isDone && after == "3 1", "all or none, in order",
                    "otherwise");
}

Found keyOfAFile() {
    const Place place;
    const std::string path = place.put("file");
    constexpr int project = 11;
    struct stat status = {};
    ::stat(path.c_str(), &status);
    const auto device = static_cast<unsigned>(status.st_dev) & 0xffU;
    const auto number = static_cast<unsigned>(status.st_ino) & 0xffffU;
    const auto expected = static_cast<key_t>(unsigned{project} << 24U | device << 16U | number);
    return eitherOf(::ftok(path.c_str(), project) == expected, "project, device, file number", "another");
}

Found keyThroughALink() {
    const Place place;
    const std::string path = place.put("file");
    const std::string link = place.link("link", path);
    return eitherOf(::ftok(link.c_str(), 11) == ::ftok(path.c_str(), 11), "the target's", "the link's");
}

Found keyOfNothing() {
    const Place place;
    const key_t key = ::ftok((place / "nothing").c_str(), 11);
    return eitherOf(key == -1 && errno == ENOENT, "-1, ENOENT", "another");
}

/// Runs `work` in a child to its end.
template <typename Work> void inChild(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
}

Found lockOfADeadProcess() {
    const Set set;
    set.setTo(1, 1);
    inChild([&set] { set.change(1, -1, SEM_UNDO); });
    return std::to_string(set.value(1));
}

Found countOfADeadProcess() {
    const Set set;
    inChild([&set] { set.change(0, 1, IPC_NOWAIT); });
    return std::to_string(set.value(0));
}

Found lockTakenAndGivenBack() {
    const Set set;
    set.setTo(1, 1);
    inChild([&set] {
        for (int i = 0; i < 40'000; ++i) {
            set.change(1, -1, SEM_UNDO);
            set.change(1, 1, SEM_UNDO);
        }
    });
    return std::to_string(set.value(1));
}

Found secondHolder() {
    const Set set;
    set.setTo(1, 1);
    set.change(1, -1, SEM_UNDO);
    const bool isTaken = set.change(1, -1, SEM_UNDO | IPC_NOWAIT);
    return !isTaken && errno == EAGAIN ? "refused" : "let in";
}

Found removedSet() {
    const Set set;
    std::array<int, 2> answers = {};
    if (::pipe(answers.data()) != 0) {
        return unknown("no pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) { // waits for ever, or until the set is removed
        set.change(1, -1, SEM_UNDO);
        ::_exit(errno == EIDRM ? 0 : 1);
    }
    while (::semctl(set.get(), 1, GETNCNT) == 0) {
        ::usleep(1000);
    }
    ::semctl(set.get(), 0, IPC_RMID);
    int status = -1;
    ::waitpid(child, &status, 0);
    return eitherOf(status == 0, "ends with EIDRM", "ends otherwise");
}

/// How many operations one call may hold, and on how many semaphores a process's end may be undone. Five and
/// one are used.
Found limits() {
#ifdef __APPLE__
    int undo = 0;
    std::size_t size = sizeof undo;
    if (::sysctlbyname("kern.sysv.semume", &undo, &size, nullptr, 0) != 0) {
        return unknown("not told");
    }
    return eitherOf(undo >= 1, "enough", "too few");
#else
    std::ifstream file("/proc/sys/kernel/sem");
    int members = 0;
    int allMembers = 0;
    int operations = 0;
    file >> members >> allMembers >> operations;
    return file ? Found(eitherOf(members >= 2 && operations >= 5, "enough", "too few")) : unknown("not told");
#endif
}

/// Looks only where a set can be made at all.
Assumption withSet(const char* name, const char* expected, Found (*find)()) {
    return {name, {expected}, [find] { return Set().isMade() ? find() : unknown("no set can be made"); }};
}

} // namespace

Assumptions aboutSemaphores() {
    return {
        {"semaphore key of a file", {"project, device, file number"}, keyOfAFile},
        {"semaphore key through a link", {"the target's"}, keyThroughALink},
        {"semaphore key of nothing", {"-1, ENOENT"}, keyOfNothing},
        {"semaphore limits", {"enough"}, limits},
        withSet("semaphores of a new set", "0 0", newSet),
        withSet("processes that used a new set", "0 0", processThatUsedANewSet),
        withSet("process that took a lock", "the taker", processThatTookALock),
        withSet("time of a set's first operation", "with the first semop", timeOfTheFirstOperation),
        withSet("five operations in one call", "all or none, in order", operationsInOneCall),
        withSet("lock of a process that ended", "1", lockOfADeadProcess),
        withSet("count of a process that ended", "1", countOfADeadProcess),
        withSet("lock after 40000 times", "1", lockTakenAndGivenBack),
        withSet("lock that is held", "refused", secondHolder),
        withSet("waiting for a set that is removed", "ends with EIDRM", removedSet),
    };
}

} // namespace assumptions
