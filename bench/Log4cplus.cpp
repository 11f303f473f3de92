#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include "Contender.h"

namespace bench {

namespace {

log4cplus::helpers::Properties settings(const std::string& path) {
    log4cplus::helpers::Properties properties;
    properties.setProperty("File", path);
    properties.setProperty("MaxFileSize", "2000MB"); // never reached
    properties.setProperty("Append", "true");
    properties.setProperty("ImmediateFlush", "true");
    properties.setProperty("UseLockFile", "true");
    return properties;
}

class Log4cplusWriter : public Writer {
  public:
    explicit Log4cplusWriter(const std::string& path) : logger(log4cplus::Logger::getInstance("HCD")) {
        const log4cplus::SharedAppenderPtr appender(new log4cplus::RollingFileAppender(settings(path)));
        appender->setLayout(std::make_unique<log4cplus::PatternLayout>(
            "%D{%m/%d/%y %H:%M:%S:%q} | [%p] |  | HCD | HCDCustomHook |  |  |  | %T | %m%n"));
        logger.addAppender(appender);
    }
    ~Log4cplusWriter() override { logger.removeAllAppenders(); }

    void write(Kind kind, Identity id) override {
        render(kind, id, kSecret, [this](Format format, auto... arguments) {
            LOG4CPLUS_INFO_FMT(logger, format.percent, arguments...);
        });
    }

  private:
    log4cplus::Logger logger;
};

} // namespace

} // namespace bench

bench::Writer* openPeer(const char* path) { return new bench::Log4cplusWriter(path); }
