#include <fcntl.h>
#include <sys/file.h>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "Bench.h"
#include "Contender.h"

namespace bench {

namespace {

/// spdlog knows no other processes, so a file lock is held around each record.
class SpdlogWriter : public Writer {
  public:
    explicit SpdlogWriter(const std::string& path)
        : lock(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)),
          logger("HCD", std::make_shared<spdlog::sinks::basic_file_sink_st>(path)) {
        check(lock != -1, path + ".lock");
        logger.set_pattern("%D %H:%M:%S:%e | [%l] |  | HCD | HCDCustomHook |  |  |  | %t | %v");
        logger.flush_on(spdlog::level::info);
    }
    ~SpdlogWriter() override { ::close(lock); }

    void write(Kind kind, Identity id) override {
        check(::flock(lock, LOCK_EX) == 0, "flock");
        render(kind, id, kSecret, [this](Format format, auto... arguments) {
            logger.info(fmt::runtime(format.braces), arguments...);
        });
        check(::flock(lock, LOCK_UN) == 0, "flock");
    }

  private:
    int lock;
    spdlog::logger logger;
};

} // namespace

} // namespace bench

bench::Writer* openPeer(const char* path) { return new bench::SpdlogWriter(path); }
