// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>

namespace orvo::host {

/// A metrics file that is rewritten with each reading. Only the first time must succeed: a full disk may have
/// room again later. One thread at a time.
class MetricsFile {
public:
    /// With an empty path, nothing is written.
    explicit MetricsFile(std::string path) : path_(std::move(path)) {}

    bool isWanted() const noexcept { return !path_.empty(); }

    /// Errors: Failure the first time; later ones are told once.
    void renew(const std::string& text);

private:
    const std::string path_;
    bool worked_ = false;
    bool fails_ = false;
};

} // namespace orvo::host
