// SPDX-License-Identifier: MIT
// The line that tells a waiting user what is going on.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace orvo::host {

/// While it lives, one line on the terminal, renewed several times a second by a small thread, so that it
/// also moves while the owner sits in a long call; shown only once the work has taken a moment, and removed
/// in the end. Writes nothing at all when `terminal` is no terminal.
class Progress {
public:
    /// `text` is called on the small thread.
    explicit Progress(std::function<std::string()> text, int terminal = 2);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void show(const std::stop_token& stop) const;
    void draw(std::chrono::seconds passed) const;

    const std::function<std::string()> text_;
    const int terminal_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
