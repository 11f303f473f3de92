#include "platform/LogFile.h"

#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "../../../platform/posix/FileDescriptor.h"
#include "support/Descriptors.h"
#include "support/InChild.h"
#include "support/OtherUsers.h"
#include "support/RefusedCalls.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"
#include "support/WriteCalls.h"

using namespace platform;
using support::anna;
using support::bert;
using support::give;
using support::isOn;
using support::makeFolder;
using support::makeLink;
using support::modeOf;
using support::readFile;
using support::ScopedAlarm;
using support::ScopedEffectiveUser;
using support::ScopedFileSizeLimit;
using support::ScopedUmask;
using support::TempFolder;
using support::writeCalls;
using support::writeFile;
using testing::Optional;
namespace fs = std::filesystem;

namespace {

/// The descriptors of this process that are open on `path`.
std::vector<int> descriptorsOn(const std::string& path) {
    std::vector<int> found;
    for (int number = 0; number < 256; ++number) {
        if (isOn(number, path)) {
            found.push_back(number);
        }
    }
    return found;
}

class OpenLogFile : public testing::Test {
  protected:
    OpenLogFile() { fs::permissions(top.path(), fs::perms(0755)); }

    std::error_code open(const std::string& file) {
        modeError = {};
        return log.open(file, modeError);
    }

    /// Opens the log again to write through that, as a stream does. Both must work.
    void attachOwn() {
        own = FileDescriptor(log.reopenPath().c_str(), O_WRONLY | O_APPEND);
        ASSERT_TRUE(own.isOpen());
        log.attach(own.get());
    }

    /// Opens the log and attaches a descriptor, which must work.
    void start(const std::string& content = "") {
        writeFile(path, content);
        ASSERT_FALSE(open(path));
        attachOwn();
    }

    TempFolder top;
    std::string path = top / "log";
    LogFile log;
    std::error_code modeError;
    FileDescriptor own;
};

} // namespace

TEST_F(OpenLogFile, IsNotOpenAtFirst) {
    EXPECT_FALSE(log.isOpen());
    EXPECT_EQ(log.size(), std::nullopt);
    EXPECT_FALSE(log.isAttached());
    EXPECT_EQ(log.tail(0, 10), std::nullopt);
    EXPECT_TRUE(log.append("x"));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(log.isNamed(path));
}

TEST_F(OpenLogFile, MakesAMissingFileForEveryUserWhateverTheUmask) {
    for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
        const ScopedUmask umask(mask);
        fs::remove(path);
        EXPECT_FALSE(open(path));
        EXPECT_FALSE(modeError);
        EXPECT_TRUE(log.isOpen());
        EXPECT_EQ(modeOf(path), 0666U);
        attachOwn();
        EXPECT_FALSE(log.append("x")) << "it is open whatever the umask";
    }
}

TEST_F(OpenLogFile, KeepsModeAndContentOfAnExistingFile) {
    for (const mode_t mode : {0640U, 0600U, 0666U, 0622U}) {
        writeFile(path, "earlier");
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        EXPECT_FALSE(open(path));
        EXPECT_FALSE(modeError);
        EXPECT_EQ(modeOf(path), mode);
        EXPECT_EQ(readFile(path), "earlier");
    }
}

TEST_F(OpenLogFile, TellsWhyANewFileDidNotGetItsMode) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] {
        const ScopedUmask umask(077);
        ASSERT_TRUE(support::refuseCalls(support::modeChanges()));
        EXPECT_FALSE(open(path)) << "it is no failure";
        EXPECT_EQ(modeError, std::errc::operation_not_permitted);
        EXPECT_TRUE(log.isOpen());
        EXPECT_FALSE(open(path));
        EXPECT_FALSE(modeError) << "it was there already";
    });
    EXPECT_EQ(modeOf(path), 0600U);
}

