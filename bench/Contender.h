#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Messages.h"
#include <elmu/logging/LogLevel.h>

namespace bench {

/// One process's way into a log.
class Writer {
  public:
    Writer() = default;
    virtual ~Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    virtual void write(Kind kind, Identity id) = 0;
};

/// Opens the log `path`, in the process that is to write it.
using Opener = std::function<std::unique_ptr<Writer>(const std::string& path)>;

/// A way in which several processes can share a log. `prepare` makes what they share, before they start.
struct Contender {
    const char* name;
    bool masks;
    std::function<Opener()> prepare;
};

Opener prepareFloor();      ///< waits for the semaphore at once
Opener prepareFloorTries(); ///< tries the semaphore a while, then waits
Opener prepareElmu();

/// Other people's loggers are modules beside the program, which define `openPeer`.
bool hasPeer(const std::string& name);
Opener preparePeer(const std::string& name);

std::unique_ptr<Writer> openElmu(const std::string& path, elmu::Log_Level level);

/// What elmu writes before the message of a record, in this process.
std::string linePrefix();

} // namespace bench

extern "C" bench::Writer* openPeer(const char* path);
