// SPDX-License-Identifier: MIT
// Arguments and results of C entries in messages, by the entry's type. A parameter list consists of
//   void*                          at its beginning: a device handle
//   char*, size_t                  a text that the entry writes
//   const char*                    a text
//   const void*, SIZE              bytes; const uint32_t*, SIZE: words
//   void*, SIZE                    a buffer that the entry fills
//   T*                             a value that the entry writes on success
//   T                              a number
// Any pointer may be null. Answers carry the result first, then what the entry wrote, last parameter first.
#pragma once

#include "share/Message.h"

#include <orvo/sim/orvo_sim.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <string>

namespace orvo::sim {

template <class T>
concept Number = std::is_integral_v<T> || std::is_enum_v<T>;

template <class... Parameters> struct ParameterList {};

// Client: packs arguments, and unpacks an answer into where they point.

class ArgumentPacker {
public:
    explicit ArgumentPacker(MessageWriter& out) noexcept : out_(out) {}

    void pack() {}
    template <class... Rest> void pack(char* text, std::size_t bytes, Rest... rest) {
        packRoom(text, bytes);
        pack(rest...);
    }
    template <class... Rest> void pack(const char* text, Rest... rest) {
        packBlock(text, text ? std::strlen(text) : 0);
        pack(rest...);
    }
    template <std::integral Size, class... Rest> void pack(const void* bytes, Size count, Rest... rest) {
        packBlock(bytes, count);
        pack(rest...);
    }
    template <class... Rest> void pack(const std::uint32_t* words, std::size_t count, Rest... rest) {
        packBlock(words, std::min(count, maxBlockBytes) * sizeof *words);
        pack(rest...);
    }
    template <std::integral Size, class... Rest> void pack(void* buffer, Size bytes, Rest... rest) {
        packRoom(buffer, bytes);
        pack(rest...);
    }
    template <class T, class... Rest> void pack(T* value, Rest... rest) {
        out_.put(std::uint8_t{value != nullptr});
        pack(rest...);
    }
    template <Number T, class... Rest> void pack(T value, Rest... rest) {
        out_.put(value);
        pack(rest...);
    }

private:
    void packBlock(const void* bytes, std::size_t count) {
        out_.put(std::uint8_t{bytes != nullptr});
        out_.putBlock(bytes, bytes ? std::min(count, maxBlockBytes) : 0);
    }
    void packRoom(const void* room, std::size_t bytes) {
        out_.put(std::uint8_t{room != nullptr});
        out_.put(static_cast<std::uint32_t>(std::min(bytes, maxBlockBytes)));
    }
    MessageWriter& out_;
};

class AnswerUnpacker {
public:
    explicit AnswerUnpacker(MessageReader& in) noexcept : in_(in) {}

    void unpack() {}
    template <class... Rest> void unpack(char* text, std::size_t bytes, Rest... rest) {
        unpack(rest...);
        const auto found = in_.takeText();
        if (!text || bytes == 0 || found.empty()) return;
        const auto count = std::min(found.size(), bytes - 1);
        std::memcpy(text, found.data(), count);
        text[count] = '\0';
    }
    template <class... Rest> void unpack(const char*, Rest... rest) { unpack(rest...); }
    template <std::integral Size, class... Rest> void unpack(const void*, Size, Rest... rest) {
        unpack(rest...);
    }
    template <class... Rest> void unpack(const std::uint32_t*, std::size_t, Rest... rest) { unpack(rest...); }
    template <std::integral Size, class... Rest> void unpack(void* buffer, Size bytes, Rest... rest) {
        unpack(rest...);
        const auto found = in_.takeBlock();
        if (buffer && found.size() <= bytes)
            std::copy(found.begin(), found.end(), static_cast<std::byte*>(buffer));
    }
    template <class T, class... Rest> void unpack(T* value, Rest... rest) {
        unpack(rest...);
        const auto found = in_.takeBlock();
        if (value && found.size() == sizeof *value) std::memcpy(value, found.data(), sizeof *value);
    }
    template <Number T, class... Rest> void unpack(T, Rest... rest) { unpack(rest...); }

private:
    MessageReader& in_;
};

// Server: unpacks arguments into storage, calls the entry, and packs its answer. Nothing is called for a
// message that is not exactly the arguments.

class EntryServer {
public:
    EntryServer(MessageReader& in, MessageWriter& out) noexcept : in_(in), out_(out) {}

