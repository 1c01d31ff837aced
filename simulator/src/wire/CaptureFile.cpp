// SPDX-License-Identifier: MIT
// Capture files.
#include "wire/CaptureFile.h"

#include "wire/WireSpec.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orvo::sim {

namespace {

constexpr int longestRecord = 65535;
constexpr std::size_t recordHeaderBytes = 16;
constexpr std::size_t flushBytes = std::size_t{256} * 1024;

[[noreturn]] void refuse(const std::filesystem::path& path, const std::string& reason) {
    throw WireError("capture file '" + path.string() + "' " + reason);
}

/// Opens a regular file; reading or writing anything else, such as a pipe, could block without limit.
std::unique_ptr<std::FILE, CloseFile> openFile(const std::filesystem::path& path, int flags, const char* mode,
                                               const std::string& doing) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666);
    if (descriptor < 0) refuse(path, "cannot be " + doing + ": " + std::strerror(errno));
    std::unique_ptr<std::FILE, CloseFile> file(fdopen(descriptor, mode));
    struct stat kind {};
    if (!file || fstat(descriptor, &kind) != 0 || !S_ISREG(kind.st_mode))
        refuse(path, "cannot be " + doing + ": it is not a regular file");
    return file;
}

} // namespace

CaptureReader::CaptureReader(const std::filesystem::path& path) : path_(path) {
    auto opened = openFile(path, O_RDONLY, "rb", "played");
    char reason[PCAP_ERRBUF_SIZE] = "";
    file_.reset(pcap_fopen_offline(opened.get(), reason));
    if (!file_) refuse(path, std::string("is not a pcap or pcapng file: ") + reason);
    static_cast<void>(opened.release()); // pcap owns it from now on
    const int linkType = pcap_datalink(file_.get());
    if (linkType == DLT_EN10MB) return;
    const char* name = pcap_datalink_val_to_name(linkType);
    refuse(path, "holds no Ethernet frames: its link type is " + (name ? name : std::to_string(linkType)));
}

std::optional<CaptureReader::Frame> CaptureReader::next() noexcept {
    if (!file_) return std::nullopt;
    pcap_pkthdr* record = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex(file_.get(), &record, &bytes);
    if (result == 1) return Frame{{bytes, record->caplen}, record->caplen == record->len};
    if (result == PCAP_ERROR)
        std::fprintf(stderr,
                     "simulated board: capture file '%s' is damaged; the rest of it is not played: %s\n",
                     path_.c_str(), pcap_geterr(file_.get()));
    file_.reset();
    return std::nullopt;
}

CaptureWriter::CaptureWriter(const std::filesystem::path& path)
    : path_(path), opened_(openFile(path, O_WRONLY | O_CREAT, "wb", "written")),
      format_(pcap_open_dead_with_tstamp_precision(DLT_EN10MB, longestRecord, PCAP_TSTAMP_PRECISION_NANO)) {
    if (!format_) refuse(path, "cannot be written: out of memory");
}

bool CaptureWriter::begin() noexcept {
    if (file_) return true;
    if (failed_) return false;
    const bool emptied = ftruncate(fileno(opened_.get()), 0) == 0;
    // The buffer holds all that is written between two flushes, so that the file always ends between frames.
    std::setvbuf(opened_.get(), nullptr, _IOFBF, 2 * flushBytes);
    file_.reset(emptied ? pcap_dump_fopen(format_.get(), opened_.get())
                        : nullptr); // writes the file's header
    if (file_) static_cast<void>(opened_.release());
    return finish(file_ != nullptr);
}

void CaptureWriter::write(WireBytes frame, std::chrono::nanoseconds sinceEpoch) noexcept {
    if (failed_ || !begin()) return;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    pcap_pkthdr record{};
    record.ts.tv_sec = seconds.count();
    record.ts.tv_usec =
        (sinceEpoch - seconds).count(); // nanoseconds: the precision that the file was opened with
    record.caplen = record.len = static_cast<bpf_u_int32>(frame.size());
    pcap_dump(reinterpret_cast<u_char*>(file_.get()), &record, frame.data());
    unflushedBytes_ += recordHeaderBytes + frame.size();
    if (unflushedBytes_ >= flushBytes) flush();
}

bool CaptureWriter::flush() noexcept {
    if (failed_) return false;
    if (!file_) return !isEmpty() || begin();
    return finish(true);
}

bool CaptureWriter::isEmpty() const noexcept {
    struct stat state {};
    return fstat(fileno(opened_.get()), &state) == 0 && state.st_size == 0;
}

/// Flushes what was written. After a failure, here or before (`ok` is false), cuts the file behind its last
/// whole frame and writes no more.
bool CaptureWriter::finish(bool ok) noexcept {
    ok = ok && pcap_dump_flush(file_.get()) == 0 && !std::ferror(pcap_dump_file(file_.get()));
    if (!ok)
        std::fprintf(stderr, "simulated board: capture file '%s' is incomplete: %s\n", path_.c_str(),
                     std::strerror(errno));
    unflushedBytes_ = 0;
    if (ok)
        wholeBytes_ = pcap_dump_ftell(file_.get());
    else if (file_ && ftruncate(fileno(pcap_dump_file(file_.get())), wholeBytes_) != 0)
        wholeBytes_ = 0; // the incomplete frame stays
    failed_ = !ok;
    return ok;
}

} // namespace orvo::sim
