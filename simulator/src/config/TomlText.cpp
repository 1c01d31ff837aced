// SPDX-License-Identifier: MIT
// Reads a file and parses it.
#include "config/TomlTable.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

namespace orvo::sim {

namespace {

/// Steps through a file's text, skipping strings and comments.
class TextWalk {
public:
    explicit TextWalk(std::string_view text) : text_(text) {}

    /// The line of the first character beyond ASCII, or header without a name, outside strings and comments:
    /// TOML has neither, and the parser crashes on some of them.
    std::optional<unsigned> strayLine() {
        for (; at_ < text_.size(); ++at_) {
            if (isStray()) return lineHere();
            if (text_[at_] == '#')
                at_ = std::min(text_.find('\n', at_), text_.size());
            else if (text_[at_] == '"' || text_[at_] == '\'')
                skipString(text_[at_]);
        }
        return std::nullopt;
    }

private:
    bool isStray() const {
        if (static_cast<unsigned char>(text_[at_]) >= 0x80) return true;
        if (text_[at_] != '[') return false;
        const auto next = text_.find_first_not_of("[ \t", at_);
        return next != std::string_view::npos && text_[next] == '=';
    }

    /// Moves to the string's last quote, or to the place where the parser will miss it.
    void skipString(char quote) {
        const std::string three(3, quote);
        const bool isLong = text_.substr(at_).starts_with(three);
        const std::string_view end = isLong ? std::string_view(three) : std::string_view(three).substr(0, 1);
        at_ += end.size();
        while (at_ < text_.size() && !text_.substr(at_).starts_with(end) && (isLong || text_[at_] != '\n'))
            at_ += quote == '"' && text_[at_] == '\\' ? 2U : 1U;
        at_ += end.size() - 1;
    }

    unsigned lineHere() const {
        return 1 + static_cast<unsigned>(std::ranges::count(text_.substr(0, at_), '\n'));
    }

    const std::string_view text_;
    std::size_t at_ = 0;
};

} // namespace

std::string readTextFile(const std::filesystem::path& path) {
    std::error_code absent; // then opening fails, with the reason
    if (std::filesystem::exists(path, absent) && !std::filesystem::is_regular_file(path, absent))
        throw ConfigurationError(path, "cannot be read: it is not a regular file");
    std::string text;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    bool good = file != nullptr;
    for (char block[4096]; good;) {
        const std::size_t bytes = std::fread(block, 1, sizeof block, file);
        text.append(block, bytes);
        good = std::ferror(file) == 0;
        if (bytes < sizeof block) break;
    }
    const std::string reason = good ? "" : std::strerror(errno);
    if (file) std::fclose(file); // only read
    if (!good) throw ConfigurationError(path, "cannot be read: " + reason);
    return text;
}

toml::table parseToml(std::string_view text, const std::filesystem::path& file) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const bool isMarked = text.starts_with(byteOrderMark);
    if (const auto line = TextWalk(text.substr(isMarked ? byteOrderMark.size() : 0)).strayLine())
        throw ConfigurationError(
            file, *line,
            "there is something outside quotes that TOML does not have; put it in quotes or remove it");
    try {
        return toml::parse(text, file.string());
    } catch (const toml::parse_error& error) {
        const unsigned line = error.source().begin.line;
        throw ConfigurationError(file, line != 0 ? line : 1, std::string(error.description()));
    }
}

} // namespace orvo::sim
