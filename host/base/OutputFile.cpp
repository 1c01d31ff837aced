// SPDX-License-Identifier: MIT
#include "base/OutputFile.h"

#include "base/Failure.h"
#include "base/Signals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds pipePollPause{20};
constexpr mode_t newFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH; // umask applies
constexpr int mostLinks = 40; // in a chain: the kernel's own limit

bool isPipe(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Follows a chain of symbolic links whose last one may dangle.
fs::path endOfLinks(fs::path path) {
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code notALink;
        const auto target = fs::read_symlink(path, notALink);
        if (notALink) break;
        path = path.parent_path() / target;
    }
    return path;
}

std::string targetOf(const std::string& path) {
    std::error_code reason;
    const auto target = fs::canonical(path, reason);
    if (!reason) return target.string();
    // A pipe in /dev/fd exists, although its canonical name does not.
    return fs::exists(path, reason) ? path : endOfLinks(path).string();
}

/// Where a file that does not exist yet would be made; nothing when that is impossible.
std::optional<fs::path> futurePlaceOf(const std::string& path) {
    std::error_code missing;
    const auto target = endOfLinks(fs::absolute(path));
    const auto folder = fs::canonical(target.parent_path(), missing);
    if (missing || fs::is_symlink(target)) return std::nullopt;
    return folder / target.filename();
}

} // namespace

// A blocking open would miss a signal that came just before it.
int openToWrite(const std::string& path) {
    for (;;) {
        const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
        if (descriptor >= 0) {
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
            return descriptor;
        }
        const int reason = errno;
        if (reason != ENXIO || !isPipe(path)) {
            errno = reason;
            return -1;
        }
        awaitEndRequest(pipePollPause);
        throwIfEndRequested();
    }
}

ReplacedFile::ReplacedFile(const std::string& path) : path_(targetOf(path)) {
    struct stat status = {};
    const bool exists = stat(path_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) fail(errno);
    if (exists && !S_ISREG(status.st_mode))
        throw Failure("cannot replace " + quoted(path_) +
                      ": it is not a regular file; name a regular file or a new one");
    if (exists && access(path_.c_str(), W_OK) != 0) fail(errno);
    const fs::path target(path_);
    const auto name = "." + target.filename().string() + "." + std::to_string(getpid()) + ".new";
    temporaryPath_ = (target.parent_path() / name).string();
    unlink(temporaryPath_.c_str()); // left by a killed process that had our number
    temporary_.reset(open(temporaryPath_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, newFileMode));
    if (temporary_.get() < 0) fail(errno);
    if (exists) fchmod(temporary_.get(), status.st_mode & 07777U);
}

ReplacedFile::~ReplacedFile() {
    if (temporary_.get() >= 0) unlink(temporaryPath_.c_str());
}

void ReplacedFile::write(const std::string& content) {
    for (std::size_t done = 0; done < content.size();) {
        const auto written = ::write(temporary_.get(), content.data() + done, content.size() - done);
        if (written < 0 && errno != EINTR) fail(errno);
        if (written > 0) done += static_cast<std::size_t>(written);
    }
}

void ReplacedFile::putInPlace() {
    if (temporary_.reset() == 0 && rename(temporaryPath_.c_str(), path_.c_str()) == 0) return;
    const int reason = errno;
    unlink(temporaryPath_.c_str());
    fail(reason);
}

void ReplacedFile::fail(int reason) const {
    throw Failure("cannot write " + quoted(path_) + ": " + systemError(reason) +
                  "; name a file in an existing folder that you may write to and that has room");
}

void replaceFile(const std::string& path, const std::string& content) {
    ReplacedFile file(path);
    file.write(content);
    file.putInPlace();
}

bool isSameFile(const std::string& one, const std::string& other) {
    if (one.empty() || other.empty()) return false;
    std::error_code missing;
    if (fs::equivalent(one, other, missing)) return true;
    const auto place = futurePlaceOf(one);
    return place && place == futurePlaceOf(other);
}

} // namespace orvo::host
