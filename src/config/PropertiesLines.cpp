// SPDX-License-Identifier: MIT
#include "config/PropertiesLines.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>

namespace orvo::templates::platform {

using boost::algorithm::to_upper_copy;
using boost::algorithm::trim_copy;

PropertiesLines::PropertiesLines(bool sectionsEnabled, bool caseSensitiveKeys)
    : sectionsEnabled_(sectionsEnabled), caseSensitiveKeys_(caseSensitiveKeys) {}

PropertiesLines::Line PropertiesLines::read(const std::string& line) {
    const auto text = trim_copy(line.substr(0, line.find('#')));
    if (text.empty()) return Line::Blank;
    if (sectionsEnabled_ && text.front() == '[') {
        if (text.size() < 3) return Line::Meaningless;
        if (text.back() == ']') {
            section_ = normalisedKey(trim_copy(text.substr(1, text.size() - 2)));
            return Line::Section;
        }
    }
    return sectionsEnabled_ && section_.empty() ? Line::Meaningless : readEntry(text);
}

PropertiesLines::Line PropertiesLines::readEntry(const std::string& line) {
    const auto equals = line.find('=');
    if (equals == std::string::npos) return Line::Meaningless;
    const auto name = trim_copy(line.substr(0, equals));
    key_ = normalisedKey(sectionsEnabled_ ? section_ + "::" + name : name);
    value_ = trim_copy(line.substr(equals + 1));
    return Line::Entry;
}

std::string PropertiesLines::normalisedKey(const std::string& key) const {
    return caseSensitiveKeys_ ? key : to_upper_copy(key);
}

} // namespace orvo::templates::platform
