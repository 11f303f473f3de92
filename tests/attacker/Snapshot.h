#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace attack {

/// What a run did that it must not do, and to what.
struct Harm {
    /// "created", "changed", "emptied", "given away", "removed", "revealed", "hung" or "failed"
    std::string what;
    std::string where;
};

/// What there is outside the places that a run may change: the user's home and disk, the cache and the
/// manifest.
class Snapshot {
  public:
    Snapshot();

    /// What is different in `later`.
    std::vector<Harm> harmsIn(const Snapshot& later) const;

  private:
    struct Entry {
        std::string rights; ///< type, mode, owner and group
        off_t size;
        std::string content; ///< its head and its tail, or a link's target
    };

    void addTree(const std::string& path, const std::set<std::string>& without);
    void add(const std::string& path);

    std::map<std::string, Entry> entries;
};

/// The files below the user's places that the user can read and that hold the secret.
std::vector<Harm> revealedSecrets();

} // namespace attack
