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

ReportFiles::ReportFiles(const std::string& page, const std::string& bundle) : bundleName_(bundle) {
    if (isSameFile(page, bundle))
        throw Failure("page and bundle are both to be " + host::quoted(page) + "; name two files");
    if (!page.empty()) page_.emplace(page);
    if (bundle.empty()) return;
    if (!isArchiveName(bundle))
        throw UsageFailure(host::quoted(bundle) +
                           " does not end like an archive; have it end with .tar.gz or .zip");
    bundle_.emplace(bundle);
    capturePath_ = makeFile(bundle_->temporaryPath() + "-capture-XXXXXX");
    recordingPath_ = makeFile(bundle_->temporaryPath() + "-calls-XXXXXX");
}

ReportFiles::~ReportFiles() {
    for (const auto& path : {capturePath_, recordingPath_})
        if (!path.empty()) unlink(path.c_str());
}

void ReportFiles::rethrow(const Failure& error) const {
    std::string text = error.what();
    const auto replace = [&text](const std::string& old, const std::string& used) {
        const auto place = text.find(old);
        if (place != std::string::npos) text.replace(place, old.size(), used);
        return place != std::string::npos;
    };
    if (capturePath_.empty() || !replace(host::quoted(capturePath_), host::quoted(bundleName_))) throw;
    replace("--write", "--bundle");
    throw Failure(text);
}

void ReportFiles::write(const Report& report) {
    if (page_) page_->write(pageOf(report));
    if (bundle_) writeBundle(*bundle_, bundleName_, report, capturePath_, recordingPath_);
    if (page_) page_->putInPlace();
    if (bundle_) bundle_->putInPlace();
}

} // namespace orvo::host
