// SPDX-License-Identifier: MIT
// A locale that a host may have set for its whole process.
#pragma once

#include <algorithm>
#include <cstddef>
#include <locale>
#include <string>

namespace orvo::test {

/// While it exists, the global locale groups digits ("1.234.567"), counts ';' as white space, and has 'P' as
/// the upper case of 'q'.
class HostLocale {
public:
    HostLocale()
        : before_(std::locale::global(
              std::locale(std::locale(std::locale::classic(), new Numbers), new Characters))) {}
    ~HostLocale() { std::locale::global(before_); }
    HostLocale(const HostLocale&) = delete;
    HostLocale& operator=(const HostLocale&) = delete;

private:
    struct Numbers : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    struct Characters : std::ctype<char> {
        Characters() : std::ctype<char>(table()) {}
        static const mask* table() {
            static mask masks[table_size];
            std::copy_n(classic_table(), table_size, masks);
            masks[std::size_t{';'}] |= space;
            return masks;
        }
        char do_toupper(char letter) const override {
            return letter == 'q' ? 'P' : std::ctype<char>::do_toupper(letter);
        }
    };

    std::locale before_;
};

} // namespace orvo::test
