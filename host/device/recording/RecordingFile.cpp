// SPDX-License-Identifier: MIT
#include "device/recording/RecordingFile.h"

#include "base/Failure.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace orvo::host {
namespace {

struct FileHead {
    std::array<char, 8> magic = {'O', 'R', 'V', 'O', 'C', 'A', 'L', 'L'};
    std::uint32_t version = recordingVersion;
    std::uint32_t inverted = ~recordingVersion; // of the version, so that a damaged one shows

    bool isRecording() const { return magic == FileHead().magic; }
};

constexpr std::size_t leadingFields = 6; // of a call, before its arguments
constexpr std::int64_t mostThreads = 65'536;

std::int64_t integer(const nlohmann::json& value) {
    if (!value.is_number_integer()) throw Failure("a number is missing in a call");
    return value.get<std::int64_t>();
}

/// Nanoseconds, small enough that the sum of four, as of a call's end since 1970, fits 64 bits.
std::int64_t nanoseconds(const nlohmann::json& value) {
    constexpr std::int64_t most = (std::int64_t{1} << 61U) - 1; // 73 years
    const auto number = integer(value);
    if (number < -most || number > most) throw Failure("a time is impossible");
    return number;
}

bool isOfKind(const nlohmann::json& value, ValueKind kind) {
    switch (kind) {
    case ValueKind::None:
        return value.is_null();
    case ValueKind::Number:
    case ValueKind::Handle:
        return value.is_number_integer();
    case ValueKind::Fraction:
        return value.is_number();
    case ValueKind::Text:
        return value.is_string() || value.is_null();
    case ValueKind::NumberOut:
        return value.is_number_integer() || value.is_null();
    case ValueKind::WordsOut:
    case ValueKind::WordsIn:
        return value.is_binary() || value.is_null();
    }
    return false;
}

RecordedCall callOf(const nlohmann::json& fields, std::int64_t blockBegin,
                    const std::vector<Entry>& entries) {
    const auto entry = entries.at(static_cast<std::size_t>(integer(fields.at(0))));
    const auto& row = rowOf(entry);
    if (fields.size() != leadingFields + row.argumentCount)
        throw Failure("a call has a wrong number of fields");
    const auto thread = integer(fields[1]);
    RecordedCall call{entry,
                      static_cast<unsigned>(thread),
                      blockBegin + nanoseconds(fields[2]),
                      nanoseconds(fields[3]),
                      static_cast<std::uint64_t>(integer(fields[4])),
                      fields[5],
                      {}};
    if (call.times == 0 || call.duration < 0 || thread < 0 || thread >= mostThreads)
        throw Failure("a call has an impossible time, number or thread");
    call.arguments.assign(fields.begin() + leadingFields, fields.end());
    const bool isRun = entry == Entry::OHalRegisterWrite && call.arguments[2].is_binary();
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
        if (!isOfKind(call.arguments[i], row.kinds[i]) && !(isRun && i == 2))
            throw Failure("an argument is of a wrong kind");
    if (!isOfKind(call.result, row.result)) throw Failure("a result is of a wrong kind");
    if (isRun && call.arguments[2].get_binary().size() != 2 * call.times)
        throw Failure("a run has a wrong length");
    return call;
}

/// The entries of a recording by their number in its file. Errors: Failure naming one that is unknown here;
/// std::exception for what is no header.
std::vector<Entry> entriesOf(const nlohmann::json& header) {
    std::vector<Entry> entries;
    for (const auto& row : header.at("entries")) {
        const auto& name = row.at("name").get_ref<const std::string&>();
        const auto entry = entryNamed(name);
        if (!entry) throw Failure("it has calls of " + quoted(name) + ", which this program does not know");
        entries.push_back(*entry);
    }
    return entries;
}

} // namespace

CallBlock callsOf(const nlohmann::json& content, const std::vector<Entry>& entries,
                  RegisterNames& registers) {
    CallBlock block;
    const auto begin = nanoseconds(content.at("begin"));
    for (const auto& row : content.at("registers"))
        registers.insert_or_assign(static_cast<std::uint64_t>(integer(row.at(0))),
                                   row.at(1).get<std::string>());
    const auto& calls = content.at("calls").get_ref<const nlohmann::json::array_t&>();
    block.calls.reserve(calls.size());
    for (const auto& fields : calls) block.calls.push_back(callOf(fields, begin, entries));
    block.lost = static_cast<std::uint64_t>(integer(content.at("lost")));
    return block;
}

