// SPDX-License-Identifier: MIT
#include "inspect/report/Report.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/OutputFile.h"

#include <archive.h>
#include <archive_entry.h>
#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>

namespace orvo::host {
namespace {

constexpr mode_t entryMode = 0644;
constexpr std::size_t chunkBytes = 65'536;

class Archive {
public:
    Archive(const ReplacedFile& file, const std::string& name, std::string folder, std::time_t time)
        : archive_(archive_write_new(), archive_write_free), folder_(std::move(folder)), time_(time) {
        if (!archive_) throw std::bad_alloc();
        require(archive_write_set_format_filter_by_ext(archive_.get(), name.c_str()));
        require(archive_write_open_fd(archive_.get(), file.descriptor()));
    }

    void add(const std::string& name, const std::string& content) {
        begin(name, content.size());
        write(content.data(), content.size());
    }

    void addFile(const std::string& name, const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::error_code reason;
        auto left = std::filesystem::file_size(path, reason);
        if (!file || reason) throw Failure("cannot read " + quoted(path) + ": it has disappeared; try again");
        begin(name, left);
        for (std::array<char, chunkBytes> chunk; left > 0;) {
            file.read(chunk.data(),
                      static_cast<std::streamsize>(std::min<std::uintmax_t>(left, chunk.size())));
            if (file.gcount() <= 0)
                throw Failure("cannot read " + quoted(path) + ": it became shorter; try again");
            write(chunk.data(), static_cast<std::size_t>(file.gcount()));
            left -= static_cast<std::uintmax_t>(file.gcount());
        }
    }

    void close() { require(archive_write_close(archive_.get())); }

private:
    void begin(const std::string& name, std::uintmax_t bytes) {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(),
                                                                             archive_entry_free);
        if (!entry) throw std::bad_alloc();
        archive_entry_set_pathname(entry.get(), (folder_ + "/" + name).c_str());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), entryMode);
        archive_entry_set_mtime(entry.get(), time_, 0);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(bytes));
        require(archive_write_header(archive_.get(), entry.get()));
    }

    void write(const char* bytes, std::size_t count) {
        if (count == 0) return;
        if (archive_write_data(archive_.get(), bytes, count) != static_cast<la_ssize_t>(count)) fail();
    }

    void require(int result) const {
        if (result != ARCHIVE_OK) fail();
    }

    [[noreturn]] void fail() const {
        const char* const reason = archive_error_string(archive_.get());
        throw Failure(std::string("cannot write the bundle: ") + (reason ? reason : "it failed") +
                      "; name another place, or make room in this one");
    }

    const std::unique_ptr<archive, int (*)(archive*)> archive_;
    const std::string folder_;
    const std::time_t time_;
};

} // namespace

bool isArchiveName(const std::string& name) {
    const std::unique_ptr<archive, int (*)(archive*)> made(archive_write_new(), archive_write_free);
    if (!made) throw std::bad_alloc();
    return archive_write_set_format_filter_by_ext(made.get(), name.c_str()) == ARCHIVE_OK;
}

void writeBundle(ReplacedFile& file, const std::string& name, const Report& report,
                 const std::string& capturePath, const std::string& recordingPath) {
    const auto port = report.history.port();
    Archive bundle(file, name, fmt::format("orvo-gige-port-{}-{}", port.board, port.port),
                   std::chrono::system_clock::to_time_t(report.time));
    bundle.add("diagnosis.html", pageOf(report));
    bundle.add("diagnosis.json", jsonText(report.diagnosis));
    bundle.add("readings.json", jsonText(readingsOf(report.history)));
    bundle.add("dump.txt", dumpText(report));
    bundle.add("log.txt", logText(report));
    bundle.add("configuration.txt", report.settings.text);
    bundle.addFile("capture.pcapng", capturePath);
    if (std::filesystem::file_size(recordingPath) != 0) bundle.addFile("calls.rec", recordingPath);
    bundle.close();
}

} // namespace orvo::host
