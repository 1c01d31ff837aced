// SPDX-License-Identifier: MIT
// A library without functions, whose initialiser fails as STUB_ENDING says.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace {

// NOLINTNEXTLINE(misc-no-recursion): on purpose
int exhaustStack(int depth) {
    volatile char room[64 * 1024];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : exhaustStack(depth + 1) + room[0];
}

const struct Ending {
    Ending() {
        const char* const text = std::getenv("STUB_ENDING");
        const std::string_view how = text ? text : "";
        if (how == "signal") std::raise(SIGSEGV);
        if (how == "exception") throw std::runtime_error("no luck");
        if (how == "exit") std::exit(0);
        if (how == "overflow") exhaustStack(0);
        while (how == "hang") pause();
    }
} ending;

} // namespace
