#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Children.h"

namespace {

int playRole(const std::vector<std::string>& roleAndArguments) {
    const auto role = support::roles().find(roleAndArguments.front());
    if (role == support::roles().end()) {
        return 126;
    }
    return role->second({roleAndArguments.begin() + 1, roleAndArguments.end()});
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[1], support::roleOption) == 0) {
        return playRole({argv + 2, argv + argc});
    }
    testing::InitGoogleTest(&argc, argv);
    std::signal(SIGPIPE, SIG_IGN);
    return RUN_ALL_TESTS();
}
