// SPDX-License-Identifier: MIT
// The handlers of the ways in which an initialiser can end the process.
#include "board/LoadWatch.h"

#include "app/Failure.h"

#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>

namespace orvo::host {
namespace {

constexpr int fatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGSYS, SIGTRAP};
constexpr int endSignals[] = {SIGINT, SIGTERM, SIGHUP,
                              SIGALRM}; // nobody else can heed one while a library is loaded
constexpr unsigned patienceSeconds = 60;

// Static, since a handler may not ask for memory; empty: nothing is being loaded.
char lineEnd[4200] = "";
struct sigaction fatalBefore[std::size(fatalSignals)];
struct sigaction endBefore[std::size(endSignals)];
alignas(std::max_align_t) char handlersStack[64 * 1024]; // the library may have used up its own
stack_t stackBefore;
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

template <std::size_t count>
void takeSignals(const int (&numbers)[count], void (*handler)(int), struct sigaction (&before)[count]) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_ONSTACK;
    for (std::size_t i = 0; i < count; ++i) {
        sigaction(numbers[i], &action, &before[i]);
        if (before[i].sa_handler == SIG_IGN) sigaction(numbers[i], &before[i], nullptr);
    }
}

template <std::size_t count>
void giveSignalsBack(const int (&numbers)[count], const struct sigaction (&before)[count]) {
    for (std::size_t i = 0; i < count; ++i) sigaction(numbers[i], &before[i], nullptr);
}

/// Once back from here, the instruction at fault, or the signal sent anew, meets the action of before.
void die(int number) {
    const char* const name = sigdescr_np(number);
    tell(name ? name : "Fatal signal");
    giveSignalsBack(fatalSignals, fatalBefore);
    raise(number);
}

void end(int number) {
    tell(number == SIGALRM ? "No end after 60 s" : number == SIGINT ? "Interrupted" : "Terminated");
    _exit(128 + number);
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
    stack_t stack = {};
    stack.ss_sp = handlersStack;
    stack.ss_size = sizeof handlersStack;
    sigaltstack(&stack, &stackBefore);
    takeSignals(fatalSignals, die, fatalBefore);
    takeSignals(endSignals, end, endBefore);
    alarm(patienceSeconds);
}

LoadWatch::~LoadWatch() {
    alarm(0);
    giveSignalsBack(endSignals, endBefore);
    giveSignalsBack(fatalSignals, fatalBefore);
    sigaltstack(&stackBefore, nullptr);
    std::set_terminate(terminateBefore);
    lineEnd[0] = '\0';
}

} // namespace orvo::host
