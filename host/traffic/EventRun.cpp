// SPDX-License-Identifier: MIT
#include "traffic/EventRun.h"

#include "base/FileDescriptor.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <poll.h>

#include <array>
#include <exception>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds longestWait{60'000};

/// Counts events down to a limit, on the thread that takes them.
class EventPrinter {
public:
    EventPrinter(std::uint64_t events, const std::function<void(const PortEvent&)>& print)
        : left_(events), isLimited_(events != 0), print_(print) {}

    void take(const PortEvent& event) noexcept {
        if (isDone_) return;
        try {
            print_(event);
        } catch (...) {
            failure_ = std::current_exception();
        }
        isDone_ = failure_ || (isLimited_ && --left_ == 0);
        if (isDone_) done_.raise();
    }

    int doneDescriptor() const noexcept { return done_.descriptor(); }

    /// After that thread has ended.
    void rethrow() const {
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    std::uint64_t left_;
    const bool isLimited_;
    const std::function<void(const PortEvent&)>& print_;
    bool isDone_ = false;
    EventFd done_;
    std::exception_ptr failure_;
};

void awaitEnd(const EventPrinter& printer, std::chrono::duration<double> time) {
    std::array<pollfd, 2> sources = {{{endDescriptor(), POLLIN, 0}, {printer.doneDescriptor(), POLLIN, 0}}};
    const auto begin = Clock::now();
    while (endRequested() == 0 && sources[1].revents == 0) {
        const auto left = time - (Clock::now() - begin);
        if (time.count() != 0 && left.count() <= 0) return;
        const auto pause = time.count() == 0 || left > longestWait
                               ? longestWait
                               : std::chrono::ceil<std::chrono::milliseconds>(left);
        poll(sources.data(), sources.size(), static_cast<int>(pause.count()));
    }
}

} // namespace

TrafficAccount runEvents(const EventRequest& request, const std::function<void(const PortEvent&)>& print) {
    const auto port = request.port.address;
    const BoardAccess access(request.installation, port.board);
    EventPrinter printer(request.events, print);
    TrafficRun traffic(access, request.installation, {port}, !request.port.noReset,
                       [&printer](const PortEvent& event) { printer.take(event); });
    traffic.openLive();
    if (endRequested() == 0) notice("waiting for events of port " + port.text() + "; end with Ctrl-C");
    awaitEnd(printer, request.time);
    traffic.stop();
    auto account = traffic.finish({{.port = port}});
    printer.rethrow();
    return account;
}

} // namespace orvo::host
