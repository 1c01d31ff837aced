// SPDX-License-Identifier: MIT
// Both ends of the load.
#include "TcpPeers.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

namespace orvo::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t port = 5001;

class Socket {
public:
    explicit Socket(int descriptor) : descriptor_(descriptor) {
        if (descriptor_ < 0) throw std::runtime_error(std::string("socket: ") + std::strerror(errno));
    }
    ~Socket() { close(descriptor_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int descriptor() const { return descriptor_; }

    void limitWaits(std::chrono::milliseconds limit) const {
        const timeval value{limit.count() / 1000, (limit.count() % 1000) * 1000};
        setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value);
        setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &value, sizeof value);
    }

private:
    const int descriptor_;
};

sockaddr_in place(const std::string& address) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &result.sin_addr);
    return result;
}

void require(int result, const char* what) {
    if (result != 0) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

template <class Function>
void at(const std::string& address, const Socket& socket, Function function, const char* what) {
    const sockaddr_in to = place(address);
    require(function(socket.descriptor(), reinterpret_cast<const sockaddr*>(&to), sizeof to), what);
}

/// Moves bytes until the other side or the time ends it; how many.
std::uint64_t stream(const Socket& socket, bool send, Clock::time_point end) {
    std::vector<char> block(std::size_t{128} * 1024);
    std::uint64_t moved = 0;
    while (Clock::now() < end) {
        const auto done = send ? ::send(socket.descriptor(), block.data(), block.size(), MSG_NOSIGNAL)
                               : recv(socket.descriptor(), block.data(), block.size(), 0);
        if (done <= 0) break;
        moved += static_cast<std::uint64_t>(done);
    }
    return moved;
}

/// The client's first byte says who sends.
void serveStreams(const Socket& listener) {
    for (;;) {
        const int accepted = accept(listener.descriptor(), nullptr, nullptr);
        if (accepted < 0) continue;
        const Socket client(accepted);
        client.limitWaits(std::chrono::seconds{5});
        char clientSends = 0;
        if (recv(client.descriptor(), &clientSends, 1, 0) != 1) continue;
        const auto moved = stream(client, clientSends == 0, Clock::now() + std::chrono::minutes{1});
        if (clientSends != 0) ::send(client.descriptor(), &moved, sizeof moved, MSG_NOSIGNAL);
    }
}

void echoDatagrams(const Socket& socket) {
    char datagram[64];
    sockaddr_in from{};
    for (;;) {
        socklen_t length = sizeof from;
        auto* const peer = reinterpret_cast<sockaddr*>(&from);
        const auto bytes = recvfrom(socket.descriptor(), datagram, sizeof datagram, 0, peer, &length);
        if (bytes > 0)
            sendto(socket.descriptor(), datagram, static_cast<std::size_t>(bytes), 0, peer, length);
    }
}

/// Nothing when no answer came in time.
bool exchange(const Socket& socket) {
    char datagram[32] = {};
    return send(socket.descriptor(), datagram, sizeof datagram, 0) == sizeof datagram &&
           recv(socket.descriptor(), datagram, sizeof datagram, 0) == sizeof datagram;
}

} // namespace

void serveLoads(const std::string& address) {
    auto* const listener =
        new Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)); // the threads' for ever
    auto* const echo = new Socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    at(address, *listener, bind, "bind");
    at(address, *echo, bind, "bind");
    require(listen(listener->descriptor(), 4), "listen");
    std::thread([listener] { serveStreams(*listener); }).detach();
    std::thread([echo] { echoDatagrams(*echo); }).detach();
}

double tcpBitsPerSecond(const std::string& address, Direction direction, std::chrono::seconds duration) {
    const Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    socket.limitWaits(std::chrono::seconds{5});
    at(address, socket, connect, "connect");
    const bool sends = direction == Direction::ToServer;
    const char first = sends ? 1 : 0;
    if (send(socket.descriptor(), &first, 1, MSG_NOSIGNAL) != 1) throw std::runtime_error("the far end went");
    const auto begin = Clock::now();
    auto bytes = stream(socket, sends, begin + duration);
    if (sends) { // what counts is what has arrived
        shutdown(socket.descriptor(), SHUT_WR);
        if (recv(socket.descriptor(), &bytes, sizeof bytes, MSG_WAITALL) != sizeof bytes)
            throw std::runtime_error("the far end went");
    }
    const std::chrono::duration<double> took = Clock::now() - begin;
    return static_cast<double>(bytes) * 8 / took.count();
}

std::chrono::nanoseconds roundTrip(const std::string& address, int rounds) {
    const Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    socket.limitWaits(std::chrono::seconds{1});
    at(address, socket, connect, "connect");
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 0; i < rounds; ++i) {
        const auto begin = Clock::now();
        if (exchange(socket)) times.push_back(Clock::now() - begin);
        usleep(1000); // so that everybody sleeps in between, as with traffic that is not a stream
    }
    if (times.empty()) throw std::runtime_error("no datagram came back");
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

bool answers(const std::string& address, std::chrono::seconds limit) {
    const sockaddr_in to = place(address);
    const auto end = Clock::now() + limit;
    while (Clock::now() < end) {
        const Socket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        socket.limitWaits(std::chrono::milliseconds{100});
        // Without a route, as before the interface is up, there is no connection.
        if (connect(socket.descriptor(), reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0 &&
            exchange(socket))
            return true;
        usleep(10'000);
    }
    return false;
}

} // namespace orvo::bench
