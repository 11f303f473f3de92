#pragma once

#include <string>
#include <vector>

namespace ELMUUtils {

/// The standard folders and the maker's folders below them. The numbers are part of the interface.
enum PathType : int {
    LocalApplicationsDir = 0,
    LocalAppSupportDir = 2,
    LocalAppSupportDirAlt = 3,
    HomeDir = 9,
    ConsoleUserDocumentsDir = 10,
    ConsoleUserAppSupportDir = 12,
    SharedUserDataDir = 13,
    TempDir = 15,
    RunningBundlePath = 16,
    RunningBundleParentDir = 17,
    LocalKorvaneDir = 18,
    ConsoleUserKorvaneDir = 19,
    SharedKorvaneDir = 20,
    LocalELMUDir = 21,
    ConsoleUserELMUDir = 22,
    SharedELMUDir = 23,
    FerrowindUtilitiesDir = 24,
    LocalWexloDir = 25,
    ConsoleUserWexloDir = 26,
    FRWRefsDir = 27,
    SRDRefsDir = 28,
    StrandelDir = 29,
    HalcyraUtilitiesDir = 30,
    LocalPreferencesDir = 31,
    ConsoleUserLogsDir = 32,
};

/// Files and folders. All operations are static, block, and keep no state. Paths end at their first NUL
/// byte. A `logger` is an `elmu::AbstractLogger*`, not owned; null means the process-wide receivers of
/// elmu/utils/Reporting.h. Operations that say nothing of records take it and never use it.
class FileUtils {
  public:
    /// Puts the folder that `type` names into `path`. A lookup that succeeds replaces `path`; the part
    /// below the standard folder is then appended, also after a failed lookup, to what the caller put
    /// there. The result is the lookup's success for types 0, 2, 3 and 31, the success of making the folder
    /// for 32, and true for all others, whatever the lookup did. False with `path` untouched for an unknown
    /// type. Types 24 and 30 end in "/". Missing standard folders are created. The types of the console
    /// user change the effective user of the process during the call; with nobody at the console they
    /// are the current user's.
    static bool GetDirectoryPath(PathType type, std::string& path, void* logger);

    /// Appends `component` to `path` with one slash between them; leading slashes of `component` are
    /// skipped, trailing ones kept. False, with nothing changed, when either is empty.
    static bool AppendPath(std::string& path, const std::string& component, void* logger);

    /// Whether a file, a folder or the target of a link is at `path`.
    static bool PathExists(const std::string& path, void* logger);

    /// `CreateDirectoryAtPathEx` with its last two arguments exchanged.
    static bool CreateDirectoryAtPath(const std::string& path, bool shouldSetPermission, void* logger);

    /// Creates the folder `path` with every missing parent. With `shouldSetPermission` the folders that
    /// it makes get mode 0775 and the owner and group of the nearest existing ancestor (their own when
    /// that is a link), and two INFO records are made whose format is empty and whose text follows as
    /// an argument, as receivers of these records expect. True when the folder is there afterwards; a
    /// failure is reported at ERROR. `path` must not be empty when `shouldSetPermission` is set.
    static bool CreateDirectoryAtPathEx(const std::string& path, void* logger, bool shouldSetPermission);

    /// Returns `path` itself if something is there, else its nearest existing ancestor; "." or "/" at the
    /// latest, even if the working directory may not be searched. `path` must not be empty: an empty one has
    /// no ancestor and comes back as it is.
    static std::string GetExistentParentDirectory(std::string path);

    /// Removes the file or folder at `path`; a folder with entries only when `recursive` is set. False
    /// for an empty path, for a folder with entries when not `recursive` (neither is reported), and
    /// when the removal fails (reported at WARN; part of the folder may be gone). With `logSuccess` a
    /// removal is reported at INFO. `skippedItems` and `flag` are neither read nor changed.
    static bool DeleteDirectoryAtPath(const std::string& path, std::vector<std::string>& skippedItems,
                                      bool recursive, bool flag, void* logger, bool logSuccess);

    /// The same with no list of skipped items.
    static bool DeleteDirectoryAtPath(const std::string& path, bool recursive, bool flag, void* logger,
                                      bool logSuccess);

    /// Puts a file with `content`, embedded NUL bytes included, at `path`: whole or not at all, so that
    /// readers see the old file or the new one. An existing file is replaced and passes its mode on; a
    /// link is replaced, its target untouched. False for an empty path, a missing parent folder, or a
    /// failed write.
    static bool CreateFileWithContentAtPath(const std::string& path, const std::string& content,
                                            void* logger);

    /// Removes the file or empty folder at `path`. True when nothing is there afterwards. `flag` is
    /// ignored.
    static bool DeleteFileAtPath(const std::string& path, bool flag, void* logger);

    /// Puts the short version of the application bundle at `bundlePath` into `version`. False, with
    /// `version` untouched, when its property list is missing, unreadable or names no version.
    static bool getApplicationVersion(std::string bundlePath, std::string& version);
};

} // namespace ELMUUtils
