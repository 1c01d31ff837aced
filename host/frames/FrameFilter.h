// SPDX-License-Identifier: MIT
// Choosing frames by an expression of libpcap's filter language.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct bpf_program;

namespace orvo::host {

/// A compiled filter. Any thread.
class FrameFilter {
public:
    /// Errors: UsageFailure with libpcap's reason when the expression does not compile.
    explicit FrameFilter(const std::string& expression);

    /// Whether an Ethernet frame without frame check sequence fits the expression.
    bool passes(const void* frame, std::size_t bytes) const noexcept;

private:
    struct Free {
        void operator()(bpf_program* program) const noexcept;
    };
    std::unique_ptr<bpf_program, Free> program_;
};

} // namespace orvo::host
