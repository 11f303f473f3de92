#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "attacker/Ground.h"

namespace attack {

/// What an attacker puts in the place of something else.
enum class Thing {
    LinkToPrivate, ///< a link to root's folder or file that has the same name in `Private`
    LinkToPublic,  ///< a link to `Public`
    LinkToSecret,  ///< a link to root's file
    LinkToAbsent,  ///< a link to a file that root could make
    LinkToOthers,  ///< a link to another user's file
    HardLink,      ///< root's file under a second name
    Fifo,
    Folder,  ///< an empty one
    File,    ///< a regular file of the user
    Nothing, ///< the place is left empty
};

std::string described(Thing thing);

/// Puts `thing` at `path`, where nothing is, to take the place of `replaced` then or later. To be called as
/// the user; a hard link needs root.
bool put(Thing thing, const std::string& path, const std::string& replaced);
inline bool put(Thing thing, const std::string& path) { return put(thing, path, path); }
/// Where a swap keeps what was at `path`: beside it, under a name that does not begin as the log's does.
std::string keptAt(const std::string& path);

/// Names that an attacker can swap.
struct Place {
    std::string name;
    /// The paths that have this role now. What the tool has not made yet has the path where the attacker
    /// expects it: `hidden` are the names of hidden files that the tool is known to use.
    std::function<std::vector<std::string>(const std::vector<std::string>& hidden)> paths;
    std::vector<Thing> things; ///< what is put there
};

inline std::ostream& operator<<(std::ostream& stream, const Place& place) { return stream << place.name; }

/// What the user, acting as such, did to the entries of a place.
class Swap {
  public:
    /// Puts `thing` in the place of each path, as far as the kernel permits it to the user. What was there is
    /// kept beside it under another name. A hard link is made with root's help: some systems permit it to
    /// everybody.
    Swap(const std::vector<std::string>& paths, Thing thing);

    /// Whether anything was swapped.
    bool succeeded() const { return !done.empty(); }
    /// Puts back what was there.
    void undo();

  private:
    std::vector<std::string> done;
};

} // namespace attack