TEST_F(OpenLogFile, MakesNothingIfItMustExist) {
    EXPECT_EQ(log.openExisting(path), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(log.isOpen());
    EXPECT_FALSE(fs::exists(path));
    writeFile(path, "content");
    EXPECT_FALSE(log.openExisting(path));
    EXPECT_TRUE(log.isOpen());
    EXPECT_EQ(readFile(path), "content");
}

TEST_F(OpenLogFile, FailsInAMissingFolder) {
    EXPECT_EQ(open(top / "missing/log"), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(log.isOpen());
    EXPECT_FALSE(fs::exists(top / "missing"));
}

TEST_F(OpenLogFile, FailsForWhatNamesNoFile) {
    fs::create_directory(top / "folder");
    for (const std::string& name :
         {std::string(), top.path(), top / "folder", top / "folder/", top / ".", top / "folder/..",
          top / "new/", std::string("/"), std::string("."), std::string(".."), top / std::string(300, 'n')}) {
        EXPECT_TRUE(open(name)) << name;
        EXPECT_FALSE(log.isOpen()) << name;
        EXPECT_TRUE(log.openExisting(name)) << name;
        EXPECT_FALSE(log.isOpen()) << name;
    }
    EXPECT_FALSE(fs::exists(top / "new"));
}

TEST_F(OpenLogFile, ClosesTheEarlierFileAlsoWhenItFails) {
    start();
    EXPECT_TRUE(open(top / "missing/log"));
    EXPECT_FALSE(log.isOpen());
    EXPECT_TRUE(log.append("x"));
    EXPECT_EQ(readFile(path), "");
    own.close();
    EXPECT_TRUE(descriptorsOn(path).empty());
}

TEST_F(OpenLogFile, ReplacesTheEarlierFile) {
    start();
    writeFile(top / "other", "");
    ASSERT_FALSE(open(top / "other"));
    attachOwn();
    EXPECT_FALSE(log.append("x"));
    EXPECT_EQ(readFile(path), "");
    EXPECT_EQ(readFile(top / "other"), "x");
    EXPECT_TRUE(descriptorsOn(path).empty());
}

TEST_F(OpenLogFile, ForgetsTheAttachedDescriptorOfTheEarlierFile) {
    start();
    const FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    writeFile(top / "other", "");
    ASSERT_FALSE(open(top / "other"));
    log.append("x");
    EXPECT_EQ(readFile(path), "");
    EXPECT_FALSE(log.isAttached());
}

TEST_F(OpenLogFile, ClosesFileAndFolder) {
    start();
    log.close();
    EXPECT_FALSE(log.isOpen());
    EXPECT_FALSE(log.folder().isOpen());
    EXPECT_FALSE(log.isNamed(path));
    EXPECT_FALSE(log.isAttached());
    EXPECT_TRUE(log.append("x"));
    EXPECT_EQ(readFile(path), "");
    EXPECT_FALSE(open(path)) << "it can be opened again";
}

TEST_F(OpenLogFile, ClosesEverythingAtTheEnd) {
    const auto before = support::openDescriptors();
    {
        LogFile one;
        std::error_code ignored;
        ASSERT_FALSE(one.open(path, ignored));
        ASSERT_FALSE(one.open(top / "other", ignored));
        EXPECT_TRUE(one.open(top / "missing/log", ignored));
        EXPECT_TRUE(one.open(top.path(), ignored));
        ASSERT_FALSE(one.open(path, ignored));
    }
    EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(OpenLogFile, NeverBlocksOnAPipe) {
    const ScopedAlarm deadline(30);
    ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0);
    const mode_t mode = modeOf(path);
    EXPECT_TRUE(open(path));
    EXPECT_FALSE(log.isOpen());
    EXPECT_TRUE(log.openExisting(path));
    const FileDescriptor reader(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_TRUE(reader.isOpen());
    EXPECT_TRUE(open(path)) << "also when somebody reads it";
    EXPECT_FALSE(log.isOpen());
    EXPECT_EQ(modeOf(path), mode) << "its mode is nobody's business";
}

TEST_F(OpenLogFile, TakesNoSocket) {
    const support::WorkingFolder working(top.path());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "log");
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(open(path));
    EXPECT_FALSE(log.isOpen());
    ::close(socket);
}

TEST_F(OpenLogFile, TakesADeviceOfRoot) {
    ASSERT_FALSE(open("/dev/null"));
    attachOwn();
    EXPECT_TRUE(log.isOpen());
    EXPECT_FALSE(modeError);
    EXPECT_FALSE(log.append("record\n"));
}

TEST_F(OpenLogFile, FailsToAppendToAFullDevice) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "needs /dev/full: it fills a disk";
    }
    ASSERT_FALSE(open("/dev/full"));
    attachOwn();
    EXPECT_EQ(log.append("record\n"), std::errc::no_space_on_device);
    EXPECT_EQ(log.append("record\n"), std::errc::no_space_on_device);
}

