// SPDX-License-Identifier: MIT
// The child of a trial, and what is left of it.
#include "checkup/doctor/Trial.h"

#include "base/Child.h"
#include "base/Failure.h"
#include "base/Signals.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace orvo::host {
namespace {

/// A file in memory, which a child that ends at any point leaves whole.
class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("trial", MFD_CLOEXEC)) {
        if (descriptor_ < 0)
            throw Failure("cannot try a library: " + systemError(errno) + "; end other programs first");
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

// Four texts a check and its further ones, each ended by a NUL, and an empty one; one NUL more behind all.
// Written at once: it is whole, or it is not there.
std::string encoded(const Checks& checks) {
    std::string text;
    const auto add = [&](const std::string& field) { text += field.substr(0, field.find('\0')) + '\0'; };
    for (const auto& check : checks) {
        for (const auto& field :
             {std::to_string(static_cast<int>(check.verdict)), check.name, check.found, check.mend})
            add(field);
        for (const auto& name : check.uncalled) add(name);
        add("");
    }
    return text + '\0';
}

std::optional<Checks> decoded(const std::string& text) {
    if (!text.ends_with('\0')) return std::nullopt;
    Checks checks;
    for (std::size_t at = 0; at + 1 < text.size();) {
        const auto next = [&] {
            std::string field = text.c_str() + at; // to the next NUL
            at += field.size() + 1;
            return field;
        };
        const auto verdict = static_cast<Verdict>(std::stoi(next()));
        auto name = next(), found = next(), mend = next();
        checks.push_back({std::move(name), verdict, std::move(found), std::move(mend)});
        for (auto entry = next(); !entry.empty(); entry = next())
            checks.back().uncalled.push_back(std::move(entry));
    }
    return checks;
}

Checks failed(const Check& blamed, const std::string& found) {
    return {{blamed.name, Verdict::Bad, found, blamed.mend}};
}

Checks resultOf(const Check& blamed, const std::function<Checks()>& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        return failed(blamed, withoutAdvice(error.what()));
    }
}

/// A group of its own, so that nothing that it starts is left; gone with its parent; no core files.
void leaveParent(const MemoryFile& words) {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit none = {};
    setrlimit(RLIMIT_CORE, &none);
    leaveTerminal();
    dup2(words.descriptor(), STDOUT_FILENO);
    dup2(words.descriptor(), STDERR_FILENO);
}

/// Readable, as poll sees it, once the process has ended. The C library of Debian 12 declares its own
/// function for that wrongly.
int endDescriptorOf(pid_t process) {
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

/// The status as waitpid has it; nothing: it had to be ended.
std::optional<int> awaitEnd(pid_t child, std::chrono::milliseconds limit) {
    pollfd ends[] = {{endDescriptorOf(child), POLLIN, 0}, {endDescriptor(), POLLIN, 0}};
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int result = 0;
    do {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        result = poll(ends, std::size(ends), static_cast<int>(std::max(left.count(), 0L)));
    } while (result < 0 && errno == EINTR && endRequested() == 0);
    close(ends[0].fd);
    const bool inTime = result > 0 && ends[0].revents != 0;
    kill(-child, SIGKILL); // what it started, and itself
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    throwIfEndRequested();
    return inTime ? std::optional(status) : std::nullopt;
}

std::string endOf(std::optional<int> status, std::chrono::milliseconds limit) {
    if (!status) return fmt::format("nothing comes of it within {} ms", limit.count());
    if (WIFSIGNALED(*status))
        return fmt::format("it ends the process by a signal ({})", strsignal(WTERMSIG(*status)));
    return fmt::format("it ends the process (exit code {})", WEXITSTATUS(*status));
}

std::string endOf(std::optional<int> status, std::chrono::milliseconds limit, const std::string& words) {
    std::istringstream lines(words);
    std::string last;
    for (std::string line; std::getline(lines, line);) last = line;
    return endOf(status, limit) + (last.empty() ? "" : "; its last words: " + last);
}

} // namespace

Checks tried(const Check& blamed, const std::function<Checks()>& work, std::chrono::milliseconds limit) {
    const MemoryFile result, words;
    const auto child = startChild([&] {
        leaveParent(words);
        const auto text = encoded(resultOf(blamed, work));
        return write(result.descriptor(), text.data(), text.size()) < 0 ? Failed : Done;
    });
    setpgid(child.id, child.id); // whoever of the two comes first
    const auto status = awaitEnd(child.id, limit);
    if (auto checks = decoded(result.content())) return *checks;
    return failed(blamed, endOf(status, limit, words.content()));
}

} // namespace orvo::host
