// SPDX-License-Identifier: MIT
#include "device/recording/BlockCodec.h"

#include "base/Failure.h"

#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <bit>
#include <cstring>
#include <memory>

namespace orvo::host {
namespace {

static_assert(std::endian::native == std::endian::little, "heads are copied as they lie in memory");

constexpr int deepest = 8; // levels of a block's content

// A value of one byte in a block takes some fifty in memory: without a bound, a block of 16 MiB would take 1
// GB.
constexpr std::size_t mostValues = 1U << 20U;

void check(struct archive* archive, int result, const char* what) {
    if (result == ARCHIVE_OK) return;
    const char* reason = archive_error_string(archive);
    throw Failure(std::string("a block of the recording cannot be ") + what + ": " +
                  (reason ? reason : "no reason given") + "; the recording is incomplete");
}

/// zstd bounds what a compressed block needs; small ones take a little more.
std::size_t roomFor(std::size_t contentBytes) {
    return contentBytes + contentBytes / 8 + 1024;
}

ByteString compressed(const ByteString& content) {
    const std::unique_ptr<struct archive, int (*)(struct archive*)> archive(archive_write_new(),
                                                                            archive_write_free);
    const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(),
                                                                         archive_entry_free);
    auto* const out = archive.get();
    ByteString stored(sizeof(BlockHead) + roomFor(content.size()));
    std::size_t used = 0;
    check(out, archive_write_set_format_raw(out), "written");
    check(out, archive_write_add_filter_zstd(out), "written");
    check(out, archive_write_set_filter_option(out, "zstd", "compression-level", "1"), "written");
    check(out, archive_write_set_bytes_in_last_block(out, 1), "written");
    check(out,
          archive_write_open_memory(out, stored.data() + sizeof(BlockHead), stored.size() - sizeof(BlockHead),
                                    &used),
          "written");
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    check(out, archive_write_header(out, entry.get()), "written");
    if (archive_write_data(out, content.data(), content.size()) != static_cast<la_ssize_t>(content.size()))
        check(out, ARCHIVE_FATAL, "written");
    check(out, archive_write_close(out), "written");
    stored.resize(sizeof(BlockHead) + used);
    return stored;
}

ByteString expanded(std::span<const std::uint8_t> stored, std::size_t contentBytes) {
    const std::unique_ptr<struct archive, int (*)(struct archive*)> archive(archive_read_new(),
                                                                            archive_read_free);
    auto* const in = archive.get();
    archive_entry* entry = nullptr;
    check(in, archive_read_support_format_raw(in), "read");
    check(in, archive_read_support_filter_zstd(in), "read");
    check(in, archive_read_open_memory(in, stored.data(), stored.size()), "read");
    check(in, archive_read_next_header(in, &entry), "read");
    ByteString content(contentBytes);
    if (archive_read_data(in, content.data(), content.size()) != static_cast<la_ssize_t>(content.size()))
        check(in, ARCHIVE_FATAL, "read");
    return content;
}

std::uint32_t checksumOf(const BlockHead& head, std::span<const std::uint8_t> stored) {
    Bytef lengths[2 * sizeof(std::uint32_t)];
    std::memcpy(lengths, &head, sizeof lengths);
    const auto ofLengths = crc32(0, lengths, sizeof lengths);
    return static_cast<std::uint32_t>(crc32(ofLengths, stored.data(), static_cast<uInt>(stored.size())));
}

/// Only follows the nesting of arrays and objects, as the parser descends by recursion, and counts values.
class SizeGauge : public nlohmann::json_sax<nlohmann::json> {
public:
    bool null() override { return addValue(); }
    bool boolean(bool) override { return addValue(); }
    bool number_integer(number_integer_t) override { return addValue(); }
    bool number_unsigned(number_unsigned_t) override { return addValue(); }
    bool number_float(number_float_t, const string_t&) override { return addValue(); }
    bool string(string_t&) override { return addValue(); }
    bool binary(binary_t&) override { return addValue(); }
    bool key(string_t&) override { return addValue(); }
    bool start_object(std::size_t) override { return descend(); }
    bool end_object() override { return --depth_ >= 0; }
    bool start_array(std::size_t) override { return descend(); }
    bool end_array() override { return --depth_ >= 0; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    bool addValue() noexcept { return ++values_ <= mostValues; }
    bool descend() noexcept { return addValue() && ++depth_ <= deepest; }

    int depth_ = 0;
    std::size_t values_ = 0;
};

} // namespace

bool BlockHead::fits(std::span<const std::uint8_t> stored) const {
    return checksumOf(*this, stored) == checksum;
}

ByteString encodedBlock(const nlohmann::json& content) {
    const ByteString plain = nlohmann::json::to_cbor(content);
    auto block = compressed(plain);
    BlockHead head{static_cast<std::uint32_t>(block.size() - sizeof head),
                   static_cast<std::uint32_t>(plain.size()), 0};
    head.checksum = checksumOf(head, std::span(block).subspan(sizeof head));
    std::memcpy(block.data(), &head, sizeof head);
    return block;
}

nlohmann::json decodedBlock(const BlockHead& head, std::span<const std::uint8_t> stored) {
    return parsedBlock(expanded(stored, head.contentBytes));
}

nlohmann::json parsedBlock(std::span<const std::uint8_t> content) {
    SizeGauge gauge;
    if (!nlohmann::json::sax_parse(content.begin(), content.end(), &gauge,
                                   nlohmann::json::input_format_t::cbor))
        throw Failure("a block of the recording is not CBOR, or too large");
    return nlohmann::json::from_cbor(content.begin(), content.end());
}

} // namespace orvo::host
