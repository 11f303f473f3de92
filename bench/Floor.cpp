// The same work with nothing around it: semaphore down, one write of the same bytes, semaphore up.

#include <fcntl.h>
#include <unistd.h>

#include "Bench.h"
#include "Contender.h"

namespace bench {

namespace {

void putNumber(char* place, int digits, int number) {
    for (int digit = digits - 1; digit >= 0; --digit) {
        place[digit] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
}

/// A finished line in which only the numbers are replaced.
class Line {
  public:
    explicit Line(const std::string& text) : bytes(text), identity(bytes.find(kIdentity)) {
        check(identity != std::string::npos, "The floor's line");
    }

    const std::string& of(Identity id) {
        putNumber(&bytes[identity + kMark.size()], kSequenceDigits, id.sequence);
        putNumber(&bytes[identity + kProcessPlace], kProcessDigits, id.process);
        return bytes;
    }

  private:
    std::string bytes;
    std::size_t identity;
};

std::vector<Line> linesOfAllKinds(const std::string& prefix) {
    std::vector<Line> lines;
    lines.reserve(kKinds.size());
    for (const Kind kind : kKinds) {
        lines.emplace_back(prefix + messageText(kind, {0, 0}, kMask) + "\n");
    }
    return lines;
}

using Take = void (Semaphore::*)() const;

class FloorWriter : public Writer {
  public:
    FloorWriter(const Semaphore& lock, Take way, const std::string& prefix, const std::string& path)
        : semaphore(lock), take(way), lines(linesOfAllKinds(prefix)),
          file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
        check(file != -1, path);
    }
    ~FloorWriter() override { ::close(file); }

    void write(Kind kind, Identity id) override {
        const std::string& line = lines[static_cast<std::size_t>(kind)].of(id);
        (semaphore.*take)();
        const ssize_t written = ::write(file, line.data(), line.size());
        semaphore.give();
        check(written == static_cast<ssize_t>(line.size()), "write");
    }

  private:
    const Semaphore& semaphore;
    Take take;
    std::vector<Line> lines;
    int file;
};

Opener prepareWith(Take take) {
    return [semaphore = std::make_shared<Semaphore>(), prefix = linePrefix(), take](const std::string& path) {
        return std::make_unique<FloorWriter>(*semaphore, take, prefix, path);
    };
}

} // namespace

Opener prepareFloor() { return prepareWith(&Semaphore::take); }

Opener prepareFloorTries() { return prepareWith(&Semaphore::tryThenTake); }

} // namespace bench
