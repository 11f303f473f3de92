#include <cstdio>
#include <cstdlib>
#include <map>

#include <grp.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Cases.h"

namespace differential {

namespace {

/// A file in memory that a child writes to and its parent reads.
class Notes {
  public:
    Notes() : descriptor(::memfd_create("notes", MFD_CLOEXEC)) {}
    ~Notes() { ::close(descriptor); }
    Notes(const Notes&) = delete;
    Notes& operator=(const Notes&) = delete;

    void redirect(int output) const { ::dup2(descriptor, output); }
    bool add(const std::string& text) const {
        return ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }
    std::string text() const {
        std::string result(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
        result.resize(static_cast<std::size_t>(::pread(descriptor, result.data(), result.size(), 0)));
        return result;
    }

  private:
    int descriptor;
};

void limitTime() {
    constexpr rlimit seconds = {5, 6};
    ::setrlimit(RLIMIT_CPU, &seconds);
    ::alarm(60);
}

std::string endOf(int status) {
    return WIFSIGNALED(status) ? "[died of signal " + std::to_string(WTERMSIG(status)) + "]"
           : status != 0       ? "[ended with " + std::to_string(WEXITSTATUS(status)) + "]"
                               : "";
}

} // namespace

std::string Random::textOf(const std::vector<std::string>& list, std::size_t least, std::size_t most) {
    std::string text;
    for (std::size_t count = least + below(most - least + 1); count > 0; --count) {
        text += of(list);
    }
    return text;
}

std::string escaped(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '%' && c != '|' && c != ';') {
            result += c;
        } else {
            result.append({'%', digits[byte >> 4], digits[byte & 0xF]});
        }
    }
    return result;
}

std::string answerOf(const std::function<std::string()>& work) {
    const Notes answer;
    const Notes printed;
    std::fflush(stdout);
    const pid_t process = ::fork();
    if (process == 0) {
        limitTime();
        printed.redirect(STDERR_FILENO);
        ::_exit(answer.add(work()) ? 0 : 1);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    const std::string complaint = printed.text();
    return answer.text() + endOf(status) + (complaint.empty() ? "" : "[printed: " + escaped(complaint) + "]");
}

void becomeOrdinaryUser() {
    constexpr uid_t ordinaryUser = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot &&
        (::setgroups(0, nullptr) != 0 || ::setresgid(ordinaryUser, ordinaryUser, ordinaryUser) != 0 ||
         ::setresuid(ordinaryUser, ordinaryUser, ordinaryUser) != 0)) {
        ::_exit(1);
    }
}

void report(std::string_view kind, const std::string& input, const std::string& answer) {
    std::printf("%.*s\t%s\t%s\n", static_cast<int>(kind.size()), kind.data(), input.c_str(), answer.c_str());
}

} // namespace differential

int main(int count, char** arguments) {
    const std::map<std::string_view, void (*)()> kinds = {{"path", differential::reportPaths},
                                                          {"plist", differential::reportPropertyLists},
                                                          {"tree", differential::reportTrees},
                                                          {"xml", differential::reportXml}};
    const auto kind = kinds.find(count == 2 ? arguments[1] : "");
    if (kind == kinds.end()) {
        std::fputs("usage: answers path|plist|tree|xml\n", stderr);
        return EXIT_FAILURE;
    }
    kind->second();
    return EXIT_SUCCESS;
}
