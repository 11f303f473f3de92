#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// The machine in which an ordinary user attacks a run of the tool that root started: the user's home, what
/// the user must never reach, and what there is before each run.
namespace attack {

inline constexpr uid_t User = 1500;
inline constexpr gid_t Staff = 1600;
inline constexpr uid_t Other = 1502;

inline const std::string Tool = "/opt/hcd/HCDCustomHook";
inline const std::string Home = "/Users/mira";
inline const std::string Library = Home + "/Library";
inline const std::string Logs = Library + "/Logs";
inline const std::string Halcyra = Logs + "/Halcyra";
inline const std::string LogFolder = Halcyra + "/HCD";
inline const std::string Log = LogFolder + "/HCD.log";
inline const std::string Marker = LogFolder + "/ruk.trace";
inline const std::string OldFolder = LogFolder + "/HCDold";
/// Where the log is when the home has no place for it.
inline const std::string HomelessFolder = "/Halcyra";
inline const std::string SpecifierFolder = "/Library/Application Support/Korvane/Ostrel/specifiers";
inline const std::string Manifest = SpecifierFolder + "/halcyra.xml";
inline const std::string Cache = "/Applications/Utilities/Korvane Halcyra/CEF";

/// Root's own folder, which nobody else can enter. It holds the same folders and files as a `Library`, so
/// that a link to it is a trap at every depth.
inline const std::string Private = "/Users/private";
/// A folder of root in which everybody can read, like /etc, with a file that only root can read.
inline const std::string Public = "/Users/public";
inline const std::string Secret = Public + "/shadow";
/// Like `Secret`, and as large as a log that has to be rotated.
inline const std::string LargeSecret = Public + "/large-shadow";
inline const std::string Absent = Public + "/absent.conf";
inline const std::string OthersHome = "/Users/other";
/// A folder of the user outside the home.
inline const std::string OwnDisk = "/Users/disk";
/// What all files hold that only root, or only the other user, can read.
inline const std::string SecretText = "TheSecretOfTheMachine";

inline constexpr off_t LogLimit = 10485760;

/// Lets this process act as the ordinary user: the kernel then permits it what it permits that user.
class AsUser {
  public:
    AsUser();
    ~AsUser();
    AsUser(const AsUser&) = delete;
    AsUser& operator=(const AsUser&) = delete;
};

/// What there is before a run, and how the tool is called.
struct Scene {
    std::string name;
    std::vector<std::string> arguments;
    void (*prepare)();
};

extern const Scene FirstRun; ///< no log and no folders for it
extern const Scene Append;   ///< a small log
extern const Scene Rotation; ///< a log at the limit, old copies and a subfolder that has to be pruned
extern const Scene KeepLogs; ///< the same, and the marker that keeps the copies
extern const Scene CleanUp;  ///< a cache of nested folders in which the user may write
extern const Scene Homeless; ///< no home, and a log where it is then

/// Makes all that the attacker must not reach. `hidden`: names of hidden files that the tool uses in the log
/// folder; traps have files of these names.
void makeOutside(const std::vector<std::string>& hidden = {});
/// Makes everything else again, as `scene` says, and removes all semaphores.
void makeGround(const Scene& scene);

/// A file with `head`, zero bytes (a hole) and `tail`.
void putFile(const std::string& path, const std::string& head, off_t size = 0, const std::string& tail = "");
void putFolder(const std::string& path, uid_t owner, mode_t mode);
void give(const std::string& path, uid_t owner, mode_t mode);

/// Whether there is an entry `path`; a symlink is not followed.
bool isThere(const std::string& path);
/// The names in the folder, sorted; nothing if there is no such folder.
std::vector<std::string> namesIn(const std::string& folder);
std::vector<std::string> hiddenNames();
/// The dated copies' names, sorted by age.
std::vector<std::string> copyNames();
/// The name of a copy of the log that was made today at `time`, as "00-00-01".
std::string copyOfToday(const std::string& time);

} // namespace attack
