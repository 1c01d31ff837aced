// SPDX-License-Identifier: MIT
// The thread of a live wire, and sending through it.
#include "wire/LiveWire.h"

#include "base/Threads.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace orvo::sim {

using offload::OffloadHeader;

namespace {

using SteadyClock = std::chrono::steady_clock; // networks run in real time

// How long a frame waits for room in the interface's send queue. The memory of a joined frame becomes free
// with its last segment: after 54 ms at 10 Mbit/s.
constexpr auto sendPatience = std::chrono::milliseconds{200};
// How often to look for an interface that is gone, in case no message announced its return.
constexpr int absentMs = 200;
// How soon to try again when the bench mutex was taken and the port's link could not follow.
constexpr int followMs = 1;

bool isFull(int error) noexcept {
    return error == EAGAIN || error == ENOBUFS || error == EINTR;
}

/// The interface is down or gone; the wire's thread may not have seen it yet.
bool isAway(int error) noexcept {
    return error == ENETDOWN || error == ENXIO || error == ENODEV || error == EIO || error == EBADFD;
}

} // namespace

LiveWire::LiveWire(const std::string& interface, std::unique_ptr<FrameDevice> device, FrameSink& port)
    : port_(port), watch_(interface), device_(std::move(device)),
      end_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    const std::string subject = "interface '" + interface + "' ";
    const auto view = watch_.look();
    if (view.index == 0) throw WireError(subject + "does not exist; `ip link` shows those that do");
    if (!watch_.isEthernet()) throw WireError(subject + "carries no Ethernet frames; name another interface");
    const int error = end_.get() < 0 ? errno : device_->attach(view.index);
    if (error != 0) throw WireError(subject + "cannot be used: " + std::strerror(error));
    attached_ = view.index;
    state_ = view.state;
    mtu_ = view.mtu;
}

LiveWire::~LiveWire() {
    if (!thread_.joinable()) return;
    eventfd_write(end_.get(), 1); // cannot fail: the count is far from its limit
    thread_.join();
}

void LiveWire::plugged(LinkListener& listener) noexcept {
    listener_ = &listener;
    if (device_->takesJoined()) startBursts();
    toldCarrier_ = hasCarrier();
    if (state_ != InterfaceState::Up) report(state_);
    try {
        thread_ = startThread([this] { run(); });
    } catch (const std::system_error& error) {
        state_ = InterfaceState::Absent;
        std::fprintf(stderr,
                     "simulated board: interface '%s' carries no frames, as its thread cannot start: %s\n",
                     watch_.name().c_str(), error.what());
    }
}

/// Without a thread, frames go singly.
void LiveWire::startBursts() noexcept {
    try {
        const auto sendOne = [this](const OffloadHeader& offload, WireBytes content, bool isPatient) {
            return send(offload, content, isPatient);
        };
        bursts_ = std::make_unique<BurstSender>(sendOne, *listener_);
        bursts_->setMtu(mtu_);
    } catch (const std::exception&) {
    }
}

void LiveWire::run() noexcept {
    for (;;) {
        pollfd events[] = {{end_.get(), POLLIN, 0},
                           {watch_.bell(), POLLIN, 0},
                           {attached_ != 0 ? device_->descriptor() : -1, POLLIN, 0}};
        const int count = poll(events, 3, patienceMs());
        if (events[0].revents != 0) return;
        const int shown = events[2].revents;
        if ((shown & POLLIN) != 0) device_->receive(port_);
        if ((shown & ~POLLIN) != 0) {
            device_->clearError();
            attached_ = 0;
        }
        if (count == 0 || events[1].revents != 0 || attached_ == 0) lookAtInterface();
        if (toldCarrier_ != hasCarrier() && listener_->farEndChanged()) toldCarrier_ = !toldCarrier_;
    }
}

int LiveWire::patienceMs() const noexcept {
    if (toldCarrier_ != hasCarrier()) return followMs;
    return attached_ != 0 ? -1 : absentMs;
}

void LiveWire::lookAtInterface() noexcept {
    const auto view = watch_.look();
    if (view.index != attached_)
        attached_ = view.index != 0 && device_->attach(view.index) == 0 ? view.index : 0;
    if (bursts_) bursts_->setMtu(view.mtu);
    const auto now = attached_ != 0 ? view.state : InterfaceState::Absent;
    const auto before = state_.exchange(now);
    if ((before == InterfaceState::Up) != (now == InterfaceState::Up)) report(now);
}

void LiveWire::report(InterfaceState now) const noexcept {
    constexpr std::array sentences = {"is gone; no frames pass until it is back",
                                      "is down; no frames pass until you bring it up: ip link set ",
                                      "has no carrier; no frames pass until it has", "is up"};
    const char* const name = watch_.name().c_str();
    const bool isDown = now == InterfaceState::Down;
    std::fprintf(stderr, "simulated board: interface '%s' %s%s%s\n", name,
                 sentences.at(static_cast<std::size_t>(now)), isDown ? name : "", isDown ? " up" : "");
}

bool LiveWire::transmit(WireBytes frame) noexcept {
    return !isGoodFrame(frame) ||
           transmitUnsealed(withoutFcs(frame)); // the far end's MAC would drop a bad one
}

bool LiveWire::transmitUnsealed(WireBytes content) noexcept {
    if (content.size() > maxFrameBytes) return true; // and a long one
    if (bursts_ && !bursts_->settle()) return false; // frames before it are stuck
    return send({}, content, true);
}

bool LiveWire::send(const OffloadHeader& offload, WireBytes content, bool isPatient) noexcept {
    const int error = isPatient ? sendPatiently(offload, content) : device_->send(offload, content);
    if (error != 0 && !offload.isJoined()) reportUnsent(content.size(), error);
    return error == 0;
}

/// Says nothing about errors that the interface's state explains: the wire's thread reports that.
void LiveWire::reportUnsent(std::size_t bytes, int error) noexcept {
    if (isFull(error) || isAway(error) || saidUnsent_.exchange(true)) return;
    std::fprintf(stderr, "simulated board: interface '%s' did not take a frame of %zu bytes: %s\n",
                 watch_.name().c_str(), bytes, std::strerror(error));
}

/// 0, or the error of the last attempt.
int LiveWire::sendPatiently(const OffloadHeader& offload, WireBytes content) noexcept {
    int error = device_->send(offload, content);
    if (error == 0) [[likely]]
        return 0;
    if (error == ENETDOWN)
        error = device_->send(offload, content); // the first may report an error from before
    for (const auto limit = SteadyClock::now() + sendPatience; isFull(error) && SteadyClock::now() < limit;) {
        pollfd room{error == EAGAIN ? device_->descriptor() : -1, POLLOUT, 0};
        poll(&room, 1, 1);
        error = device_->send(offload, content);
    }
    return error;
}

} // namespace orvo::sim
