#include <elmu/logging/LogStream.h>

#include "platform/LogFile.h"

namespace elmu {

namespace {

/// The number of the log file that `s` was opened on. It goes along when the stream is moved or swapped.
long& logOf(std::ios& s) {
    static const int place = std::ios::xalloc();
    return s.iword(place);
}

/// The area for input of a file buffer. If the buffer is open for output only, nothing reads from the area.
/// Both libstdc++ and libc++ reset it when the buffer writes, moves its position or is closed. So a mark that
/// was left there when the buffer was opened tells that nobody has used or changed the buffer since.
class InputArea : public std::filebuf {
  public:
    static bool isMarked(std::filebuf& buffer, const void* by) { return (buffer.*&InputArea::eback)() == by; }

    static void mark(std::filebuf& buffer, const void* by) {
        auto* const place = static_cast<char*>(const_cast<void*>(by));
        (buffer.*&InputArea::setg)(place, place, place);
    }
};

} // namespace

void openStream(std::fstream& s, platform::LogFile& log) {
    const int descriptor = log.nextDescriptor();
    s.rdbuf()->pubsetbuf(nullptr, 0);
    s.open(log.reopenPath(), std::ios::out | std::ios::app);
    s << std::unitbuf;
    if (s.is_open()) {
        log.attach(descriptor);
    }
}

void markAsOpenedOn(std::fstream& s, platform::LogFile& log) {
    logOf(s) = log.number();
    if (log.hasAttached()) {
        InputArea::mark(*s.rdbuf(), &log);
    }
}

bool leadsTo(std::fstream& s, const platform::LogFile& log) {
    std::filebuf& buffer = *s.rdbuf();
    if (static_cast<const std::ios&>(s).rdbuf() != &buffer || logOf(s) != log.number()) {
        return false;
    }
    return (log.hasAttached() && InputArea::isMarked(buffer, &log)) || log.isAttached();
}

} // namespace elmu
