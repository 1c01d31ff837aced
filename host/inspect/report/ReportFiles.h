// SPDX-License-Identifier: MIT
// The files that a report goes into.
#pragma once

#include "base/ReplacedFile.h"
#include "inspect/report/Report.h"

#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// A page, a bundle, or both. They are made sure of before anything else is done, and replaced in the end.
class ReportFiles {
public:
    /// Empty: not wanted. Errors: UsageFailure when both are one file; Failure when one cannot be written.
    ReportFiles(const std::string& page, const std::string& bundle);
    ~ReportFiles();
    ReportFiles(const ReportFiles&) = delete;
    ReportFiles& operator=(const ReportFiles&) = delete;

    bool areWanted() const noexcept { return page_ || bundle_; }

    /// Where the bundle's capture is to be written; empty when none is wanted.
    const std::string& capturePath() const noexcept { return capturePath_; }

    /// Errors: Failure; what was not replaced is as it was.
    void write(const Report& report);

private:
    std::optional<ReplacedFile> page_, bundle_;
    std::string capturePath_; // beside the bundle, removed in the end
};

} // namespace orvo::host
