#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// Cases of a differential test: the same for every program that generates them, answered by the host that
/// the program is linked with.
namespace differential {

/// Numbers that are the same on every machine: only the engine's output is laid down, that of the library's
/// distributions is not.
class Random {
  public:
    explicit Random(std::uint32_t seed) : engine(seed) {}

    /// A number from 0 to `count` - 1.
    std::size_t below(std::size_t count) { return engine() % count; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename List> const auto& of(const List& list) { return list[below(std::size(list))]; }
    /// From `least` to `most` elements of `list`, one after the other.
    std::string textOf(const std::vector<std::string>& list, std::size_t least, std::size_t most);

  private:
    std::mt19937 engine;
};

/// `text` in printable ASCII: every other byte, and "%", "|" and ";", as "%" and two digits.
std::string escaped(std::string_view text);

/// What `work` gives in a child process, which may use a few seconds. How the child died when it did, and
/// what it printed on standard error, are part of the answer.
std::string answerOf(const std::function<std::string()>& work);

/// Makes this process an ordinary user's for good, if it is root's.
void becomeOrdinaryUser();

/// Prints a case and its answer as one line.
void report(std::string_view kind, const std::string& input, const std::string& answer);

void reportPaths();
void reportXml();
void reportTrees();
void reportPropertyLists();

} // namespace differential
