#pragma once

#include <cstdarg>
#include <type_traits>

namespace elmu {

namespace detail {

template <class List> char* travellingForm(List& list) {
    if constexpr (std::is_same_v<List, char*>) {
        return list;
    } else {
        return reinterpret_cast<char*>(&list);
    }
}

template <class List> void copyFromTravellingForm(List& copy, char* args) {
    if constexpr (std::is_same_v<List, char*>) {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started by the caller.
        va_copy(copy, args);
    } else {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started by the caller.
        va_copy(copy, *reinterpret_cast<List*>(args));
    }
}

} // namespace detail

/// The `char*` under which a started argument list travels through the library: the list itself where
/// the machine's `va_list` is a pointer to characters, else the address of `list`. Valid until the
/// `va_end` of `list`, which must be the variable given to `va_start`, not a parameter.
inline char* travellingArguments(std::va_list& list) { return detail::travellingForm(list); }

/// A consumer's own copy of a travelling argument list, so that one list can be consumed any number of
/// times. `args` must not be null.
class ArgumentList {
  public:
    explicit ArgumentList(char* args) { detail::copyFromTravellingForm(list, args); }
    ~ArgumentList() { va_end(list); }
    ArgumentList(const ArgumentList&) = delete;
    ArgumentList& operator=(const ArgumentList&) = delete;

    std::va_list& get() { return list; }

  private:
    std::va_list list;
};

} // namespace elmu
