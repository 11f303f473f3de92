#pragma once

namespace elmu {
class Logger;
}

/// Writes the specifier manifest of the Halcyra application, "halcyra.xml", into the machine-wide
/// specifiers folder, which is made if it is missing. An existing manifest is replaced as a whole. Reports
/// the outcome through `logger`: INFO when written, WARN when not. True when the file was written.
bool createSpecifierFile(elmu::Logger* logger);

/// Removes the specifier manifest; the folder stays. Reports the outcome through `logger` at INFO, a failed
/// removal too. Always true.
bool deleteSpecifierFile(elmu::Logger* logger);
