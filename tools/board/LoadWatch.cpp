// SPDX-License-Identifier: MIT
// The handlers of the ways in which an initialiser can end the process.
#include "board/LoadWatch.h"

#include "app/Failure.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>

namespace orvo::host {
namespace {

constexpr int fatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGSYS, SIGTRAP};

// Static, since a handler may not ask for memory; empty: nothing is being loaded.
char lineEnd[4200] = "";
struct sigaction actionsBefore[std::size(fatalSignals)];
std::terminate_handler terminateBefore = nullptr;

void write(const char* text) {
    if (::write(STDERR_FILENO, text, std::strlen(text)) < 0) return; // there is nobody left to tell
}

/// Once.
void tell(const char* what) {
    if (lineEnd[0] == '\0') return;
    write("orvo-gige: ");
    write(what);
    write(lineEnd);
    lineEnd[0] = '\0';
}

void restoreActions() {
    for (std::size_t i = 0; i < std::size(fatalSignals); ++i)
        sigaction(fatalSignals[i], &actionsBefore[i], nullptr);
}

/// Once back from here, the instruction at fault, or the signal sent anew, meets the action of before.
void die(int number) {
    const char* const name = sigdescr_np(number);
    tell(name ? name : "Fatal signal");
    restoreActions();
    raise(number);
}

/// The loader lets no exception through.
[[noreturn]] void dieOfException() {
    tell("An exception ended the process");
    std::abort();
}

/// An initialiser called `exit`; its status might pass for success.
void endAsFailure() {
    if (lineEnd[0] == '\0') return;
    std::fflush(nullptr);
    tell("The process was ended");
    _exit(Failed);
}

} // namespace

LoadWatch::LoadWatch(const std::filesystem::path& library) {
    [[maybe_unused]] static const int isHooked = std::atexit(endAsFailure);
    std::snprintf(lineEnd, sizeof lineEnd,
                  " while loading %s; repair the installation or name another one with --root\n",
                  quoted(library.string()).c_str());
    lineEnd[sizeof lineEnd - 2] = '\n'; // of a path that was cut
    terminateBefore = std::set_terminate(dieOfException);
    struct sigaction action = {};
    action.sa_handler = die;
    for (std::size_t i = 0; i < std::size(fatalSignals); ++i)
        sigaction(fatalSignals[i], &action, &actionsBefore[i]);
}

LoadWatch::~LoadWatch() {
    restoreActions();
    std::set_terminate(terminateBefore);
    lineEnd[0] = '\0';
}

} // namespace orvo::host
