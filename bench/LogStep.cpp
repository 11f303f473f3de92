// One step of a log's life as a program of its own: its rotation, which opening a large log begins, or its
// pruning. usage: log_step rotate|prune LOG

#include <cstdio>
#include <filesystem>
#include <string>

#include <elmu/logging/LogTargetDefault.h>

int main(int count, char** arguments) {
    const std::string step = count == 3 ? arguments[1] : "";
    if (step != "rotate" && step != "prune") {
        std::fprintf(stderr, "usage: log_step rotate|prune LOG\n");
        return 2;
    }
    const std::filesystem::path path = std::filesystem::absolute(arguments[2]);
    elmu::LogTargetDefault target("bench");
    if (!target.setLogFile(path.filename().c_str(), path.parent_path().c_str())) {
        return 1;
    }
    if (step == "prune") {
        target.removeLogFilesExceptLastN(2);
        return 0;
    }
    const bool opened = target.onRegisterTarget();
    target.onUnregisterTarget();
    return opened && std::filesystem::file_size(path) == 0 ? 0 : 1;
}
