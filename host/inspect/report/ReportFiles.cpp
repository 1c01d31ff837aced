// SPDX-License-Identifier: MIT
#include "inspect/report/ReportFiles.h"

#include "base/Failure.h"
#include "device/FileConflicts.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace orvo::host {
namespace {

/// Creates an empty file of a new name. Errors: Failure.
std::string makeFile(std::string pattern) {
    const int descriptor = mkostemp(pattern.data(), O_CLOEXEC);
    if (descriptor < 0)
        throw Failure("cannot make " + host::quoted(pattern) + ": " + systemError(errno) +
                      "; name another place");
    close(descriptor);
    return pattern;
}

} // namespace

ReportFiles::ReportFiles(const std::string& page, const std::string& bundle) {
    if (isSameFile(page, bundle))
        throw Failure("page and bundle are both to be " + host::quoted(page) + "; name two files");
    if (!page.empty()) page_.emplace(page);
    if (bundle.empty()) return;
    bundle_.emplace(bundle);
    capturePath_ = makeFile(bundle_->temporaryPath() + "-capture-XXXXXX");
    recordingPath_ = makeFile(bundle_->temporaryPath() + "-calls-XXXXXX");
}

ReportFiles::~ReportFiles() {
    for (const auto& path : {capturePath_, recordingPath_})
        if (!path.empty()) unlink(path.c_str());
}

void ReportFiles::write(const Report& report) {
    if (page_) page_->write(pageOf(report));
    if (bundle_) writeBundle(*bundle_, report, capturePath_, recordingPath_);
    if (page_) page_->putInPlace();
    if (bundle_) bundle_->putInPlace();
}

} // namespace orvo::host
