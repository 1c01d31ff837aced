// SPDX-License-Identifier: MIT
// The far end of a pipe that a capture is written to.
#pragma once

#include "Process.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace orvo::host::testing_support {

/// A named pipe with this test as its reader.
class ReadingPipe {
public:
    explicit ReadingPipe(const std::string& path) : path_(path) {
        if (mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + path);
        descriptor_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    ~ReadingPipe() { close(); }
    ReadingPipe(const ReadingPipe&) = delete;
    ReadingPipe& operator=(const ReadingPipe&) = delete;

    const std::string& path() const noexcept { return path_; }

    /// Reads on until the block that holds `lastFrame` (of a length that needs no padding) is there, and
    /// returns all that was read up to its end. Ends early where the writer does.
    std::string readUntil(const std::string& lastFrame, Process& writer) {
        writer.reaches([&] {
            char bytes[4096];
            for (ssize_t count = 0; (count = read(descriptor_, bytes, sizeof bytes)) > 0;)
                seen_.append(bytes, static_cast<std::size_t>(count));
            return endOf(lastFrame) <= seen_.size();
        });
        return seen_.substr(0, endOf(lastFrame));
    }

    void close() {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = -1;
    }

private:
    std::size_t endOf(const std::string& frame) const {
        const auto found = seen_.rfind(frame);
        return found == std::string::npos ? found : found + frame.size() + 4; // the block's length again
    }

    const std::string path_;
    int descriptor_ = -1;
    std::string seen_;
};

} // namespace orvo::host::testing_support
