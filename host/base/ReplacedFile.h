// SPDX-License-Identifier: MIT
// Files that are whole at any time.
#pragma once

#include <string>

namespace orvo::host {

/// Writes a file aside, in the same folder, and gives it the name of another in the end: whoever reads that
/// one finds the old content or the new, whole. One thread.
class ReplacedFile {
public:
    /// Makes the file aside. Errors: Failure, also when what `path` names is no regular file.
    explicit ReplacedFile(const std::string& path);
    ~ReplacedFile(); ///< removes the file aside unless it was put in place
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    /// Where to write meanwhile.
    const std::string& aside() const noexcept { return aside_; }
    int descriptor() const noexcept { return descriptor_; }

    /// Errors: Failure when the disk is full or fails.
    void write(const std::string& content);

    /// Replaces the other. Errors: as `write`.
    void putInPlace();

private:
    [[noreturn]] void fail(int reason) const;

    const std::string path_;
    std::string aside_;
    int descriptor_ = -1;
};

/// The same at once.
void replaceFile(const std::string& path, const std::string& content);

/// Whether two paths lead to one file; of files that are not there yet, whether they are the same path.
bool isSameFile(const std::string& one, const std::string& other);

} // namespace orvo::host
