// SPDX-License-Identifier: MIT
// One message: its prefixes, its numbers, and that it costs nothing when it does not pass.
#include "logging/LogLine.h"

#include "logging/Logging.h"
#include "support/Concurrency.h"
#include "support/HostLocale.h"
#include "support/RecordedLog.h"

#include <gmock/gmock.h>

#include <functional>
#include <limits>

namespace orvo::test {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using namespace tools::logging;

class LogLineTest : public testing::Test {
protected:
    LogLineTest() {
        logger->setLevel(3);
        takeRecords();
    }

    Logger* logger = Logging::getLogger("line");
};

TEST_F(LogLineTest, IsThePrefixOfItsThreadThenTextAndNumbersAsTheyAre) {
    using Long = std::numeric_limits<std::int64_t>;
    constexpr auto highest = std::numeric_limits<std::uint64_t>::max();
    const auto write = [this] {
        LogLine(logger, LogLevel::Warning)
            << Long::min() << " " << Long::max() << " " << highest << " " << 0 << " " << -1 << " "
            << std::uint8_t{65} << " " << std::uint16_t{0xFFFF};
        LogLine(logger, LogLevel::Error, "gige 0")
            << "': " << Hex{0U} << " " << Hex{0xBU} << " " << Hex{std::uint8_t{0xFF}} << " " << Hex{highest};
        const auto prefix = "thread-id=" + std::to_string(pthread_self()) + "|";
        const auto numbers = "-9223372036854775808 9223372036854775807 18446744073709551615 0 -1 65 65535";
        const auto words = "PHY Id 'gige 0': 0 0xb 0xff 0xffffffffffffffff";
        EXPECT_THAT(takeRecords(), ElementsAre(FieldsAre("line", 4, prefix + numbers, _, 0, 0),
                                               FieldsAre("line", 5, prefix + words, _, 0, 0)));
    };
    write();
    inBackground(write).get();
    const HostLocale locale; // has no say in messages
    write();
}

TEST_F(LogLineTest, NothingIsEvaluatedBehindARefusedLevel) {
    int evaluated = 0;
    const auto write = [&](LogLevel level) {
        if (auto line = LogLine(logger, level)) line << ++evaluated;
        if (auto line = LogLine(logger, level, "id")) line << ++evaluated;
    };
    write(LogLevel::Detail);
    logger->setThreadEnabled(false);
    write(LogLevel::Error);
    logger->setThreadEnabled(true);
    EXPECT_EQ(evaluated, 0);
    write(LogLevel::Information);
    EXPECT_THAT(takeMessages(), ElementsAre("3 1", "3 PHY Id 'id2"));
}

TEST_F(LogLineTest, HeldLinesAreSentInTheirOrderAfterTheOutermostEnds) {
    const auto write = [this](const char* text) { LogLine(logger, LogLevel::Warning, "") << text; };
    bool isCalledBack = false;
    const struct {
        const char* what;
        std::function<void()> work;
        const char* order;
    } rows[] = {{"nested",
                 [&] {
                     const HeldLines outer;
                     write("1");
                     {
                         const HeldLines inner;
                         write("2");
                     }
                     write("3");
                     EXPECT_THAT(takeRecords(), testing::IsEmpty());
                 },
                 "123"},
                {"left by an exception",
                 [&] {
                     try {
                         const HeldLines lines;
                         write("1");
                         throw 0;
                     } catch (int) {
                         write("2");
                     }
                 },
                 "12"},
                {"written by a callback while they are sent",
                 [&] {
                     onEmit([&] {
                         if (!std::exchange(isCalledBack, true)) write("2");
                     });
                     {
                         const HeldLines lines;
                         write("1");
                         write("3");
                     }
                     onEmit({});
                 },
                 "123"},
                {"of one thread only",
                 [&] {
                     const HeldLines lines;
                     write("2");
                     inBackground([&] { write("1"); }).get();
                 },
                 "12"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        row.work();
        std::string order;
        for (const auto& message : takeMessages()) order += message.back();
        EXPECT_EQ(order, row.order);
    }
}

} // namespace
} // namespace orvo::test
