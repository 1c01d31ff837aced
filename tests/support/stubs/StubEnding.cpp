// SPDX-License-Identifier: MIT
// A library without functions, whose initialiser ends the process as STUB_ENDING says.
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace {

const struct Ending {
    Ending() {
        const char* const text = std::getenv("STUB_ENDING");
        const std::string_view how = text ? text : "";
        if (how == "signal") std::raise(SIGSEGV);
        if (how == "exception") throw std::runtime_error("no luck");
        if (how == "exit") std::exit(0);
    }
} ending;

} // namespace
