// SPDX-License-Identifier: MIT
// The line that shows a waiting user what the program is doing.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace orvo::host {

/// While it lives, a thread of its own redraws one line on the terminal several times a second, also while
/// the owner is in a long call. The line appears after a moment and is erased in the end. Writes nothing when
/// `terminal` is no terminal.
class Progress {
public:
    /// `text` is called on that thread.
    explicit Progress(std::function<std::string()> text, int terminal = 2);

private:
    void show(const std::stop_token& stop) const;
    void draw(std::chrono::seconds passed) const;

    const std::function<std::string()> text_;
    const int terminal_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
