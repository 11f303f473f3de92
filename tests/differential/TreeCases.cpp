#include <algorithm>
#include <filesystem>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

#include "Cases.h"
#include "platform/Files.h"
#include "support/TempFolder.h"

using namespace platform;
namespace fs = std::filesystem;

namespace differential {

namespace {

using Texts = std::vector<std::string>;

const Texts names = {"a",          "b",      "c",           "f.txt",     ".hidden",
                     "._x",        "sp ace", "\u00E4",      "a\u0308",   "\u65E5\u672C",
                     "~",          "C:x",    "back\\slash", "new\nline", "-rf",
                     "*",          "%41",    "\u202Ex",     "X.app",     "a.b.c",
                     "\U0001F600", ".a",     "A",           "\uFEFFz"};

struct Entry {
    enum Kind { Folder, File, Link, Pipe } kind;
    std::string path;    ///< below the tree's top
    std::string content; ///< of a link, what it leads to
    mode_t mode;
    bool isRoots;
};

using Tree = std::vector<Entry>;

std::string octal(mode_t mode) {
    constexpr std::string_view digits = "01234567";
    return {digits[mode >> 9 & 7], digits[mode >> 6 & 7], digits[mode >> 3 & 7], digits[mode & 7]};
}

/// Plans trees.
class Planner {
  public:
    explicit Planner(Random& source) : random(source) {}

    Tree tree() {
        Tree entries;
        for (std::size_t count = random.below(10); count > 0; --count) {
            add(entries, entry(folderOf(entries)));
        }
        if (random.oneIn(40)) {
            addDeep(entries);
        }
        return entries;
    }

  private:
    std::string folderOf(const Tree& entries) {
        const std::string any = entries.empty() ? "" : random.of(entries).path;
        const auto is = [&](const Entry& entry) { return entry.path == any && entry.kind == Entry::Folder; };
        return std::any_of(entries.begin(), entries.end(), is) && !random.oneIn(4) ? any + "/" : "";
    }

    std::string name() {
        const std::string notText = "x\xFF";
        return random.oneIn(60) ? notText : random.of(names);
    }

    Entry entry(const std::string& folder) {
        const std::vector<mode_t> folderModes = {0755, 0755, 0755,  0700,  0000, 0500,
                                                 0300, 0777, 01777, 02755, 0400};
        const std::vector<mode_t> fileModes = {0644, 0644, 0600, 0755, 0444, 0000, 04755, 0666, 0200};
        const Texts targets = {"a",   "..",   ".",    "nowhere", "b",
                               "c/a", "../a", "../b", "f.txt",   "../nowhere/x"};
        const std::size_t choice = random.below(8);
        const Entry::Kind kind = choice < 4   ? Entry::Folder
                                 : choice < 6 ? Entry::File
                                 : choice < 7 ? Entry::Link
                                              : Entry::Pipe;
        const mode_t mode = random.of(kind == Entry::Folder ? folderModes : fileModes);
        const std::string content = kind == Entry::Link ? random.of(targets) : "old";
        return {kind == Entry::Pipe && !random.oneIn(4) ? Entry::File : kind, folder + name(), content, mode,
                random.oneIn(10)};
    }

    static void add(Tree& entries, const Entry& entry) {
        const auto is = [&](const Entry& other) { return other.path == entry.path; };
        if (std::none_of(entries.begin(), entries.end(), is)) {
            entries.push_back(entry);
        }
    }

    static void addDeep(Tree& entries) {
        std::string path = "deep";
        for (int level = 0; level < 40; ++level) {
            add(entries, {Entry::Folder, path, "", 0755, false});
            path += "/deep";
        }
        add(entries, {Entry::File, path, "old", 0644, false});
    }

