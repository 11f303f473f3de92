#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What may not stand in a log: decided on text alone.
namespace elmu {

/// What is written in the place of a message that carries a token.
inline constexpr const char* kTokenNotice = "Found access/device token. Log skipped.";

/// Whether `message` carries a signed token: it holds "eyJ" and, from the first of these on, ".eyJ". A single
/// ".eyJ" is none. One scan where there is no "eyJ".
bool carriesToken(const char* message);

/// Whether `message` could hold an XML element at all: one scan.
bool mayHoldElement(const char* message);

/// Replaces what stands in `text` from `openPosition + openLength`, where the opening tag at `openPosition`
/// ends, to `closePosition` with "****". When the closing tag comes first, the text between the two stands
/// twice. Throws `std::out_of_range` when `closePosition` is beyond the end.
void maskContent(std::string& text, std::size_t openPosition, std::size_t closePosition,
                 std::size_t openLength);

/// Masks the content of the first element of each of the lower-case names `names`, one after the other, in
/// `out`, which must equal `message` on entry. Tags are found in any case and keep theirs. Only a bare
/// opening tag counts, and the first closing tag anywhere ends it. An empty first element is left, and so are
/// all later elements of its name. Names have no angle brackets. The message is searched once.
void maskElements(const std::vector<std::string>& names, std::string_view message, std::string& out);

} // namespace elmu
