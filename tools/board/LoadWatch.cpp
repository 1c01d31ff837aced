// SPDX-License-Identifier: MIT
// The handlers of the ways in which an initialiser can end the process.
#include "board/LoadWatch.h"

#include "app/Failure.h"

#include <unistd.h>

#include <algorithm>
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
constexpr int endSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr unsigned patienceSeconds = 60;
constexpr unsigned graceSeconds = 1; // once the end is asked for; an ordinary load is over by then
constexpr const char* outOfPatience = "No end after 60 s";

// Static, since a handler may not ask for memory; empty: nothing is being loaded.
char lineEnd[4200] = "";
struct sigaction fatalBefore[std::size(fatalSignals)];
struct sigaction endBefore[std::size(endSignals)];
struct sigaction alarmBefore;
volatile std::sig_atomic_t askedBy = 0; // the signal that asked for the end while the library was loaded
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

/// The library does not return: nobody else could heed what asked for the end.
void giveUp(int number) {
    tell(askedBy == 0 ? outOfPatience : askedBy == SIGINT ? "Interrupted" : "Terminated");
    _exit(128 + (askedBy != 0 ? askedBy : number));
}

/// The handler of before gets the signal, and with SA_RESETHAND no second one; a library that hangs gets a
/// moment.
void passOn(int number) {
    struct sigaction& before =
        endBefore[std::find(std::begin(endSignals), std::end(endSignals), number) - endSignals];
    askedBy = number;
    if (before.sa_handler == SIG_DFL) giveUp(number);
    before.sa_handler(number);
    if ((static_cast<unsigned>(before.sa_flags) & SA_RESETHAND) != 0) before.sa_handler = SIG_DFL;
    alarm(graceSeconds);
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
    askedBy = 0;
    takeSignals(endSignals, passOn, endBefore);
    struct sigaction action = {};
    action.sa_handler = giveUp;
    sigaction(SIGALRM, &action, &alarmBefore);
    alarm(patienceSeconds);
}

LoadWatch::~LoadWatch() {
    alarm(0);
    sigaction(SIGALRM, &alarmBefore, nullptr);
    giveSignalsBack(endSignals, endBefore);
    giveSignalsBack(fatalSignals, fatalBefore);
    sigaltstack(&stackBefore, nullptr);
    std::set_terminate(terminateBefore);
    lineEnd[0] = '\0';
}

} // namespace orvo::host
