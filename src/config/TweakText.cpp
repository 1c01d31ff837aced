// SPDX-License-Identifier: MIT
// Arguments that give tuning values.
#include "config/TweakText.h"

#include <boost/algorithm/string/predicate.hpp>

namespace orvo::templates::platform {

std::optional<std::string> optionValue(const std::string& argument, const std::string& option) {
    const auto nameStart = argument.find_first_not_of('-');
    if (nameStart == std::string::npos) return std::nullopt;
    const auto equals = argument.find('=', nameStart);
    if (equals == std::string::npos) return std::nullopt;
    if (!boost::algorithm::iequals(argument.substr(nameStart, equals - nameStart), option))
        return std::nullopt;
    return argument.substr(equals + 1);
}

} // namespace orvo::templates::platform
