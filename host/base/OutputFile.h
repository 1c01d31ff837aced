// SPDX-License-Identifier: MIT
// Opening and replacing of files that results go to.
#pragma once

#include "base/FileDescriptor.h"

#include <string>

namespace orvo::host {

/// Opens an existing file, device or pipe for writing. Opening a pipe waits for its reader, or until a signal
/// asks the program to end. Returns the descriptor, or -1 with errno. Errors: Interruption.
int openToWrite(const std::string& path);

/// Writes a temporary file beside the target, then renames it over it: readers see the old or the new
/// content, never a mixture. A symbolic link stays, and the file it leads to is replaced. One thread.
class ReplacedFile {
public:
    /// Makes the temporary file. Errors: Failure, also when `path` names something other than a regular file.
    explicit ReplacedFile(const std::string& path);
    ~ReplacedFile(); ///< removes the temporary file unless it was put in place

    const std::string& temporaryPath() const noexcept { return temporaryPath_; }
    int descriptor() const noexcept { return temporary_.get(); }

    /// Errors: Failure when the disk is full or fails.
    void write(const std::string& content);

    /// Replaces the target. Errors: as `write`.
    void putInPlace();

private:
    [[noreturn]] void fail(int reason) const;

    const std::string path_;
    std::string temporaryPath_;
    FileDescriptor temporary_;
};

/// Replaces a file in one call. Errors: as above.
void replaceFile(const std::string& path, const std::string& content);

/// Whether two paths lead to the same file. Two paths to a file that does not exist yet do so when its folder
/// exists. Paths that lead nowhere are never the same.
bool isSameFile(const std::string& one, const std::string& other);

} // namespace orvo::host
