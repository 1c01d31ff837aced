// SPDX-License-Identifier: MIT
// Parsing and printing of wires.
#include "wire/WireSpec.h"

#include <charconv>

namespace orvo::sim {

namespace {

[[noreturn]] void refuse(std::string_view text, const std::string& reason) {
    throw WireError("wire '" + std::string(text) + "' " + reason);
}

bool parseNumber(std::string_view text, unsigned& number) noexcept {
    const auto* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end;
}

PortPlace parsePlace(std::string_view wire, std::string_view text) {
    PortPlace place;
    const auto slash = text.find('/');
    if (slash == std::string_view::npos || !parseNumber(text.substr(0, slash), place.board) ||
        !parseNumber(text.substr(slash + 1), place.port))
        refuse(wire, "names no port; write port:BOARD/PORT, as in port:0/1");
    return place;
}

WireSpec parseCapture(std::string_view wire, std::string_view text, const std::filesystem::path& directory) {
    const auto comma = text.find(',');
    const auto input = text.substr(0, comma);
    if (input.empty()) refuse(wire, "names no file to play; write pcap:IN or pcap:IN,OUT");
    WireSpec spec{WireSpec::Kind::Capture, {}, directory / input};
    if (comma == std::string_view::npos) return spec;
    const auto output = text.substr(comma + 1);
    if (output.empty()) refuse(wire, "names no file after the comma; write pcap:IN or pcap:IN,OUT");
    spec.output = directory / output;
    return spec;
}

/// The kernel's rules for names; a percent sign would make a pattern of it.
WireSpec parseInterface(std::string_view wire, WireSpec::Kind kind, std::string_view name) {
    constexpr std::size_t longestName = 15;
    if (name.empty()) refuse(wire, "names no network interface; write tap:NAME or packet:IFNAME");
    if (name.size() > longestName)
        refuse(wire, "names no network interface: a name has at most 15 characters, this has " +
                         std::to_string(name.size()));
    if (name == "." || name == ".." || name.find_first_of("/:% \t\n\v\f\r") != std::string_view::npos)
        refuse(wire, "names no network interface: a name has no space, '/', ':' or '%'");
    WireSpec spec{kind};
    spec.interface = name;
    return spec;
}

} // namespace

std::string toText(PortPlace place) {
    return std::to_string(place.board) + "/" + std::to_string(place.port);
}

std::string WireSpec::text() const {
    switch (kind) {
    case Kind::None:
        return "none";
    case Kind::Loopback:
        return "loopback";
    case Kind::Port:
        return std::string("port:").append(toText(far));
    case Kind::Tap:
        return std::string("tap:").append(interface);
    case Kind::Packet:
        return std::string("packet:").append(interface);
    case Kind::Capture:
        break;
    }
    auto text = std::string("pcap:").append(input.string());
    return output.empty() ? text : text.append(",").append(output.string());
}

WireSpec parseWire(std::string_view wire, const std::filesystem::path& directory) {
    const auto colon = wire.find(':');
    const auto kind = wire.substr(0, colon);
    if (colon == std::string_view::npos) {
        if (kind == "loopback") return {};
        if (kind == "none") return {WireSpec::Kind::None};
    } else {
        const auto rest = wire.substr(colon + 1);
        if (kind == "port") return {WireSpec::Kind::Port, parsePlace(wire, rest)};
        if (kind == "pcap") return parseCapture(wire, rest, directory);
        if (kind == "tap") return parseInterface(wire, WireSpec::Kind::Tap, rest);
        if (kind == "packet") return parseInterface(wire, WireSpec::Kind::Packet, rest);
    }
    refuse(wire, "is unknown; use loopback, port:BOARD/PORT, pcap:IN[,OUT], tap:NAME, packet:IFNAME or none");
}

} // namespace orvo::sim
