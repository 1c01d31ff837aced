// SPDX-License-Identifier: MIT
#pragma once

#include "base/Failure.h"
#include "base/OutputFile.h"
#include "inspect/report/Report.h"

#include <optional>
#include <string>

namespace orvo::host {

/// The files of a report: a page, a bundle, or both. They are opened before the diagnosis begins and replaced
/// at its end, so that a bad name is refused at once and a failed run leaves the old files.
class ReportFiles {
public:
    /// An empty name: not wanted. Errors: Failure when both are the same file, or when one cannot
    /// be written; UsageFailure for a bundle whose name does not end like an archive.
    ReportFiles(const std::string& page, const std::string& bundle);
    ~ReportFiles();
    ReportFiles(const ReportFiles&) = delete;
    ReportFiles& operator=(const ReportFiles&) = delete;

    bool areWanted() const noexcept { return page_ || bundle_; }

    /// Where to write the bundle's capture; empty without a bundle.
    const std::string& capturePath() const noexcept { return capturePath_; }

    /// Where to record the board calls for the bundle; empty without a bundle.
    const std::string& recordingPath() const noexcept { return recordingPath_; }

    /// For a handler: throws its error again, with the names that the user knows.
    [[noreturn]] void rethrow(const Failure& error) const;

    /// Errors: Failure; a file that was not replaced is unchanged.
    void write(const Report& report);

private:
    const std::string bundleName_;
    std::optional<ReplacedFile> page_, bundle_;
    std::string capturePath_, recordingPath_; // beside the bundle; the destructor removes them
};

} // namespace orvo::host
