#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// The elements that may be nested in each other.
inline constexpr std::size_t deepestXml = 257;

/// Whether the text is a whole XML document in UTF-8, well formed and nested no deeper than `deepestXml`. A
/// document that declares anything in its document type is refused, and so is a reference to anything but a
/// character: only a library can tell what those stand for. So are quotes and brackets in places where less
/// strict readers do not expect them, such as a double quote in an instruction. Never throws.
bool isWholeXml(std::string_view document);

} // namespace platform