    Random& random;
};

std::string described(const Tree& tree) {
    constexpr std::string_view kinds = "dflp";
    std::string result;
    for (const Entry& entry : tree) {
        result += std::string(1, kinds[entry.kind]) + (entry.isRoots ? "R " : " ") + octal(entry.mode) + " " +
                  escaped(entry.path) + (entry.kind == Entry::Link ? " -> " + entry.content : "") + "; ";
    }
    return result;
}

void make(const std::string& path, const Entry& entry, bool isOrdinary) {
    switch (entry.kind) {
    case Entry::Folder:
        ::mkdir(path.c_str(), 0700);
        break;
    case Entry::File:
        support::writeFile(path, entry.content);
        break;
    case Entry::Link:
        fs::create_symlink(entry.content, path);
        break;
    case Entry::Pipe:
        ::mkfifo(path.c_str(), 0600);
        break;
    }
    constexpr uid_t ordinaryUser = 65534;
    if (isOrdinary && !entry.isRoots && ::geteuid() == 0) {
        [[maybe_unused]] const int refused = ::lchown(path.c_str(), ordinaryUser, ordinaryUser);
    }
}

/// Makes the tree below `top`. Modes come last, those of what is inside first.
void make(const std::string& top, const Tree& tree, bool isOrdinary) {
    make(top, {Entry::Folder, "", "", 0755, false}, isOrdinary);
    for (const Entry& entry : tree) {
        make(top + "/" + entry.path, entry, isOrdinary);
    }
    ::chmod(top.c_str(), 0755);
    for (auto entry = tree.rbegin(); entry != tree.rend(); ++entry) {
        if (entry->kind != Entry::Link) {
            ::chmod((top + "/" + entry->path).c_str(), entry->mode);
        }
    }
}

std::string contentOf(const fs::path& path) {
    std::error_code ignored;
    return fs::is_symlink(path, ignored)        ? " -> " + fs::read_symlink(path, ignored).string()
           : fs::is_regular_file(path, ignored) ? " |" + escaped(support::readFile(path)) + "|"
                                                : "";
}

/// Every entry below `top` with what can be told of it. An ordinary user opens what is closed to look at it:
/// the tree is not used again.
std::string snapshot(const std::string& top) {
    std::vector<std::string> lines;
    std::error_code ignored;
    for (auto entry =
             fs::recursive_directory_iterator(top, fs::directory_options::skip_permission_denied, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        struct stat status = {};
        ::lstat(entry->path().c_str(), &status);
        if (!S_ISLNK(status.st_mode) && ::geteuid() != 0) {
            ::chmod(entry->path().c_str(), 0700);
        }
        const std::string mode = S_ISLNK(status.st_mode) ? "link" : octal(status.st_mode & 07777);
        lines.push_back(escaped(entry->path().string().substr(top.size() + 1)) +
                        (S_ISDIR(status.st_mode) ? "/ " : " ") + mode + " " + std::to_string(status.st_uid) +
                        ":" + std::to_string(status.st_gid) + contentOf(entry->path()));
    }
    std::sort(lines.begin(), lines.end());
    std::string result;
    for (const std::string& line : lines) {
        result += line + "; ";
    }
    return result;
}

/// A place in the tree or beside it, sometimes one that is not there.
std::string placeIn(Random& random, const Tree& tree) {
    const Texts odd = {"", ".", "..", "a/..", "./a", "a/.", "a//b", "nowhere/a", "../top/b"};
    const Texts ends = {"", "", "", "", "/", "//", "/a", "/new", "/new/x", "/.", "/..", "/new/x/y/z"};
    if (random.oneIn(12)) {
        return random.of(odd);
    }
    const std::string start = tree.empty() || random.oneIn(4) ? random.of(names) : random.of(tree).path;
    return start + random.of(ends);
}

std::string outcomeOf(const std::error_code& error) { return error ? "failed" : "done"; }

std::string listing(const std::string& path) {
    constexpr std::string_view kinds = "-fd";
    auto shallow = folderEntries(path.c_str());
    std::string result(1, kinds[static_cast<std::size_t>(itemAtPath(path.c_str()))]);
    std::sort(shallow ? shallow->begin() : std::vector<std::string>::iterator(),
              shallow ? shallow->end() : std::vector<std::string>::iterator());
    result += shallow ? " names:" : " nothing";
    for (const std::string& name : shallow.value_or(Texts())) {
        result += " |" + escaped(name) + "|";
    }
    return result;
}

/// What is asked for in a tree: how it reads, and how it is done to a path.
struct Task {
    std::string text;
    std::function<std::string(const std::string& path)> work;
    bool changesTree;
};

Task creation(Random& random) {
    const std::vector<mode_t> modes = {0755, 0700, 01777, 0500, 0777, 02755, 0000, 0750};
    if (random.oneIn(2)) {
        return {"create",
                [](const std::string& path) { return outcomeOf(createFolders(path.c_str(), nullptr)); },
                true};
    }
    FolderAttributes attributes;
    attributes.mode = random.of(modes);
    attributes.owner = random.oneIn(2) ? std::optional<uid_t>(random.oneIn(2) ? 65534 : 0) : std::nullopt;
    attributes.group = random.oneIn(2) ? std::optional<gid_t>(random.oneIn(2) ? 65534 : 12) : std::nullopt;
    const auto told = [](const auto& id) { return id ? std::to_string(*id) : std::string("-"); };
    return {
        "create " + octal(attributes.mode) + " " + told(attributes.owner) + ":" + told(attributes.group),
        [attributes](const std::string& path) { return outcomeOf(createFolders(path.c_str(), &attributes)); },
        true};
}

Task writing(Random& random) {
    const Texts contents = {"", "new", std::string("a\0b", 3), "\xFF\xFE", "line\r\n"};
    const std::string content = random.of(contents);
    return {
        "write |" + escaped(content) + "|",
        [content](const std::string& path) { return outcomeOf(writeFileAtomically(path.c_str(), content)); },
        true};
}

Task taskIn(Random& random) {
    switch (random.below(4)) {
    case 0:
        return {"list", listing, false};
    case 1:
        return {"remove", [](const std::string& path) { return outcomeOf(removeTree(path.c_str())); }, true};
    case 2:
        return creation(random);
    default:
        return writing(random);
    }
}

std::string answerIn(const std::string& top, const Task& task, const std::string& path, mode_t mask,
                     bool isOrdinary) {
    return answerOf([&] {
        if (::chdir(top.c_str()) != 0) {
            return std::string("no such folder");
        }
        if (isOrdinary) {
            becomeOrdinaryUser();
        }
        ::umask(mask);
        return task.work(path);
    });
}

void reportTree(Random& random) {
    const std::vector<mode_t> masks = {022, 022, 077, 027, 0, 0777, 0333};
    const Tree tree = Planner(random).tree();
    const Task task = taskIn(random);
    const std::string place = placeIn(random, tree);
    const mode_t mask = random.of(masks);
    const bool isOrdinary = random.oneIn(2) || ::geteuid() != 0;
    const bool isRelative = place.empty() || random.oneIn(3);
    const support::TempFolder folder;
    const std::string top =
        folder / "1/2/top"; // links and dots lead out of the tree, but not out of the folder
    ::umask(022);
    fs::create_directories(fs::path(top).parent_path());
    ::chmod(folder.path().c_str(), 0755);
    make(top, tree, isOrdinary);
    const std::string answer = answerIn(top, task, isRelative ? place : top + "/" + place, mask, isOrdinary);
    report("tree",
           task.text + (isOrdinary ? " as user" : " as root") + " umask " + octal(mask) +
               (isRelative ? " relative |" : " absolute |") + escaped(place) + "| in " + described(tree),
           answer + (task.changesTree ? " left: " + snapshot(fs::path(top).parent_path()) : ""));
}

} // namespace

void reportTrees() {
    Random random(3);
    ::umask(022);
    for (int i = 0; i < 1600; ++i) {
        reportTree(random);
    }
}

} // namespace differential
