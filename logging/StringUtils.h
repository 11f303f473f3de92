#pragma once

#include <string>

namespace elmu {

/// Numbers as decimal text.
class StringUtils {
  public:
    /// Replaces `text` with `value` in decimal digits, with a leading minus sign when negative. Always
    /// true.
    static bool LongToNativeString(long long value, std::string& text);

    /// `value` in decimal digits, with a leading minus sign when negative.
    static std::string IntToNativeString(int value);
};

} // namespace elmu
