#pragma once

#include <cstdint>
#include <string_view>

/// What parsers need for a document, estimated before they get it. Libraries do not limit all of it, and
/// their limits differ.
namespace platform {

/// The memory beyond the document's own size, in bytes, that may be needed to parse it.
inline constexpr std::uint64_t mostParsingMemory = 64 << 20;

/// What the smallest piece of markup and the text after it become, in bytes.
inline constexpr std::uint64_t markupMemory = 340;

/// Whether parsing the XML document `text` could take more memory than `mostParsingMemory`, or more than
/// a few seconds: by the number of its elements, by the attributes or namespaces that are compared with each
/// other, or by what its own entities and default attributes stand for. Parameter entities count as too much,
/// because a small document does not need them, and so does a document type that cannot be read. Never
/// throws.
bool mayCostTooMuch(std::string_view text);

} // namespace platform
