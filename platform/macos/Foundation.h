#pragma once

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Catching.h"

/// What every source of this host needs from Foundation: pools, texts, errors, exceptions.
namespace platform {

/// Ends the life of the objects that were autoreleased since its construction.
class AutoreleasePool {
  public:
    AutoreleasePool() : pool([[NSAutoreleasePool alloc] init]) {}
    ~AutoreleasePool() { [pool drain]; }
    AutoreleasePool(const AutoreleasePool&) = delete;
    AutoreleasePool& operator=(const AutoreleasePool&) = delete;

  private:
    NSAutoreleasePool* pool;
};

/// `text` as an object that the pool owns. Null when it would not come back byte for byte: it is no UTF-8, or
/// the framework takes something in it for no part of the text.
NSString* stringOf(std::string_view text);

/// The UTF-8 bytes of `string`. Empty for null.
std::string textOf(NSString* string);

/// The path `path` as an object that the pool owns. Null when it is no text.
NSString* pathOf(const char* path);

/// The system's error at the bottom of `error`; without one, what the framework's own code means, or an
/// input/output error.
std::error_code systemErrorOf(NSError* error);

/// Runs `work`. The reason of the NSException that it raised, if it did.
template <typename Work> std::optional<std::string> exceptionIn(Work work) {
    const auto run = [](void* context) { (*static_cast<Work*>(context))(); };
    const std::unique_ptr<char, decltype(&std::free)> reason(reasonOfException(run, &work), &std::free);
    return reason ? std::optional<std::string>(reason.get()) : std::nullopt;
}

/// What `work` gives, or `otherwise` when it raises an NSException.
template <typename Work, typename Value> Value valueOr(Value otherwise, Work work) {
    Value value = std::move(otherwise);
    exceptionIn([&] { value = work(); });
    return value;
}

} // namespace platform
