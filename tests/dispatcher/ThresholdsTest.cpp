// The text form of thresholds: what is accepted, and what a bad one is told.
#include "Thresholds.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace orvo::dispatcher {
namespace {

using testing::HasSubstr;

TEST(ThresholdsTest, GiveEachNameItsOwnThresholdAndTheRestTheDefault) {
    const struct {
        const char* text;
        std::uint32_t guard, other;
    } cases[] = {
        {"", 4, 4},
        {" \t", 4, 4},
        {"guard.library=2,*=5", 2, 5},
        {" guard.library = 0 , other=7", 0, 7},
        {"*=3", 3, 3},
        {"guard.library=2,guard.library=6", 6, 4},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        const auto thresholds = Thresholds::parse(row.text);
        EXPECT_EQ(thresholds.of("guard.library"), row.guard);
        EXPECT_EQ(thresholds.of("other"), row.other);
    }
}

TEST(ThresholdsTest, SayWhatIsWrong) {
    const struct {
        const char* text;
        const char* complaint;
    } cases[] = {
        {"guard.library", "'guard.library' is not of the form NAME=THRESHOLD"},
        {"=4", "'=4' is not of the form"},
        {"*=4,", "'' is not of the form"},
        {"a=8", "'8' of 'a' is no number from 0 to 7"},
        {"a=-1", "'-1' of 'a'"},
        {"a=", "'' of 'a'"},
        {"a=4x", "'4x' of 'a'"},
        {"a=99999999999", "'99999999999' of 'a'"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        try {
            Thresholds::parse(row.text);
            ADD_FAILURE() << "accepted";
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), HasSubstr(row.complaint));
        }
    }
}

} // namespace
} // namespace orvo::dispatcher
