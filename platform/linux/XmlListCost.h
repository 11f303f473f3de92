#pragma once

#include <string_view>

namespace platform {

/// Whether libplist could take seconds to read an XML property list, which is well-formed: it moves the rest
/// of a text for each reference in it, and searches a whole dictionary for each key that is there already.
bool mayTakeLongToRead(std::string_view list);

} // namespace platform