    /// `call` takes the parameters of the list.
    template <class Call> bool serve(Call call, ParameterList<>) {
        if (!in_.isWhole()) return false;
        const auto result = call();
        out_.put(result);
        if constexpr (std::is_signed_v<decltype(result)>) succeeded_ = result >= 0;
        return true;
    }
    template <class Call, class... Rest> bool serve(Call call, ParameterList<char*, std::size_t, Rest...>) {
        const bool isThere = takeFlag();
        std::string text(takeRoom(), '\0');
        const bool served =
            serve([&](Rest... rest) { return call(isThere ? text.data() : nullptr, text.size(), rest...); },
                  ParameterList<Rest...>{});
        if (served) out_.putBlock(text.data(), isThere ? strnlen(text.data(), text.size()) : 0);
        return served;
    }
    template <class Call, class... Rest> bool serve(Call call, ParameterList<const char*, Rest...>) {
        const bool isThere = takeFlag();
        const std::string text(in_.takeText());
        return serve([&](Rest... rest) { return call(isThere ? text.c_str() : nullptr, rest...); },
                     ParameterList<Rest...>{});
    }
    template <class Call, std::integral Size, class... Rest>
    bool serve(Call call, ParameterList<const void*, Size, Rest...>) {
        return serveBytes<std::byte, Size>(call, ParameterList<Rest...>{});
    }
    template <class Call, class... Rest>
    bool serve(Call call, ParameterList<const std::uint32_t*, std::size_t, Rest...>) {
        return serveBytes<std::uint32_t, std::size_t>(call, ParameterList<Rest...>{});
    }
    template <class Call, std::integral Size, class... Rest>
    bool serve(Call call, ParameterList<void*, Size, Rest...>) {
        const bool isThere = takeFlag();
        std::vector<std::uint64_t> room(takeRoom() / 8 + 1); // aligned for whatever the entry stores
        const Size bytes = static_cast<Size>(room_);
        const bool served =
            serve([&](Rest... rest) { return call(isThere ? room.data() : nullptr, bytes, rest...); },
                  ParameterList<Rest...>{});
        if (served) out_.putBlock(room.data(), isThere && succeeded_ ? bytes : 0);
        return served;
    }
    template <class Call, class T, class... Rest> bool serve(Call call, ParameterList<T*, Rest...>) {
        const bool isThere = takeFlag();
        T value{};
        const bool served = serve([&](Rest... rest) { return call(isThere ? &value : nullptr, rest...); },
                                  ParameterList<Rest...>{});
        if (served) out_.putBlock(&value, isThere && succeeded_ ? sizeof value : 0);
        return served;
    }
    template <class Call, Number T, class... Rest> bool serve(Call call, ParameterList<T, Rest...>) {
        const T value = takeNumber<T>();
        return serve([&](Rest... rest) { return call(value, rest...); }, ParameterList<Rest...>{});
    }

private:
    template <class Unit, class Size, class Call, class... Rest>
    bool serveBytes(Call call, ParameterList<Rest...>) {
        const bool isThere = takeFlag();
        const auto block = in_.takeBlock();
        std::vector<Unit> units(block.size() / sizeof(Unit));
        if (!units.empty()) std::memcpy(units.data(), block.data(), units.size() * sizeof(Unit));
        const auto count = static_cast<Size>(units.size());
        const Unit none{}; // an empty vector may have no address, which is not the same as none given
        const Unit* const first = units.empty() ? &none : units.data();
        return serve([&](Rest... rest) { return call(isThere ? first : nullptr, count, rest...); },
                     ParameterList<Rest...>{});
    }
    bool takeFlag() noexcept { return in_.take<std::uint8_t>() != 0; }
    /// An enumeration's last value plus 1, which no entry accepts, stands for all beyond.
    template <class T> T takeNumber() noexcept {
        if constexpr (std::is_enum_v<T>)
            return static_cast<T>(std::min<std::uint32_t>(in_.take<std::uint32_t>(), OrvoSimPartnerDown + 1));
        else
            return in_.take<T>();
    }
    std::size_t takeRoom() noexcept {
        room_ = in_.take<std::uint32_t>();
        if (room_ > maxBlockBytes) in_.refuse();
        return room_ = std::min(room_, maxBlockBytes);
    }

    MessageReader& in_;
    MessageWriter& out_;
    std::size_t room_ = 0;
    bool succeeded_ = true;
};

} // namespace orvo::sim
