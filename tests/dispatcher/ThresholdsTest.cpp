// SPDX-License-Identifier: MIT
// The text form of thresholds: what is accepted, and what a bad one is told.
#include "Thresholds.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace orvo::dispatcher {
namespace {

/// The thresholds of the loggers "a" and "other", or what is wrong with the text.
std::string parsed(const char* text) {
    try {
        const auto thresholds = Thresholds::parse(text);
        return std::to_string(thresholds.of("a")) + ", " + std::to_string(thresholds.of("other"));
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
}

TEST(ThresholdsTest, EachNameHasItsOwnAndTheRestTheDefaultOrTheTextIsRefused) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "4, 4"},
        {" \t", "4, 4"},
        {"a=2,*=5", "2, 5"},
        {" a = 0 , other=7", "0, 7"},
        {"*=3", "3, 3"},
        {"a=2,a=6", "6, 4"},
        {"guard.library", "'guard.library' is not of the form NAME=THRESHOLD"},
        {"=4", "'=4' is not of the form"},
        {"*=4,", "'' is not of the form"},
        {"a=8", "'8' of 'a' is not a number from 0 to 7"},
        {"a=-1", "'-1' of 'a'"},
        {"a=", "'' of 'a'"},
        {"a=4x", "'4x' of 'a'"},
        {"a=99999999999", "'99999999999' of 'a'"},
    };
    for (const auto& [text, outcome] : rows) {
        SCOPED_TRACE(text);
        EXPECT_THAT(parsed(text), testing::HasSubstr(outcome));
    }
}

} // namespace
} // namespace orvo::dispatcher
