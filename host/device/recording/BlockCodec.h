// SPDX-License-Identifier: MIT
// Blocks of a recording: CBOR, compressed with zstd.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

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

/// Head and bytes of a block from its content in CBOR. Errors: Failure.
ByteString encodedBlock(std::span<const std::uint8_t> content);
inline ByteString encodedBlockOf(const nlohmann::json& content) {
    return encodedBlock(nlohmann::json::to_cbor(content));
}

/// The content of a block whose checksum is right. Errors: std::exception for anything else than an encoded
/// block.
nlohmann::json decodedBlock(const BlockHead& head, std::span<const std::uint8_t> stored);

/// The content of an expanded block. Errors: as above.
nlohmann::json parsedBlock(std::span<const std::uint8_t> content);

} // namespace orvo::host
