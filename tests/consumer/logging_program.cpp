#include <fstream>
#include <iostream>

#include "use_logging.h"

/// Logs a record and prints the log.
int main() {
    if (!useLogging("/tmp")) {
        return 1;
    }
    std::cout << std::ifstream("/tmp/consumer.log").rdbuf();
}
