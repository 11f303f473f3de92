#pragma once

#include <fstream>

namespace platform {
class LogFile;
}

namespace elmu {

/// Opens `s` on the file that `log` has open, so that each insertion is written at once, and attaches its
/// descriptor to `log`.
void openStream(std::fstream& s, platform::LogFile& log);

/// Lets `leadsTo` recognise `s`, on which `openStream` was called last.
void markAsOpenedOn(std::fstream& s, platform::LogFile& log);

/// Whether what is inserted into `s` gets into `log` by the descriptor that is attached to it. False without
/// `markAsOpenedOn`. The system is asked only if somebody has used or changed the stream's buffer since.
bool leadsTo(std::fstream& s, const platform::LogFile& log);

} // namespace elmu
