// SPDX-License-Identifier: MIT
// The text form of a port's address.
#include "device/PortAddress.h"

#include "base/Numbers.h"

#include <string_view>

namespace orvo::host {
namespace {

std::optional<unsigned> numberFrom(std::string_view digits) {
    const auto value = wholeNumber(digits);
    if (!value || digits.size() > 5) return std::nullopt;
    return static_cast<unsigned>(*value);
}

} // namespace

std::string PortAddress::text() const {
    return std::to_string(board) + "/" + std::to_string(port);
}

std::optional<PortAddress> PortAddress::parse(const std::string& text) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) return std::nullopt;
    const auto board = numberFrom(std::string_view(text).substr(0, slash));
    const auto port = numberFrom(std::string_view(text).substr(slash + 1));
    if (!board || !port) return std::nullopt;
    return PortAddress{*board, *port};
}

} // namespace orvo::host
