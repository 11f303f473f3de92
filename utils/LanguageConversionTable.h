#pragma once

#include <map>
#include <string>

namespace ELMUUtils {

/// The written forms of language tags (exact, case-sensitive) and the product locale of each: 107 entries.
/// Filled by the first call, which must have returned before another thread calls; then only read. Static
/// objects may use it in their constructors and destructors.
const std::map<std::string, std::string>& GetKorvaneLanguageConversionTable();

} // namespace ELMUUtils
