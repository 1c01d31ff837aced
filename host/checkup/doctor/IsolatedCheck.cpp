// SPDX-License-Identifier: MIT
// The child sends its checks as JSON in one memory file; what foreign code prints goes into another.
#include "checkup/doctor/IsolatedCheck.h"

#include "base/ChildProcess.h"
#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace orvo::host {
namespace {

/// Keeps what a child wrote before it ended, at whatever point that was.
class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("check", MFD_CLOEXEC)) {
        if (descriptor_ < 0)
            throw Failure("cannot test a library: " + systemError(errno) + "; end other programs first");
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int descriptor() const noexcept { return descriptor_; }

    std::string content() const {
        std::ifstream file(fmt::format("/proc/self/fd/{}", descriptor_), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    const int descriptor_;
};

Checks resultOf(const Check& blamed, const std::function<Checks()>& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        return {failedCheck(blamed, withoutAdvice(error.what()))};
    }
}

/// In the child: its group is its own, so that all that it starts can be ended; it ends with its parent,
/// leaves no core file, and signals have their default effect.
void isolate(const MemoryFile& output) {
    leaveTerminal();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit none = {};
    setrlimit(RLIMIT_CORE, &none);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) std::signal(number, SIG_DFL);
    dup2(output.descriptor(), STDOUT_FILENO);
    dup2(output.descriptor(), STDERR_FILENO);
}

bool hasEnded(pid_t child) {
    siginfo_t end = {};
    return waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid != 0;
}

/// Waits for the child, then kills what is left of its group. Returns its status as waitpid does; nothing
/// when it was still running after `limit`.
std::optional<int> awaitEnd(pid_t child, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    bool ended = hasEnded(child);
    for (; !ended && endRequested() == 0 && std::chrono::steady_clock::now() < deadline;
         ended = hasEnded(child))
        awaitEndRequest(std::chrono::milliseconds(1));
    kill(-child, SIGKILL);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    throwIfEndRequested();
    return ended ? std::optional(status) : std::nullopt;
}

std::string endingOf(std::optional<int> status, std::chrono::milliseconds limit) {
    if (!status) return fmt::format("it did not finish within {} ms", limit.count());
    if (WIFSIGNALED(*status))
        return fmt::format("it crashed the process with signal {}", strsignal(WTERMSIG(*status)));
    return fmt::format("it ended the process with exit code {}", WEXITSTATUS(*status));
}

std::string lastLineOf(const std::string& output) {
    std::istringstream lines(output);
    std::string last;
    for (std::string line; std::getline(lines, line);) last = line;
    return last.empty() ? "" : "; the last line it printed: " + last;
}

} // namespace

Checks runIsolated(const Check& blamed, const std::function<Checks()>& work,
                   std::chrono::milliseconds limit) {
    const MemoryFile result, output;
    const auto child = startChild([&] {
        isolate(output);
        const auto document = jsonText(checksJson(resultOf(blamed, work)));
        return write(result.descriptor(), document.data(), document.size()) < 0 ? Failed : Done;
    });
    setpgid(child.id, child.id); // the child does the same: either may run first
    const auto status = awaitEnd(child.id, limit);
    const auto document = nlohmann::ordered_json::parse(result.content(), nullptr, false);
    if (!document.is_discarded()) return checksFrom(document);
    return {failedCheck(blamed, endingOf(status, limit) + lastLineOf(output.content()))};
}

} // namespace orvo::host
