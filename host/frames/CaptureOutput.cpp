// SPDX-License-Identifier: MIT
#include "frames/CaptureOutput.h"

#include "base/Failure.h"

#include <charconv>
#include <exception>
#include <filesystem>
#include <string_view>
#include <utility>

namespace orvo::host {
namespace {

constexpr unsigned mostFiles = 100'000;
constexpr std::uint64_t leastFileBytes = 4096; // headers, the longest frame and the closing blocks fit

/// Removes the number that `text` begins with and returns it; nothing when there is none.
std::optional<std::uint64_t> takeNumber(std::string_view& text) {
    std::uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc{}) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return value;
}

/// Bytes from "123", "64k", "10M" or "1G".
std::optional<std::uint64_t> sizeFrom(std::string_view text) {
    const auto number = takeNumber(text);
    if (!number || text.size() > 1) return std::nullopt;
    const std::uint64_t unit = text.empty()                 ? 1
                               : text == "k" || text == "K" ? 1'000
                               : text == "M"                ? 1'000'000
                               : text == "G"                ? 1'000'000'000
                                                            : 0;
    if (unit == 0 || *number > 1'000'000'000'000'000 / unit) return std::nullopt;
    return *number * unit;
}

} // namespace

std::optional<FileRing> FileRing::parse(const std::string& text) {
    std::string_view rest = text;
    const auto files = takeNumber(rest);
    if (!files || *files < 2 || *files > mostFiles || !rest.starts_with(':')) return std::nullopt;
    const auto bytes = sizeFrom(rest.substr(1));
    if (!bytes || *bytes < leastFileBytes) return std::nullopt;
    return FileRing{static_cast<unsigned>(*files), *bytes};
}

std::string FileRing::fileName(const std::string& path, unsigned number) const {
    const std::filesystem::path whole(path);
    auto digits = std::to_string(number);
    digits.insert(0, std::to_string(files).size() - digits.size(), '0');
    return (whole.parent_path() / (whole.stem().string() + "-" + digits + whole.extension().string()))
        .string();
}

CaptureOutput::CaptureOutput(std::string path, std::vector<Interface> interfaces,
                             std::optional<FileRing> ring)
    : path_(std::move(path)), interfaces_(std::move(interfaces)), missed_(interfaces_.size()), ring_(ring) {
    if (ring_ && path_ == standardOutput)
        throw UsageFailure(
            "--ring needs files to write in turn, and standard output is one; name a file with "
            "--write");
    open();
}

void CaptureOutput::open() {
    const auto path = ring_ ? ring_->fileName(path_, number_) : path_;
    const auto target =
        path_ == standardOutput ? BlockFile::Target::StandardOutput : BlockFile::Target::NamedFile;
    try {
        writer_ = std::make_unique<PcapngWriter>(path, target, interfaces_);
    } catch (const ReaderGone&) {
        if (path_ == standardOutput) throw OutputClosed();
        throw;
    }
    writer_->endOn(ending_);
}

std::vector<std::string> CaptureOutput::paths() const {
    if (path_ == standardOutput) return {};
    if (!ring_) return {path_};
    std::vector<std::string> paths;
    for (unsigned number = 1; number <= ring_->files; ++number)
        paths.push_back(ring_->fileName(path_, number));
    return paths;
}

void CaptureOutput::begin() {
    writer_->begin();
    files_.push_back({writer_->path()});
}

void CaptureOutput::write(const OutputFrame& frame) {
    if (ring_ && writer_->closedBytesWith(frame) > ring_->fileBytes) {
        closeFile();
        number_ = number_ % ring_->files + 1;
        if (files_.size() == ring_->files) {
            overwrittenFrames_ += files_.front().frames;
            files_.pop_front();
        }
        open();
        begin();
    }
    writer_->write(frame);
}

void CaptureOutput::closeFile() {
    std::exception_ptr failure;
    try {
        writer_->close(missed_);
    } catch (...) {
        failure = std::current_exception();
    }
    files_.back().frames = writer_->framesInFile();
    if (failure) std::rethrow_exception(failure);
}

void CaptureOutput::close() {
    if (!files_.empty()) closeFile();
}

} // namespace orvo::host
