#pragma once

#include <functional>
#include <optional>
#include <string>

#include "support/TempFolder.h"

/// Work in a process of its own, which may give up its rights, move or change its limits.
namespace child {

/// What `work` gives in a forked child. Fails the test when the child dies of it.
std::string resultOf(const std::function<std::string()>& work);

/// Makes this process an ordinary user's for good, if it is root's.
void becomeOrdinaryUser();

/// From now on the system refuses this process the call of that number with `error`. False when that cannot
/// be arranged.
bool refuseSystemCall(long number, int error);

/// A folder that a child takes for the whole machine.
class Machine {
  public:
    Machine();
    /// Puts a file there; `path` is absolute as the child sees it.
    void put(const std::string& path, const std::string& content) const;
    /// The folder or file `path` as seen from outside.
    std::string outside(const std::string& path) const { return root.path() + path; }
    /// What `work` gives in a child inside. Nothing when this process may not make itself a machine.
    std::optional<std::string> resultOf(const std::function<std::string()>& work) const;

  private:
    support::TempFolder root;
};

} // namespace child
