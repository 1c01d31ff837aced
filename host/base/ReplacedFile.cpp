// SPDX-License-Identifier: MIT
// Writing aside and renaming.
#include "base/ReplacedFile.h"

#include "base/Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace orvo::host {
namespace {

constexpr mode_t usualMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

namespace fs = std::filesystem;

constexpr int mostLinks = 40; // in a row, as the kernel follows them

/// Where a link, or a chain of links, leads that ends at nothing.
fs::path endOfLinks(fs::path place) {
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code none;
        const auto target = fs::read_symlink(place, none);
        if (none) break;
        place = place.parent_path() / target;
    }
    return place;
}

/// A symbolic link stays: what it leads to is replaced, or made.
std::string targetOf(const std::string& path) {
    std::error_code reason;
    const auto target = fs::canonical(path, reason);
    if (!reason) return target.string();
    // A pipe in /dev/fd has a name that leads nowhere, and is there all the same.
    return fs::exists(path, reason) ? path : endOfLinks(path).string();
}

const char* adviceOnWriting(int reason) {
    switch (reason) {
    case ENOENT:
    case ENOTDIR:
        return "name another place, or make the folder first";
    case ENOSPC:
    case EDQUOT:
        return "name another place, or make room in this one";
    default:
        return "name another place, one that you may write to";
    }
}

} // namespace

ReplacedFile::ReplacedFile(const std::string& path) : path_(targetOf(path)) {
    struct stat status = {};
    const bool isThere = stat(path_.c_str(), &status) == 0;
    if (!isThere && errno != ENOENT) fail(errno);
    if (isThere && !S_ISREG(status.st_mode))
        throw Failure("cannot replace " + quoted(path_) +
                      ": it is not a regular file; name one, or a place for one");
    if (isThere && access(path_.c_str(), W_OK) != 0) fail(errno);
    const fs::path place(path_);
    aside_ =
        (place.parent_path() / ("." + place.filename().string() + "." + std::to_string(getpid()) + ".new"))
            .string();
    unlink(aside_.c_str()); // of a process that was killed, and had our number
    descriptor_ = open(aside_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, usualMode);
    if (descriptor_ < 0) fail(errno);
    if (isThere) fchmod(descriptor_, status.st_mode & 07777U);
}

ReplacedFile::~ReplacedFile() {
    if (descriptor_ < 0) return;
    close(descriptor_);
    unlink(aside_.c_str());
}

void ReplacedFile::write(const std::string& content) {
    for (std::size_t done = 0; done < content.size();) {
        const auto written = ::write(descriptor_, content.data() + done, content.size() - done);
        if (written < 0 && errno != EINTR) fail(errno);
        if (written > 0) done += static_cast<std::size_t>(written);
    }
}

void ReplacedFile::putInPlace() {
    const bool failed =
        close(std::exchange(descriptor_, -1)) != 0 || rename(aside_.c_str(), path_.c_str()) != 0;
    if (!failed) return;
    const int reason = errno;
    unlink(aside_.c_str());
    fail(reason);
}

void ReplacedFile::fail(int reason) const {
    throw Failure("cannot write " + quoted(path_) + ": " + systemError(reason) + "; " +
                  adviceOnWriting(reason));
}

void replaceFile(const std::string& path, const std::string& content) {
    ReplacedFile file(path);
    file.write(content);
    file.putInPlace();
}

bool isSameFile(const std::string& one, const std::string& other) {
    if (one.empty() || other.empty()) return false;
    std::error_code absent; // two that are not there yet are compared by name
    return std::filesystem::equivalent(one, other, absent) ||
           std::filesystem::weakly_canonical(one, absent) == std::filesystem::weakly_canonical(other, absent);
}

} // namespace orvo::host
