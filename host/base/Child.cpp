// SPDX-License-Identifier: MIT
// Starting of processes.
#include "base/Child.h"

#include "base/Failure.h"
#include "base/NetworkNamespace.h"
#include "base/Notice.h"
#include "base/SignalWait.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace orvo::host {
namespace {

constexpr int notFound = 127; // as shells have it
constexpr int notExecutable = 126;

bool isExecutable(const std::filesystem::path& path) {
    std::error_code unknown;
    return std::filesystem::is_regular_file(path, unknown) && access(path.c_str(), X_OK) == 0;
}

// Its interfaces are those of the namespace that mounts it.
void mountSys() {
    unshareNamespaces(CLONE_NEWNS);
    if (mount("sysfs", "/sys", "sysfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0)
        throw Failure("cannot mount /sys: " + systemError(errno) +
                      "; run it on the machine itself, or in a container that was started with --privileged");
}

} // namespace

Child startChild(const std::function<int()>& work) {
    const pid_t id = fork();
    if (id < 0) throw Failure("cannot start a process: " + systemError(errno) + "; end others first");
    if (id != 0) return {id};
    int code = Failed;
    try {
        code = work();
    } catch (const std::exception& error) {
        notice(error.what());
    }
    std::fflush(nullptr);
    _exit(code);
}

void leaveTerminal() {
    setpgid(0, 0);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, 0); // if it fails, a read from the terminal stops the process
    close(nothing);
}

int becomeProgram(std::vector<std::string> command, const NetworkNamespace& end) {
    end.enter();
    mountSys();
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (auto& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    resetSignals();
    execvp(arguments[0], arguments.data());
    const int reason = errno;
    notice("cannot start " + host::quoted(command[0]) + ": " + systemError(reason) +
           "; name another program");
    return reason == ENOENT ? notFound : notExecutable;
}

bool isProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) return isExecutable(name);
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "/usr/bin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (isExecutable(std::filesystem::path(folder) / name)) return true;
    return false;
}

} // namespace orvo::host