namespace {

/// Waits for the reader of a pipe, for seconds at the most.
bool takesMore(int descriptor) {
    constexpr int patienceMs = 10'000;
    pollfd room{descriptor, POLLOUT, 0};
    const int ready = poll(&room, 1, patienceMs);
    if (ready == 0) errno = EAGAIN;
    return ready > 0;
}

/// While it lives, a write that fails raises no signal: where another maker's host is recorded, that would
/// end the host.
class WriteSignalsHeld {
public:
    WriteSignalsHeld() noexcept {
        sigset_t held;
        sigemptyset(&held);
        for (const int number : {SIGPIPE, SIGXFSZ}) sigaddset(&held, number);
        pthread_sigmask(SIG_BLOCK, &held, &before_);
    }
    WriteSignalsHeld(const WriteSignalsHeld&) = delete;
    WriteSignalsHeld& operator=(const WriteSignalsHeld&) = delete;
    ~WriteSignalsHeld() {
        for (const int number : {SIGPIPE, SIGXFSZ})
            if (sigismember(&before_, number) == 0) discard(number);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    static void discard(int number) noexcept {
        constexpr timespec now{};
        sigset_t raised;
        sigemptyset(&raised);
        sigaddset(&raised, number);
        sigtimedwait(&raised, nullptr, &now);
    }

    sigset_t before_;
};

/// A slip such as naming the input must not destroy it.
const std::string& replaceable(const std::string& path) {
    std::error_code unknown; // then opening the file gives the reason
    if (!std::filesystem::is_regular_file(path, unknown)) return path;
    std::array<char, 8> magic = FileHead().magic;
    std::ifstream(path, std::ios::binary).read(magic.data(), magic.size());
    if (magic == FileHead().magic) return path; // a recording, or nothing to read
    throw Failure(quoted(path) + " exists and is no recording; name another file");
}

} // namespace

RecordingWriter::RecordingWriter(const std::string& path, std::string name)
    : path_(replaceable(path)), name_(std::move(name)) {
    constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC |
                          O_NONBLOCK; // a pipe that nobody reads must not keep the program waiting
    file_.reset(open(path_.c_str(), flags | O_EXCL, 0666));
    made_ = file_.get() >= 0;
    if (!made_ && errno == EEXIST) file_.reset(open(path_.c_str(), flags, 0666));
    if (file_.get() < 0)
        throw Failure("cannot write the recording " + quoted(name_) + ": " + systemError(errno) +
                      "; name a file in an existing folder that you may write to");
    if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        throw Failure("another program is recording into " + quoted(name_) + "; name another file");
    if (ftruncate(file_.get(), 0) != 0) {
    } // a pipe
    const FileHead head;
    std::uint8_t bytes[sizeof head];
    std::memcpy(bytes, &head, sizeof head);
    put(bytes);
}

void RecordingWriter::add(std::span<const std::uint8_t> content) {
    put(encoder_.encode(content));
}

void RecordingWriter::put(std::span<const std::uint8_t> bytes) {
    const WriteSignalsHeld held;
    for (std::size_t done = 0; done < bytes.size();) {
        const auto written = write(file_.get(), bytes.data() + done, bytes.size() - done);
        if (written > 0) done += static_cast<std::size_t>(written);
        if (written > 0 || (written < 0 && errno == EINTR)) continue;
        if (written < 0 && errno == EAGAIN && takesMore(file_.get())) continue;
        const int reason = written == 0 ? ENOSPC : errno;
        if (ftruncate(file_.get(), static_cast<off_t>(bytes_)) != 0) {
        } // readers find the last whole block anyway
        if (made_ && bytes_ <= sizeof(FileHead)) unlink(path_.c_str());
        throw Failure("cannot write the recording " + quoted(name_) + ": " + systemError(reason) +
                      "; free some space, or name a file on another disk");
    }
    bytes_ += bytes.size();
}

RecordingReader::RecordingReader(const std::string& path)
    : path_(path), file_(std::fopen(path.c_str(), "rbe"), std::fclose) {
    if (!file_)
        throw Failure("cannot read the recording " + quoted(path) + ": " + systemError(errno) +
                      "; name a file that --record has written");
    readHead();
    auto content = nextContent();
    if (!content) throw Failure(fault_ + "; it has no whole block, so there is nothing to read");
    try {
        entries_ = entriesOf(*content);
        begin_ = nanoseconds(content->at("begin"));
        header_ = std::move(*content);
    } catch (const std::exception& error) {
        throw Failure("the recording " + quoted(path) + " cannot be used: " + error.what() +
                      "; record again with this version");
    }
}

void RecordingReader::readHead() {
    FileHead head;
    if (std::fread(&head, sizeof head, 1, file_.get()) != 1 || !head.isRecording())
        throw Failure(quoted(path_) +
                      " is no recording of board calls; name a file that --record has written");
    if (head.inverted != ~head.version)
        throw Failure("the recording " + quoted(path_) +
                      " is damaged in its first 16 bytes; take another copy of it");
    if (head.version != recordingVersion)
        throw Failure(
            fmt::format("the recording {} is of version {}, and this program reads version {}; use the "
                        "version of orvo-gige that wrote it",
                        quoted(path_), head.version, recordingVersion));
}

std::optional<nlohmann::json> RecordingReader::damaged(const std::string& what) {
    fault_ = fmt::format("the recording {} {} after {} whole block{}", quoted(path_), what, blocks_,
                         blocks_ == 1 ? "" : "s");
    return std::nullopt;
}

std::optional<nlohmann::json> RecordingReader::nextContent() {
    BlockHead head;
    const auto got = std::fread(&head, 1, sizeof head, file_.get());
    if (got == 0) return damaged("ends without its last block");
    if (got != sizeof head) return damaged("is cut off");
    if (head.storedBytes > BlockHead::mostBytes || head.contentBytes > BlockHead::mostBytes)
        return damaged("is damaged");
    ByteString stored;
    for (std::size_t left = head.storedBytes; left > 0;) { // in parts: a damaged length may be huge
        const auto part = std::min<std::size_t>(left, 1U << 20U);
        stored.resize(stored.size() + part);
        if (std::fread(stored.data() + stored.size() - part, 1, part, file_.get()) != part)
            return damaged("is cut off");
        left -= part;
    }
    if (!head.fits(stored)) return damaged("is damaged");
    try {
        auto content = decodedBlock(head, stored);
        ++blocks_;
        return content;
    } catch (const std::exception&) {
        return damaged("is damaged");
    }
}

std::optional<CallBlock> RecordingReader::next() {
    if (!fault_.empty() || !closing_.is_null()) return std::nullopt;
    auto content = nextContent();
    if (!content) return std::nullopt;
    try {
        if (!content->contains("closing")) return callsOf(*content, entries_, registers_);
        closing_ = std::move(content->at("closing"));
        if (std::fgetc(file_.get()) != EOF) damaged("goes on after its last block");
    } catch (const std::exception&) {
        --blocks_;
        damaged("is damaged");
    }
    return std::nullopt;
}

} // namespace orvo::host
