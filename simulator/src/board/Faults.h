// SPDX-License-Identifier: MIT
// Faults that are to happen: named, counted, and gone when they have happened often enough.
#pragma once

#include "BoardCondition.h"

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>

namespace orvo::sim {

/// Any thread. Tells the board's condition while registers or queues are concerned, so that nobody else needs
/// to ask.
class Faults {
public:
    explicit Faults(BoardCondition& condition) noexcept : condition_(condition) {}

    struct RegisterAnswer {
        int result = 0;
        std::uint64_t value = 0;
        unsigned times = 0;
    };
    void overrideRegister(std::uint32_t address, const RegisterAnswer& answer);
    void failReads(unsigned queue, int result, unsigned times);
    void misreportReads(unsigned queue, int extraBytes, unsigned times);
    void failOpen(unsigned times);
    void failConfigure(int result, unsigned times);

    // Each takes one occurrence off the count.
    std::optional<RegisterAnswer> takeRegisterAnswer(std::uint32_t address);
    std::optional<int> takeReadFailure(unsigned queue);
    std::optional<int> takeMisreport(unsigned queue);
    bool takeOpenFailure();
    std::optional<int> takeConfigureFailure();

private:
    struct Counted {
        int value = 0;
        unsigned times = 0;
        std::optional<int> take() noexcept;
    };
    using ByQueue = std::map<unsigned, Counted>;
    void setQueueFault(ByQueue& faults, unsigned queue, int value, unsigned times);
    std::optional<int> takeQueueFault(ByQueue& faults, unsigned queue);
    void updateCondition() noexcept;

    BoardCondition& condition_;
    std::mutex mutex_; // guards what follows
    std::map<std::uint32_t, std::deque<RegisterAnswer>> registers_;
    ByQueue failures_;
    ByQueue misreports_;
    Counted open_;
    Counted configure_;
};

} // namespace orvo::sim
