#include <filesystem>

#include <dlfcn.h>

#include "Bench.h"
#include "Contender.h"

namespace bench {

namespace {

std::string modulePath(const std::string& name) {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / ("peer_" + name + ".so");
}

} // namespace

bool hasPeer(const std::string& name) { return std::filesystem::exists(modulePath(name)); }

Opener preparePeer(const std::string& name) {
    return [module = modulePath(name)](const std::string& path) {
        void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
        check(library != nullptr, module);
        const auto open = reinterpret_cast<decltype(&openPeer)>(::dlsym(library, "openPeer"));
        check(open != nullptr, "openPeer");
        return std::unique_ptr<Writer>(open(path.c_str()));
    };
}

} // namespace bench
