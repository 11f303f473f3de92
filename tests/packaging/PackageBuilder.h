#pragma once

#include <string>
#include <vector>

#include "e2e/Command.h"
#include "support/TempFolder.h"

/// The installer package of the home platform.
namespace packaging {

inline const std::string Identifier = "com.korvane.hcdcustomhook";
inline const std::string Location = "/Library/Application Support/Korvane/HCDCustomHook";

/// What a package holds, as folders and files.
struct Package {
    std::string payload;
    std::string scripts;
    std::string distribution; ///< the file
};

/// A copy of the project's package recipe, with a blank in its path, and a search path in which the home
/// platform's commands are stand-ins and the other commands are only those that the recipe needs.
class PackageBuilder {
  public:
    PackageBuilder();

    /// Puts a tool where a release build puts it.
    void putTool(const std::string& content) const;
    /// Removes the built tool, a stand-in or an instruction to a stand-in (see stand-in.sh).
    void remove(const std::string& name) const;
    /// Gives the stand-ins an instruction (see stand-in.sh).
    void instruct(const std::string& name, const std::string& content = "") const;

    e2e::Outcome build(const std::vector<std::string>& options = {}) const;
    /// Runs a script of the recipe with `options`.
    e2e::Outcome run(const std::string& script, const std::vector<std::string>& options = {}) const;
    /// Unpacks the package at `path`. The test fails when it is not a whole package.
    Package open(const std::string& path) const;

    /// One line for each call of a stand-in: its name and its arguments, each in angle brackets.
    std::vector<std::string> calls() const;
    /// The call of the stand-in `name`; the test fails when there was not exactly one.
    std::string callOf(const std::string& name) const;

    std::string tool() const { return project + "/build/mac/bin/HCDCustomHook"; }
    std::string output() const { return project + "/build/package"; }
    std::string operator/(const std::string& name) const { return place / name; }

  private:
    void unpack(const std::string& archive, const std::string& folder) const;

    support::TempFolder place;
    std::string project = place / "a project";
};

/// The names in the folder `path`, sorted; none when there is no such folder.
std::vector<std::string> namesIn(const std::string& path);

} // namespace packaging
