// SPDX-License-Identifier: MIT
#include "base/ChildProcess.h"

#include "base/Failure.h"
#include "base/FileDescriptor.h"
#include "base/NetworkNamespace.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace orvo::host {
namespace {

constexpr int notFound = 127; // exit codes of shells
constexpr int notExecutable = 126;

bool isExecutable(const std::filesystem::path& path) {
    std::error_code unknown;
    return std::filesystem::is_regular_file(path, unknown) && access(path.c_str(), X_OK) == 0;
}

// A sysfs shows the interfaces of the namespace that mounted it.
void mountSys() {
    unshareNamespaces(CLONE_NEWNS);
    if (mount("sysfs", "/sys", "sysfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0)
        throw Failure("cannot mount /sys: " + systemError(errno) +
                      "; run it on the machine itself, or in a container that was started with --privileged");
}

void giveForegroundToOwnGroup() {
    std::signal(SIGTTOU, SIG_IGN); // it would stop a process that is not in the foreground yet
    tcsetpgrp(STDIN_FILENO, getpgrp());
}

} // namespace

ChildProcess startChild(const std::function<int()>& work) {
    const pid_t id = fork();
    if (id < 0)
        throw Failure("cannot start a process: " + systemError(errno) + "; end other processes first");
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
    const FileDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.get(), STDIN_FILENO); // if this fails, a read from the terminal stops the process
}

int becomeProgram(std::vector<std::string> command, const NetworkNamespace& place) {
    place.enter();
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

bool isInteractive() {
    return isatty(STDIN_FILENO) && isatty(STDOUT_FILENO) && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

void becomeForegroundGroup() {
    setpgid(0, 0);
    giveForegroundToOwnGroup();
}

ForegroundGuard::ForegroundGuard() : wasOurs_(isInteractive()) {}

ForegroundGuard::~ForegroundGuard() {
    if (wasOurs_) giveForegroundToOwnGroup();
}

} // namespace orvo::host
