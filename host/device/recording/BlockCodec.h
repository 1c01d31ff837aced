// SPDX-License-Identifier: MIT
// Blocks of a recording: CBOR, compressed with zstd.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

struct ZSTD_CCtx_s;

namespace orvo::host {

using ByteString = std::vector<std::uint8_t>;

/// Stands in front of a block's bytes in the file; all numbers little-endian.
struct BlockHead {
    std::uint32_t storedBytes;  ///< compressed, behind this head
    std::uint32_t contentBytes; ///< once expanded
    std::uint32_t checksum;     ///< CRC-32 (IEEE 802.3) of the two lengths and the stored bytes

    static constexpr std::uint32_t mostBytes = 16U
                                               << 20U; ///< of either length; recorders close a block at 1 MiB
    bool fits(std::span<const std::uint8_t> stored) const;
};

/// Makes blocks in memory that it keeps. One thread.
class BlockEncoder {
public:
    /// Head and bytes of a block from its content in CBOR; valid until the next one. Errors: Failure.
    std::span<const std::uint8_t> encode(std::span<const std::uint8_t> content);

private:
    std::unique_ptr<ZSTD_CCtx_s, std::size_t (*)(ZSTD_CCtx_s*)> compressor_ = {nullptr, nullptr};
    ByteString block_;
};

/// The content of a block whose checksum is right. Errors: std::exception for anything else than an encoded
/// block.
nlohmann::json decodedBlock(const BlockHead& head, std::span<const std::uint8_t> stored);

/// The content of an expanded block. Errors: as above.
nlohmann::json parsedBlock(std::span<const std::uint8_t> content);

} // namespace orvo::host
