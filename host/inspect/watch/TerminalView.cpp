// SPDX-License-Identifier: MIT
// Drawing in place, on the terminal's second screen, so that the first is as it was in the end.
#include "base/Output.h"
#include "inspect/watch/Screen.h"
#include "inspect/watch/WatchView.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace orvo::host {
namespace {

constexpr auto enter = "\033[?1049h\033[?25l\033[2J"; // second screen, no cursor, empty
constexpr auto leave = "\033[?25h\033[?1049l";
constexpr auto home = "\033[H";
constexpr auto endOfLine = "\033[K";
constexpr auto restOfScreen = "\033[J";

std::string_view variable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

ScreenForm formNow() {
    ScreenForm form{.colour = variable("NO_COLOR").empty(), .blocks = hasUnicode()};
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 2 || size.ws_row < 2) return form;
    form.columns = size.ws_col;
    form.lines = size.ws_row;
    return form;
}

std::atomic<bool> stopRequested{false}; // by Ctrl-Z

/// From its first drawing on it has the screen, which it gives back for a stop and in the end.
class TerminalView : public WatchView {
public:
    TerminalView() {
        struct sigaction action = {};
        action.sa_handler = [](int) { stopRequested = true; };
        action.sa_flags = SA_RESTART;
        sigaction(SIGTSTP, &action, &stopBefore_);
    }

    ~TerminalView() override {
        sigaction(SIGTSTP, &stopBefore_, nullptr);
        if (!drawing_) return;
        std::fputs(leave, stdout); // a terminal that is gone needs no more
        std::fflush(stdout);
    }

    void show(const WatchState& state) override {
        if (!state.news.empty()) news_ = state.news;
        draw(state);
    }

    void showAgain(const WatchState& state) override {
        if (stopRequested.exchange(false)) {
            giveBack();
            std::raise(SIGSTOP); // until somebody lets it go on
            draw(state);
        } else if (const auto form = formNow(); form.columns != form_.columns || form.lines != form_.lines) {
            draw(state);
        }
    }

    void end(const WatchState& state) override {
        giveBack();
        auto form = formNow();
        form.lines = 0;
        std::string text;
        for (const auto& line : linesOf(state, form)) text += line + "\n";
        print(text);
    }

private:
    std::vector<std::string> linesOf(const WatchState& state, const ScreenForm& form) const {
        auto withNews = state;
        withNews.news = news_;
        return screenOf(withNews, form);
    }

    void draw(const WatchState& state) {
        form_ = formNow();
        std::string text = drawing_ ? home : std::string(enter) + home;
        drawing_ = true;
        bool isFirst = true;
        for (const auto& line : linesOf(state, form_)) {
            text += (isFirst ? "" : "\r\n") + line + endOfLine;
            isFirst = false;
        }
        print(text + restOfScreen);
    }

    void giveBack() {
        if (drawing_) print(leave);
        drawing_ = false;
    }

    struct sigaction stopBefore_ = {};
    ScreenForm form_;
    std::vector<std::string> news_; // the last there were
    bool drawing_ = false;
};

} // namespace

bool canDraw() {
    return isatty(STDOUT_FILENO) && !variable("TERM").empty() && variable("TERM") != "dumb";
}

std::unique_ptr<WatchView> makeTerminalView() {
    return std::make_unique<TerminalView>();
}

} // namespace orvo::host
