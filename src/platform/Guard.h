// SPDX-License-Identifier: MIT
// The common root of scoped guards.
#pragma once

namespace orvo::templates::patterns {

/// Root of the guards over an object that T, a pointer type, points to. The derived class locks and unlocks
/// it.
template <class T> class Guard {
public:
    Guard() = default;
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    virtual ~Guard() = default;
};

} // namespace orvo::templates::patterns
