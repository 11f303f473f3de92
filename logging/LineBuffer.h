#pragma once

#include <memory>
#include <streambuf>
#include <string>

namespace platform {
class AppendFile;
}

namespace elmu {

/// What a log's stream writes through. The buffers of the C++ libraries differ: some send a line on byte by
/// byte, or keep one that could not be written and send it later. This one keeps nothing; each insertion of a
/// text goes to the end of the file as one write, or is lost.
class LineBuffer : public std::streambuf {
  public:
    LineBuffer();
    ~LineBuffer() override;

    /// Opens the existing file `path` in place of the one that is open. False when it cannot be opened.
    bool open(const std::string& path);

    void close();

  protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int_type overflow(int_type character) override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

  private:
    std::unique_ptr<platform::AppendFile> file;
};

} // namespace elmu
