#pragma once

#include <functional>

/// How many blocks of memory `work` takes with `new` on this thread.
int allocationsOf(const std::function<void()>& work);
