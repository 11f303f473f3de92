#include <elmu/logging/LineBuffer.h>

#include <cstdio>
#include <string_view>

#include "platform/AppendFile.h"

namespace elmu {

namespace {

int whenceOf(std::ios_base::seekdir direction) {
    if (direction == std::ios_base::beg) {
        return SEEK_SET;
    }
    return direction == std::ios_base::cur ? SEEK_CUR : SEEK_END;
}

} // namespace

LineBuffer::LineBuffer() : file(std::make_unique<platform::AppendFile>()) {}

LineBuffer::~LineBuffer() = default;

bool LineBuffer::open(const std::string& path) { return !file->open(path.c_str()); }

void LineBuffer::close() { file->close(); }

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize count) {
    return file->append(std::string_view(text, static_cast<std::size_t>(count))) ? 0 : count;
}

LineBuffer::int_type LineBuffer::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        return traits_type::not_eof(character);
    }
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

LineBuffer::pos_type LineBuffer::seekoff(off_type offset, std::ios_base::seekdir direction,
                                         std::ios_base::openmode /*which*/) {
    return pos_type(file->seek(offset, whenceOf(direction)));
}

LineBuffer::pos_type LineBuffer::seekpos(pos_type position, std::ios_base::openmode which) {
    return seekoff(off_type(position), std::ios_base::beg, which);
}

} // namespace elmu
