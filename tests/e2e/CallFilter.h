#pragma once

#include <string>
#include <vector>

/// Faults that no disk or user can give on demand: system calls that fail in the machine whenever they are
/// made.
namespace e2e {

using CallNumbers = std::vector<unsigned>;

CallNumbers callsThatChangeModes();
CallNumbers callsThatRename();
CallNumbers callsThatSync();
CallNumbers callsThatOpenSemaphores();
CallNumbers callsThatUseSemaphores();

/// The kernel's filter program, as bytes, by which every one of `calls` fails with `error`.
std::string callFilter(const CallNumbers& calls, int error);

/// The same for a filter by which nobody gets root's rights back who gave them up for a while.
std::string filterAgainstRoot();

/// The same for a filter by which whoever makes one of `calls` is killed.
std::string killingFilter(const CallNumbers& calls);

} // namespace e2e
