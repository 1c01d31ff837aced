// SPDX-License-Identifier: MIT
// An owned file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace orvo::sim {

class Descriptor {
public:
    explicit Descriptor(int number = -1) noexcept : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) close(number_); // of sockets and events, whose closing cannot lose data
    }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;

    /// Negative when there is none.
    int get() const noexcept { return number_; }

private:
    int number_;
};

} // namespace orvo::sim
