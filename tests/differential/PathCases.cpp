#include <array>
#include <filesystem>

#include "Cases.h"
#include "platform/Paths.h"
#include "support/TempFolder.h"

using namespace platform;
namespace fs = std::filesystem;

namespace differential {

namespace {

const std::vector<std::string> pieces = {"a",          "b",
                                         "Name",       "log",
                                         "9",          "-",
                                         "_",          "/",
                                         "/",          "/",
                                         "//",         ".",
                                         ".",          ".",
                                         "..",         "/./",
                                         "/../",       " ",
                                         "~",          "~root",
                                         ":",          "C:",
                                         "\\",         "%",
                                         "*",          "\t",
                                         "\n",         "\x01",
                                         "\x7F",       "\u061C",
                                         "\u200E",     "\u200F",
                                         "\u202A",     "\u202E",
                                         "\u2066",     "\u2069",
                                         "\u200B",     "\u00A0",
                                         "\u00E4",     "a\u0308",
                                         "\u0301",     "\u65E5",
                                         "\U0001F600", "\uFEFF",
                                         "\uFFFD",     "\xEF\xBF\xBE",
                                         "\xFF",       "\xC3",
                                         "\xE2\x82",   "\xED\xA0\x80",
                                         "\xC0\x80",   "\xF4\x90\x80\x80",
                                         ".tar.gz",    ".."};

std::string orNil(const std::optional<std::string>& text) { return text ? escaped(*text) : "|nothing|"; }

void reportOperation(const std::string& name, const std::vector<std::string>& arguments,
                     const std::function<std::optional<std::string>()>& operation) {
    std::string input = name;
    for (const std::string& argument : arguments) {
        input += " |" + escaped(argument) + "|";
    }
    report("path", input, answerOf([&] { return orNil(operation()); }));
}

void reportOperations(const std::string& path, const std::string& other) {
    reportOperation("append", {path, other}, [&] { return appendingPathComponent(path, other); });
    reportOperation("delete last", {path}, [&] { return deletingLastPathComponent(path); });
    reportOperation("last", {path}, [&] { return lastPathComponent(path); });
    reportOperation("delete extension", {path}, [&] { return deletingPathExtension(path); });
    reportOperation("append extension", {path, other}, [&] { return appendingPathExtension(path, other); });
    reportOperation("standardize", {path}, [&] { return standardizedPath(path); });
}

/// Folders and links of every sort below `place`.
void furnish(const fs::path& place) {
    fs::create_directories(place / "d/e/f");
    fs::create_directories(place / "sp ace/\u00E4");
    fs::create_directories(place / ".hidden");
    fs::create_directory_symlink("d/e", place / "link");
    fs::create_directory_symlink("link", place / "link2");
    fs::create_directory_symlink("../sp ace", place / "d/side");
    fs::create_directory_symlink("..", place / "d/e/up");
    fs::create_directory_symlink(place / "d/e/f", place / "far");
    fs::create_symlink("nowhere", place / "dangling");
    fs::create_symlink("loop", place / "loop");
    support::writeFile(place / "file", "");
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

void reportRealPlaces(Random& random) {
    const std::vector<std::string> names = {
        "d",  "e", "f", "link",   "link2", "far", "side", "up",       "..",   "..",     "..",      "..",
        "..", ".", "",  "sp ace", "a",     "~",   "loop", "dangling", "file", "\u00E4", ".hidden", "\xFF"};
    const support::TempFolder folder;
    const std::string place = folder / "1/2/3";
    furnish(place);
    for (int i = 0; i < 1500; ++i) {
        std::string below;
        for (std::size_t count = random.below(7); count > 0; --count) {
            below += "/" + random.of(names);
        }
        below += random.oneIn(4) ? "/" : "";
        const std::string answer = answerOf([&] { return standardizedPath(place + below); });
        report("path", "standardize real |" + escaped(below) + "|",
               escaped(replaced(answer, folder.path(), "<root>")));
    }
}

} // namespace

void reportPaths() {
    Random random(1);
    standardizedPath("/a/b");
    for (int i = 0; i < 1000; ++i) {
        const std::string path = (random.oneIn(2) ? "/" : "") + random.textOf(pieces, 0, 8);
        reportOperations(path, random.textOf(pieces, 0, 4));
    }
    reportRealPlaces(random);
}

} // namespace differential
