// SPDX-License-Identifier: MIT
// Drawing of the progress line.
#include "base/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;

constexpr auto eraseLine = "\r\033[2K";

std::size_t columnsOf(int terminal) {
    winsize size = {};
    return ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col : 80;
}

void put(int terminal, const std::string& text) {
    if (write(terminal, text.data(), text.size()) < 0) return; // a terminal that is gone needs no progress
}

} // namespace

Progress::Progress(std::function<std::string()> text, int terminal)
    : text_(std::move(text)), terminal_(terminal) {
    if (isatty(terminal_)) thread_ = std::jthread([this](const std::stop_token& stop) { show(stop); });
}

Progress::~Progress() = default;

void Progress::show(const std::stop_token& stop) const {
    std::mutex lock;
    std::condition_variable_any stopped;
    std::unique_lock guard(lock);
    const auto begin = std::chrono::steady_clock::now();
    bool drawn = false;
    for (auto pause = 400ms; !stopped.wait_for(guard, stop, pause, [] { return false; }); pause = 200ms) {
        if (stop.stop_requested()) break;
        draw(std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin));
        drawn = true;
    }
    if (drawn) put(terminal_, eraseLine);
}

// The cursor goes back to the line's start, so that a log line in between is written over the text and not
// after it.
void Progress::draw(std::chrono::seconds passed) const {
    const auto time = ", " + std::to_string(passed.count()) + " s";
    const auto room = columnsOf(terminal_) - 1;
    auto text = text_();
    text.resize(std::min(text.size(), room - std::min(room, time.size())));
    put(terminal_, eraseLine + text + time + "\r");
}

} // namespace orvo::host