TEST_F(OpenLogFile, KeepsItsDescriptorsFromOtherProgramsAndBlocksAgain) {
    start();
    std::vector<int> found = descriptorsOn(path);
    ASSERT_FALSE(found.empty());
    for (const int number : found) {
        EXPECT_EQ(::fcntl(number, F_GETFL) & O_NONBLOCK, 0);
        EXPECT_EQ(::fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    }
    found = descriptorsOn(top.path());
    ASSERT_FALSE(found.empty());
    for (const int number : found) {
        EXPECT_EQ(::fcntl(number, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    }
}

TEST_F(OpenLogFile, KnowsItsFolderAndItsName) {
    fs::create_directory(top / "folder");
    ASSERT_FALSE(open(top / "folder//log"));
    EXPECT_EQ(log.name(), "log");
    EXPECT_TRUE(log.folder().isOpen());
    EXPECT_TRUE(isOn(log.folder().descriptor().get(), top / "folder"));
}

TEST_F(OpenLogFile, OpensANameInTheWorkingFolder) {
    const support::WorkingFolder working(top.path());
    ASSERT_FALSE(open("log"));
    attachOwn();
    EXPECT_EQ(log.name(), "log");
    EXPECT_FALSE(log.append("x"));
    EXPECT_EQ(readFile(path), "x");
}

TEST_F(OpenLogFile, TakesNamesOfAnyBytes) {
    for (const char* name : {"two words", "\xe2\x82\xac", "\xff\xfe", "a\nb", "..."}) {
        ASSERT_FALSE(open(top / name)) << name;
        EXPECT_EQ(log.name(), name);
        EXPECT_TRUE(log.isNamed(top / name));
    }
}

TEST_F(OpenLogFile, IsNamedWhileItHasItsName) {
    start();
    EXPECT_TRUE(log.isNamed(path));
    EXPECT_FALSE(log.isNamed(top / "other"));
    EXPECT_FALSE(log.isNamed(""));
    fs::rename(path, top / "other");
    EXPECT_FALSE(log.isNamed(path)) << "nothing has the name";
    EXPECT_FALSE(log.isNamed(top / "other")) << "it was opened under another";
    writeFile(path, "");
    EXPECT_FALSE(log.isNamed(path)) << "another file has it";
    fs::rename(top / "other", path);
    EXPECT_TRUE(log.isNamed(path));
}

TEST_F(OpenLogFile, IsNotNamedByALinkInItsPlace) {
    start();
    fs::rename(path, top / "moved");
    fs::create_symlink("moved", path);
    EXPECT_FALSE(log.isNamed(path)) << "the link has the name";
}

TEST_F(OpenLogFile, GoesOnWithTheFileThatWasOpened) {
    start("1");
    const auto expectGoesOn = [this](const std::string& place, const std::string& content) {
        EXPECT_FALSE(log.append(content.substr(content.size() - 1)));
        EXPECT_EQ(readFile(place), content);
        EXPECT_THAT(log.size(), Optional(static_cast<long long>(content.size())));
        EXPECT_THAT(log.tail(*log.size(), 100), Optional(content));
    };
    fs::rename(path, top / "moved");
    expectGoesOn(top / "moved", "12");
    writeFile(path, "foreign");
    expectGoesOn(top / "moved", "123");
    EXPECT_EQ(readFile(path), "foreign");
    EXPECT_FALSE(log.empty());
    EXPECT_EQ(readFile(top / "moved"), "");
    EXPECT_EQ(readFile(path), "foreign");
}

TEST_F(OpenLogFile, GoesOnWithAFileThatWasRemoved) {
    start("1");
    fs::remove(path);
    EXPECT_FALSE(log.append("2"));
    EXPECT_THAT(log.size(), Optional(2));
    EXPECT_THAT(log.tail(2, 10), Optional(std::string("12")));
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(log.isNamed(path));
}

TEST_F(OpenLogFile, KeepsTheFolderThatWasOpened) {
    fs::create_directory(top / "folder");
    ASSERT_FALSE(open(top / "folder/log"));
    attachOwn();
    fs::rename(top / "folder", top / "moved");
    fs::create_directory(top / "folder");
    EXPECT_TRUE(isOn(log.folder().descriptor().get(), top / "moved"));
    EXPECT_FALSE(log.append("x"));
    EXPECT_EQ(readFile(top / "moved/log"), "x");
    EXPECT_TRUE(fs::is_empty(top / "folder"));
}

TEST_F(OpenLogFile, OpensAgainByItsReopenPathWhateverItsName) {
    start("content");
    const auto expectReopens = [this] {
        const FileDescriptor again(log.reopenPath().c_str(), O_WRONLY | O_APPEND);
        ASSERT_TRUE(again.isOpen()) << log.reopenPath();
        log.attach(again.get());
        EXPECT_TRUE(log.isAttached()) << "it is another file";
        log.detach();
    };
    expectReopens();
    fs::rename(path, top / "moved");
    expectReopens();
    writeFile(path, "foreign");
    expectReopens();
#ifdef __linux__
    fs::remove(top / "moved");
    expectReopens();
#endif
    EXPECT_EQ(readFile(path), "foreign");
}

TEST_F(OpenLogFile, KnowsTheNextNumber) {
    start();
    const int next = log.nextDescriptor();
    const FileDescriptor file("/dev/null", O_RDONLY);
    EXPECT_EQ(file.get(), next);
    EXPECT_GT(log.nextDescriptor(), next);
}

TEST_F(OpenLogFile, WritesThroughTheAttachedDescriptor) {
    start("earlier ");
    const FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    EXPECT_TRUE(log.isAttached());
    EXPECT_EQ(log.end(), 8);
    EXPECT_FALSE(log.append("later"));
    EXPECT_EQ(::lseek(attached.get(), 0, SEEK_CUR), 13) << "its offset tells who wrote";
    EXPECT_EQ(readFile(path), "earlier later");
    log.detach();
    EXPECT_EQ(log.append("!"), std::errc::bad_file_descriptor);
    EXPECT_EQ(readFile(path), "earlier later");
    EXPECT_FALSE(log.isAttached());
}

TEST_F(OpenLogFile, LeavesTheAttachedDescriptorOpen) {
    const FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
    {
        LogFile brief;
        ASSERT_FALSE(brief.openExisting(path));
        brief.attach(attached.get());
        brief.detach();
        brief.attach(attached.get());
    }
    EXPECT_NE(::fcntl(attached.get(), F_GETFD), -1);
}

TEST_F(OpenLogFile, KeepsTheAttachedDescriptorFromOtherPrograms) {
    start();
    const int plain = ::open(path.c_str(), O_WRONLY | O_APPEND); // NOLINT: without O_CLOEXEC
    ASSERT_EQ(::fcntl(plain, F_GETFD) & FD_CLOEXEC, 0);
    log.attach(plain);
    EXPECT_EQ(::fcntl(plain, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    ::close(plain);
}

TEST_F(OpenLogFile, AttachesNothingThatIsOpenOnAnotherFile) {
    start();
    writeFile(top / "other", "");
    const FileDescriptor foreign((top / "other").c_str(), O_WRONLY | O_APPEND);
    log.attach(foreign.get());
    EXPECT_FALSE(log.isAttached());
    EXPECT_EQ(log.append("x"), std::errc::bad_file_descriptor);
    EXPECT_EQ(readFile(path), "");
    EXPECT_EQ(readFile(top / "other"), "");
    log.attach(-1);
    EXPECT_FALSE(log.isAttached());
}

TEST_F(OpenLogFile, StaysAttachedWhenTheSameFileIsOpenedAgain) {
    start();
    const FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    ASSERT_FALSE(log.openExisting(path));
    EXPECT_TRUE(log.isAttached());
    const std::string other = top / "other";
    writeFile(other, "");
    ASSERT_FALSE(log.openExisting(other));
    EXPECT_FALSE(log.isAttached());
    ASSERT_FALSE(log.openExisting(path));
    EXPECT_FALSE(log.isAttached()) << "it was detached";
}

TEST_F(OpenLogFile, NoticesThatTheAttachedDescriptorWasClosed) {
    start();
    FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    attached.close();
    EXPECT_TRUE(log.hasAttached());
    EXPECT_FALSE(log.isAttached());
    EXPECT_EQ(log.end(), 0);
}

TEST_F(OpenLogFile, HasANumberOfItsOwn) {
    long earlier = 0;
    {
        const LogFile brief;
        EXPECT_EQ(brief.number(), brief.number());
        earlier = brief.number();
    }
    EXPECT_NE(LogFile().number(), earlier);
    EXPECT_NE(LogFile().number(), log.number());
}

TEST_F(OpenLogFile, NoticesThatAnotherFileHasTheNumberNow) {
    start();
    writeFile(top / "other", "foreign");
    FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    const int number = attached.get();
    log.attach(number);
    attached.close();
    const FileDescriptor foreign((top / "other").c_str(), O_WRONLY | O_APPEND);
    ASSERT_EQ(foreign.get(), number);
    EXPECT_FALSE(log.isAttached());
    log.empty();
    log.detach();
    EXPECT_EQ(readFile(top / "other"), "foreign");
    EXPECT_NE(::fcntl(number, F_GETFD), -1);
}

TEST_F(OpenLogFile, TakesANumberThatLeadsToTheLogAgain) {
    start();
    FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    const int number = attached.get();
    attached.close();
    const FileDescriptor again(path.c_str(), O_WRONLY | O_APPEND);
    ASSERT_EQ(again.get(), number);
    EXPECT_TRUE(log.isAttached());
}

TEST_F(OpenLogFile, TellsTheSizeThatOthersMade) {
    start();
    const FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    std::ofstream(path, std::ios::app) << "12345";
    EXPECT_THAT(log.size(), Optional(5));
    EXPECT_EQ(log.end(), 5);
    EXPECT_FALSE(log.empty());
    EXPECT_THAT(log.size(), Optional(0));
    EXPECT_EQ(log.end(), 0);
}

TEST_F(OpenLogFile, GivesTheBytesBeforeAnEnd) {
    start("0123456789");
    EXPECT_THAT(log.tail(10, 3), Optional(std::string("789")));
    EXPECT_THAT(log.tail(10, 10), Optional(std::string("0123456789")));
    EXPECT_THAT(log.tail(10, 1000), Optional(std::string("0123456789")));
    EXPECT_THAT(log.tail(4, 2), Optional(std::string("23")));
    EXPECT_THAT(log.tail(4, 100), Optional(std::string("0123")));
    EXPECT_THAT(log.tail(0, 5), Optional(std::string()));
    EXPECT_THAT(log.tail(10, 0), Optional(std::string()));
}

TEST_F(OpenLogFile, GivesBytesOfEveryKind) {
    const std::string bytes("a\0b\n\xff", 5);
    start(bytes);
    EXPECT_THAT(log.tail(5, 5), Optional(bytes));
}

TEST_F(OpenLogFile, GivesNothingOfAFileThatMayNotBeRead) {
    start("content");
    fs::permissions(top.path(), fs::perms(0755));
    ASSERT_EQ(::chmod(path.c_str(), 0222), 0);
    support::asOrdinaryUser([this] {
        ASSERT_FALSE(open(path));
        EXPECT_TRUE(log.isOpen());
        attachOwn();
        EXPECT_EQ(log.tail(7, 7), std::nullopt);
        EXPECT_THAT(log.size(), Optional(7));
        EXPECT_FALSE(log.append("!"));
        EXPECT_THAT(log.size(), Optional(8));
    });
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    EXPECT_EQ(readFile(path), "content!");
}

TEST_F(OpenLogFile, FailsWithoutPermissionToWrite) {
    start("content");
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    support::asOrdinaryUser([this] {
        EXPECT_EQ(open(path), std::errc::permission_denied);
        EXPECT_FALSE(log.isOpen());
    });
}

TEST_F(OpenLogFile, NeedsNoPermissionToListTheFolder) {
    start();
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(top.path().c_str(), 0711), 0);
    support::asOrdinaryUser([this] {
        ASSERT_FALSE(open(path));
        attachOwn();
        EXPECT_FALSE(log.append("x"));
    });
    EXPECT_EQ(readFile(path), "x");
}

TEST_F(OpenLogFile, AppendsBehindWhatOthersAppended) {
    start();
    EXPECT_FALSE(log.append("1"));
    std::ofstream(path, std::ios::app) << "2";
    EXPECT_FALSE(log.append("3"));
    EXPECT_EQ(readFile(path), "123");
    fs::resize_file(path, 0);
    EXPECT_FALSE(log.append("4"));
    EXPECT_EQ(readFile(path), "4");
}

TEST_F(OpenLogFile, AppendsBytesOfEveryKindWithOneWrite) {
    if (!writeCalls()) {
        GTEST_SKIP() << "needs /proc/self/io: it counts writes";
    }
    start();
    std::string expected;
    for (const std::string& bytes :
         {std::string("x"), std::string("a\0b\n\xff", 5), std::string(100, 'y'), std::string(1000000, 'z')}) {
        const long before = *writeCalls();
        EXPECT_FALSE(log.append(bytes));
        EXPECT_EQ(*writeCalls() - before, 1);
        expected += bytes;
    }
    EXPECT_TRUE(readFile(path) == expected);
}

TEST_F(OpenLogFile, TakesBackWhatGotIntoTheFileOfAFailedAppend) {
    start("earlier\n");
    for (const rlim_t room : {0U, 1U, 4U, 9U}) {
        {
            const ScopedFileSizeLimit full(8 + room);
            EXPECT_EQ(log.append("lost record\n"), std::errc::file_too_large) << room;
        }
        EXPECT_EQ(readFile(path), "earlier\n") << room;
    }
    EXPECT_FALSE(log.append("found\n"));
    EXPECT_EQ(readFile(path), "earlier\nfound\n");
}

TEST_F(OpenLogFile, TakesBackWhatWentThroughTheAttachedDescriptor) {
    start("earlier\n");
    const FileDescriptor attached(path.c_str(), O_WRONLY | O_APPEND);
    log.attach(attached.get());
    {
        const ScopedFileSizeLimit full(12);
        EXPECT_TRUE(log.append("lost record\n"));
    }
    EXPECT_EQ(readFile(path), "earlier\n");
}

TEST_F(OpenLogFile, TakesBackNothingOfAnEarlierRecordWithTheSameText) {
    start("lost\n");
    {
        const ScopedFileSizeLimit full(5);
        EXPECT_TRUE(log.append("lost\nrecord\n"));
    }
    EXPECT_EQ(readFile(path), "lost\n");
}

namespace {

/// What somebody else does to the log at the moment when this process is refused a write.
struct Meanwhile {
    int file = -1;
    bool empties = false;
    std::string text;
};
Meanwhile meanwhile;

extern "C" void doMeanwhile(int) {
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool isCut = !meanwhile.empties || ::ftruncate(meanwhile.file, 0) == 0;
    const auto written = ::write(meanwhile.file, meanwhile.text.data(), meanwhile.text.size());
    if (!isCut || written != static_cast<ssize_t>(meanwhile.text.size())) {
        ::_exit(9);
    }
}

/// Appends to a log that is full after 4 more bytes while somebody does `happening` to it.
class DisturbedAppend : public OpenLogFile {
  protected:
    std::string contentAfter(bool empties, const std::string& text) {
        start("earlier\n");
        const FileDescriptor other(path.c_str(), O_WRONLY | O_APPEND);
        meanwhile = {other.get(), empties, text};
        {
            const ScopedFileSizeLimit full(12);
            std::signal(SIGXFSZ, doMeanwhile);
            EXPECT_TRUE(log.append("lost record\n"));
        }
        return readFile(path);
    }
};

} // namespace

TEST_F(DisturbedAppend, TakesNothingBackThatSomethingFollows) {
    EXPECT_EQ(contentAfter(false, "other\n"), "earlier\nlostother\n");
}

TEST_F(DisturbedAppend, TakesNothingBackThatTheSameTextFollows) {
    EXPECT_EQ(contentAfter(false, "lost"), "earlier\nlostlost");
}

TEST_F(DisturbedAppend, CutsNothingOfALogThatWasEmptiedMeanwhile) {
    EXPECT_EQ(contentAfter(true, ""), "");
    EXPECT_EQ(contentAfter(true, "new\n"), "new\n");
    EXPECT_EQ(contentAfter(true, "a much longer new record\n"), "a much longer new record\n");
    EXPECT_EQ(contentAfter(true, "twelve byte\n"), "twelve byte\n");
}

namespace {

/// "shared" is a folder of anna where everybody can write.
class LogAmongUsers : public OpenLogFile {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "needs root: it makes files of other users";
        }
        makeFolder(anna, top / "shared", 0777);
        makeFolder(anna, top / "annas", 0755);
    }

    /// Makes a file of `user` with a second name in "shared".
    std::string fileWithTwoNames(uid_t user, const std::string& file) {
        writeFile(file, "precious");
        EXPECT_EQ(::chmod(file.c_str(), 0666), 0);
        give(file, user);
        const std::string second = top / ("shared/name" + std::to_string(++names));
        fs::create_hard_link(file, second);
        return second;
    }

    void expectRefused(const std::string& file) {
        EXPECT_TRUE(open(file)) << file;
        EXPECT_FALSE(log.isOpen()) << file;
        EXPECT_TRUE(log.openExisting(file)) << file;
        EXPECT_FALSE(log.isOpen()) << file;
        EXPECT_EQ(readFile(file), "precious");
    }

  private:
    int names = 0;
};

} // namespace

TEST_F(LogAmongUsers, IsRefusedToRootIfItHasASecondName) {
    for (const uid_t owner : {uid_t{0}, anna, bert}) {
        expectRefused(fileWithTwoNames(owner, top / ("file of " + std::to_string(owner))));
    }
    fs::create_hard_link(top / "file of 0", top / "annas/log");
    expectRefused(top / "annas/log");
}

TEST_F(LogAmongUsers, MayHaveASecondNameWhereOnlyRootCanWrite) {
    fileWithTwoNames(0, path);
    EXPECT_FALSE(open(path));
    const ScopedEffectiveUser acting(anna);
    EXPECT_FALSE(open(path));
}

TEST_F(LogAmongUsers, MayHaveASecondNameIfItIsAnOrdinaryUsersOwn) {
    const std::string annas = fileWithTwoNames(anna, top / "annas/log");
    const std::string foreign = fileWithTwoNames(bert, top / "berts");
    const std::string roots = fileWithTwoNames(0, top / "roots");
    const ScopedEffectiveUser acting(anna);
    EXPECT_FALSE(open(annas));
    EXPECT_FALSE(open(top / "annas/log"));
    expectRefused(foreign);
    expectRefused(roots);
}

TEST_F(LogAmongUsers, IsAnybodysFileWithOneName) {
    for (const uid_t owner : {uid_t{0}, anna, bert}) {
        writeFile(top / "shared/log", "content");
        give(top / "shared/log", owner);
        EXPECT_FALSE(open(top / "shared/log")) << owner;
    }
    ASSERT_EQ(::chmod((top / "shared/log").c_str(), 0666), 0);
    const ScopedEffectiveUser acting(anna);
    EXPECT_FALSE(open(top / "shared/log"));
}

TEST_F(LogAmongUsers, IsNotBehindAnUntrustedLink) {
    writeFile(top / "precious", "precious");
    makeLink(anna, "../precious", top / "shared/direct");
    makeLink(0, "../precious", top / "shared/roots");
    makeLink(anna, "..", top / "shared/folder");
    expectRefused(top / "shared/direct");
    expectRefused(top / "shared/roots");
    expectRefused(top / "shared/folder/precious");
    EXPECT_EQ(open(top / "shared/direct"), std::errc::too_many_symbolic_link_levels);
    EXPECT_EQ(open(top / "shared/folder/precious"), std::errc::too_many_symbolic_link_levels);
}

TEST_F(LogAmongUsers, IsNotMadeThroughAnUntrustedLink) {
    makeFolder(0, top / "precious", 0755);
    makeLink(anna, "../precious/new", top / "shared/direct");
    makeLink(0, "../precious/new", top / "shared/roots");
    makeLink(anna, "../precious", top / "shared/folder");
    makeLink(anna, "new", top / "annas/own");
    for (const char* name : {"shared/direct", "shared/roots", "shared/folder/new", "annas/own"}) {
        EXPECT_TRUE(open(top / name)) << name;
        EXPECT_FALSE(log.isOpen()) << name;
    }
    EXPECT_TRUE(fs::is_empty(top / "precious"));
    EXPECT_FALSE(fs::exists(top / "annas/new"));
}

TEST_F(LogAmongUsers, IsBehindAUsersLinkToHisOwn) {
    writeFile(top / "annas/log", "");
    give(top / "annas/log", anna);
    makeLink(anna, "../annas/log", top / "shared/direct");
    makeLink(anna, "../annas", top / "shared/folder");
    for (const char* name : {"shared/direct", "shared/folder/log"}) {
        ASSERT_FALSE(open(top / name)) << name;
        attachOwn();
        EXPECT_FALSE(log.append("x"));
    }
    EXPECT_EQ(readFile(top / "annas/log"), "xx");
}

TEST_F(LogAmongUsers, IsNotBehindAUsersLinkToHisFileWithTwoNames) {
    fileWithTwoNames(anna, top / "annas/log");
    makeLink(anna, "../annas/log", top / "shared/link");
    expectRefused(top / "shared/link");
}

TEST_F(LogAmongUsers, IsADeviceOnlyOfRootOrTheEffectiveUser) {
    struct stat null = {};
    ASSERT_EQ(::stat("/dev/null", &null), 0);
    if (::mknod(path.c_str(), S_IFCHR | 0666, null.st_rdev) != 0 ||
        !FileDescriptor(path.c_str(), O_WRONLY).isOpen()) {
        GTEST_SKIP() << "needs the right to make devices: it makes one of another user";
    }
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    EXPECT_FALSE(open(path));
    give(path, anna);
    EXPECT_FALSE(open(path)) << "nobody else could have put it here";
    ASSERT_EQ(::chmod(top.path().c_str(), 0777), 0);
    EXPECT_TRUE(open(path));
    EXPECT_FALSE(log.isOpen());
    {
        const ScopedEffectiveUser acting(anna);
        EXPECT_FALSE(open(path));
    }
    const ScopedEffectiveUser acting(bert);
    EXPECT_TRUE(open(path));
}
