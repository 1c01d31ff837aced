// SPDX-License-Identifier: MIT
#include "base/ChildProcess.h"

#include "base/Failure.h"
#include "base/FileDescriptor.h"
#include "base/NetworkNamespace.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
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

/// For exec: pointers into the texts, and a null pointer.
std::vector<char*> argumentsOf(std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (auto& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    return arguments;
}

std::string startFailure(const std::string& program, int reason) {
    return "cannot start " + host::quoted(program) + ": " + systemError(reason) + "; name another program";
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

ChildProcess startProgram(std::vector<std::string> command) {
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    const auto ignored = signalsToRestore();
    posix_spawnattr_setsigdefault(&attributes, &ignored);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO);
    ChildProcess child;
    const int reason = posix_spawnp(&child.id, command[0].c_str(), &files, &attributes,
                                    argumentsOf(command).data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (reason != 0) throw Failure(startFailure(command[0], reason));
    return child;
}

void awaitChild(ChildProcess& child) {
    const FileDescriptor ended(static_cast<int>(
        syscall(SYS_pidfd_open, child.id, 0))); // where there is none, poll skips it, and waitpid waits
    std::array<pollfd, 2> sources = {{{ended.get(), POLLIN, 0}, {endDescriptor(), POLLIN, 0}}};
    while (ended.get() >= 0 && sources[0].revents == 0) {
        poll(sources.data(), sources.size(), -1);
        if (sources[1].revents == 0) continue;
        sources[1] = {-1, 0, 0}; // once
        if (endRequested() != SIGINT) kill(child.id, endRequested());
    }
    int status = 0;
    while (waitpid(child.id, &status, 0) < 0 && errno == EINTR) {
    }
    child.exitCode = exitCodeOf(status);
}

void leaveTerminal() {
    setpgid(0, 0);
    const FileDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.get(), STDIN_FILENO); // if this fails, a read from the terminal stops the process
}

int becomeProgram(std::vector<std::string> command, const NetworkNamespace& place) {
    place.enter();
    mountSys();
    const auto arguments = argumentsOf(command);
    resetSignals();
    execvp(arguments[0], arguments.data());
    const int reason = errno;
    notice(startFailure(command[0], reason));
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
