// SPDX-License-Identifier: MIT
#include "traffic/EventRun.h"

#include "base/FileDescriptor.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <exception>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

/// After `time` from now; 0: never.
Clock::time_point endOf(std::chrono::duration<double> time) {
    return time.count() == 0 ? Clock::time_point::max()
                             : Clock::now() + std::chrono::ceil<Clock::duration>(time);
}

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

} // namespace

TrafficAccount runEvents(const EventRequest& request, const std::function<void(const PortEvent&)>& print) {
    const auto port = request.port.address;
    const BoardAccess access(request.boards, port.board);
    EventPrinter printer(request.events, print);
    TrafficRun traffic(access, request.boards, {port}, !request.port.noReset,
                       [&printer](const PortEvent& event) { printer.take(event); });
    traffic.openLive();
    if (endRequested() == 0) notice("waiting for events of port " + port.text() + "; end with Ctrl-C");
    awaitEndRequest(endOf(request.time), printer.doneDescriptor());
    traffic.stop();
    auto account = traffic.finish({{.port = port}});
    printer.rethrow();
    return account;
}

} // namespace orvo::host
