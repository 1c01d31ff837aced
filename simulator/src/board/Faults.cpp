// SPDX-License-Identifier: MIT
// Counting faults down.
#include "Faults.h"

namespace orvo::sim {

std::optional<int> Faults::Counted::take() noexcept {
    if (times == 0) return std::nullopt;
    --times;
    return value;
}

void Faults::updateCondition() noexcept {
    condition_.set(Trouble::RegisterFaults, !registers_.empty());
    condition_.set(Trouble::QueueFaults, !failures_.empty() || !misreports_.empty());
}

void Faults::overrideRegister(std::uint32_t address, const RegisterAnswer& answer) {
    const std::lock_guard lock(mutex_);
    if (answer.times == 0)
        registers_.erase(address);
    else
        registers_[address].push_back(answer);
    updateCondition();
}

std::optional<Faults::RegisterAnswer> Faults::takeRegisterAnswer(std::uint32_t address) {
    const std::lock_guard lock(mutex_);
    const auto found = registers_.find(address);
    if (found == registers_.end()) return std::nullopt;
    auto& answers = found->second;
    const RegisterAnswer answer = answers.front();
    if (--answers.front().times == 0) answers.pop_front();
    if (answers.empty()) registers_.erase(found);
    updateCondition();
    return answer;
}

void Faults::setQueueFault(ByQueue& faults, unsigned queue, int value, unsigned times) {
    const std::lock_guard lock(mutex_);
    if (times == 0)
        faults.erase(queue);
    else
        faults[queue] = {value, times};
    updateCondition();
}

std::optional<int> Faults::takeQueueFault(ByQueue& faults, unsigned queue) {
    const std::lock_guard lock(mutex_);
    const auto found = faults.find(queue);
    if (found == faults.end()) return std::nullopt;
    const auto value = found->second.take();
    if (found->second.times == 0) faults.erase(found);
    updateCondition();
    return value;
}

void Faults::failReads(unsigned queue, int result, unsigned times) {
    setQueueFault(failures_, queue, result, times);
}

void Faults::misreportReads(unsigned queue, int extraBytes, unsigned times) {
    setQueueFault(misreports_, queue, extraBytes, times);
}

std::optional<int> Faults::takeReadFailure(unsigned queue) {
    return takeQueueFault(failures_, queue);
}

std::optional<int> Faults::takeMisreport(unsigned queue) {
    return takeQueueFault(misreports_, queue);
}

void Faults::failOpen(unsigned times) {
    const std::lock_guard lock(mutex_);
    open_ = {0, times};
}

bool Faults::takeOpenFailure() {
    const std::lock_guard lock(mutex_);
    return open_.take().has_value();
}

void Faults::failConfigure(int result, unsigned times) {
    const std::lock_guard lock(mutex_);
    configure_ = {result, times};
}

std::optional<int> Faults::takeConfigureFailure() {
    const std::lock_guard lock(mutex_);
    return configure_.take();
}

} // namespace orvo::sim
