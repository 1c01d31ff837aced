// SPDX-License-Identifier: MIT
#include "device/recording/BlockCodec.h"

#include "base/Failure.h"

#include <zlib.h>
#include <zstd.h>

#include <bit>
#include <cstring>
#include <new>

namespace orvo::host {
namespace {

static_assert(std::endian::native == std::endian::little, "heads are copied as they lie in memory");

constexpr int deepest = 8; // levels of a block's content

// A value of one byte in a block takes some fifty in memory: without a bound, a block of 16 MiB would take 1
// GB.
constexpr std::size_t mostValues = 1U << 20U;

constexpr int compressionLevel = -3; // frames of cameras hardly shrink, so more effort gains little

std::size_t checked(std::size_t result, const char* what) {
    if (!ZSTD_isError(result)) return result;
    throw Failure(std::string("a block of the recording cannot be ") + what + ": " +
                  ZSTD_getErrorName(result) + "; the recording is incomplete");
}

ByteString expanded(std::span<const std::uint8_t> stored, std::size_t contentBytes) {
    ByteString content(contentBytes);
    const auto used =
        checked(ZSTD_decompress(content.data(), content.size(), stored.data(), stored.size()), "read");
    if (used != contentBytes) throw Failure("a block of the recording has a wrong length");
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

std::span<const std::uint8_t> BlockEncoder::encode(std::span<const std::uint8_t> content) {
    if (!compressor_) compressor_ = {ZSTD_createCCtx(), ZSTD_freeCCtx};
    if (!compressor_) throw std::bad_alloc();
    BlockHead head{0, static_cast<std::uint32_t>(content.size()), 0};
    const auto room = ZSTD_compressBound(content.size());
    if (block_.size() < sizeof head + room) block_.resize(sizeof head + room);
    auto* const stored = block_.data() + sizeof head;
    head.storedBytes = static_cast<std::uint32_t>(checked(
        ZSTD_compressCCtx(compressor_.get(), stored, room, content.data(), content.size(), compressionLevel),
        "written"));
    head.checksum = checksumOf(head, {stored, head.storedBytes});
    std::memcpy(block_.data(), &head, sizeof head);
    return {block_.data(), sizeof head + head.storedBytes};
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
