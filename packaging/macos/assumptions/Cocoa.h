#pragma once

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "Catching.h"

namespace assumptions {

/// Never null: what is no UTF-8 becomes empty.
NSString* objectOf(const std::string& text);

/// "(nil)" for null.
std::string textOf(NSString* string);

/// Whether `work` raises an NSException.
template <typename Work> bool raises(Work work) {
    const auto run = [](void* context) { (*static_cast<Work*>(context))(); };
    const std::unique_ptr<char, decltype(&std::free)> reason(reasonOfException(run, &work), &std::free);
    return reason != nullptr;
}

/// Ends the life of the objects that were autoreleased since its construction.
class Pool {
  public:
    Pool() : pool([[NSAutoreleasePool alloc] init]) {}
    ~Pool() { [pool drain]; }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

  private:
    NSAutoreleasePool* pool;
};

} // namespace assumptions
