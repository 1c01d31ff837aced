// SPDX-License-Identifier: MIT
// Messages between a program and the server of its boards, as bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace orvo::sim {

/// The longest message; a datagram socket takes it whole by default.
inline constexpr std::size_t maxMessageBytes = std::size_t{160} * 1024;
/// The longest block inside one: a transmission of the largest size that a host accepts.
inline constexpr std::size_t maxBlockBytes = std::size_t{128} * 1024;

using MessageBytes = std::span<const std::byte>;

class MessageWriter {
public:
    template <class T> void put(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        putBytes(&value, sizeof value);
    }
    void putBlock(const void* bytes, std::size_t count) {
        put(static_cast<std::uint32_t>(count));
        putBytes(bytes, count);
    }
    MessageBytes bytes() const noexcept { return bytes_; }

private:
    void putBytes(const void* bytes, std::size_t count) {
        const auto* const first = static_cast<const std::byte*>(bytes);
        bytes_.insert(bytes_.end(), first, first + count);
    }
    std::vector<std::byte> bytes_;
};

/// Trusts nothing: a message that ends too early gives zeros and empty blocks, and `isWhole` says so.
class MessageReader {
public:
    explicit MessageReader(MessageBytes bytes) noexcept : rest_(bytes) {}

    template <class T> T take() noexcept {
        static_assert(std::is_trivially_copyable_v<T>);
        T value{};
        if (const auto bytes = takeBytes(sizeof value); !bytes.empty())
            std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    MessageBytes takeBlock() noexcept { return takeBytes(take<std::uint32_t>()); }
    std::string_view takeText() noexcept {
        const auto block = takeBlock();
        return {reinterpret_cast<const char*>(block.data()), block.size()};
    }
    /// Everything could be read, and nothing is left.
    bool isWhole() const noexcept { return !isShort_ && rest_.empty(); }
    void refuse() noexcept { isShort_ = true; }

private:
    MessageBytes takeBytes(std::size_t count) noexcept {
        if (count > rest_.size()) isShort_ = true;
        if (isShort_) return {};
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }
    MessageBytes rest_;
    bool isShort_ = false;
};

} // namespace orvo::sim
