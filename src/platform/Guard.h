// SPDX-License-Identifier: MIT
// The common root of scoped guards.
#pragma once

namespace orvo::templates::patterns {

/// Root of the guards over an object designated by T, a pointer type. What is guarded, and how, is the
/// derived class's.
template <class T> class Guard {
public:
    Guard() = default;
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    virtual ~Guard() = default;
};

} // namespace orvo::templates::patterns
