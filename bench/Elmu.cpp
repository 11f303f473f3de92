#include <filesystem>

#include "Bench.h"
#include "Contender.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr const char* kIdentifier = "bench";

class ElmuWriter : public Writer {
  public:
    ElmuWriter(const fs::path& path, elmu::Log_Level level) : target(kIdentifier) {
        target.setLogLevel(level);
        check(target.setLogFile(path.filename().c_str(), path.parent_path().c_str()) &&
                  elmu::LoggingCore::getInstance()->registerTarget(&target),
              path);
    }
    ~ElmuWriter() override { elmu::LoggingCore::getInstance()->unregisterTarget(&target); }

    void write(Kind kind, Identity id) override {
        render(kind, id, kSecret,
               [this](Format format, auto... arguments) { logger.info(format.percent, arguments...); });
    }

  private:
    elmu::LogTargetDefault target;
    elmu::Logger logger{kIdentifier, "", "HCD", "HCDCustomHook", ""};
};

} // namespace

std::unique_ptr<Writer> openElmu(const std::string& path, elmu::Log_Level level) {
    return std::make_unique<ElmuWriter>(path, level);
}

Opener prepareElmu() {
    return [](const std::string& path) { return openElmu(path, elmu::levels::info); };
}

std::string linePrefix() {
    const fs::path path = fs::temp_directory_path() / ("hcd-bench-" + std::to_string(::getpid()) + ".log");
    openElmu(path, elmu::levels::info)->write(Kind::brief, {0, 0});
    std::string line;
    std::getline(std::ifstream(path), line);
    fs::remove(path);
    const std::string message = messageText(Kind::brief, {0, 0}, kMask);
    check(line.ends_with(message), "The first record");
    return line.substr(0, line.size() - message.size());
}

} // namespace bench
