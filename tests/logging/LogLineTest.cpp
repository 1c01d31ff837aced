// One message: its prefixes, its numbers, and that it costs nothing when it does not pass.
#include "logging/LogLine.h"

#include "logging/Logging.h"
#include "support/Concurrency.h"
#include "support/RecordedLog.h"

#include <gmock/gmock.h>

#include <limits>

namespace orvo::test {
namespace {

using testing::IsEmpty;
using tools::logging::Hex;
using tools::logging::Logging;
using tools::logging::LogLevel;
using tools::logging::LogLine;

class LogLineTest : public testing::Test {
protected:
    LogLineTest() {
        logger->setLevel(3);
        takeRecords();
    }

    tools::logging::Logger* logger = Logging::getLogger("line");
};

std::string threadPrefix() {
    return "thread-id=" + std::to_string(static_cast<unsigned long>(pthread_self())) + "|";
}

TEST_F(LogLineTest, BeginsWithThePrefixOfItsThread) {
    const auto write = [this] {
        { LogLine(logger, LogLevel::Warning) << "text"; }
        LogLine(logger, LogLevel::Error, "gige 0") << "': text";
        const auto records = takeRecords();
        ASSERT_EQ(records.size(), 2U);
        EXPECT_EQ(records[0].text, threadPrefix() + "text");
        EXPECT_EQ(records[0].level, 4U);
        EXPECT_EQ(records[1].text, threadPrefix() + "PHY Id 'gige 0': text");
        EXPECT_EQ(records[1].level, 5U);
        EXPECT_EQ(records[1].logger, "line");
        EXPECT_EQ(records[1].a, 0U);
        EXPECT_EQ(records[1].b, 0U);
    };
    write();
    inBackground(write).get();
}

TEST_F(LogLineTest, WritesNumbersAsTheyAre) {
    using Long = std::numeric_limits<std::int64_t>;
    using Unsigned = std::numeric_limits<std::uint64_t>;
    {
        LogLine line(logger, LogLevel::Information);
        line << Long::min() << " " << Long::max() << " " << Unsigned::max() << " " << 0 << " " << -1 << " "
             << std::uint8_t{65} << " " << std::uint16_t{0xFFFF};
    }
    {
        LogLine line(logger, LogLevel::Information);
        line << Hex{0U} << " " << Hex{0xBU} << " " << Hex{std::uint8_t{0xFF}} << " "
             << Hex{std::uint16_t{0x100}} << " " << Hex{Unsigned::max()};
    }
    EXPECT_THAT(
        takeMessages(),
        testing::ElementsAre("3 -9223372036854775808 9223372036854775807 18446744073709551615 0 -1 65 65535",
                             "3 0 0xb 0xff 0x100 0xffffffffffffffff"));
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
    EXPECT_THAT(takeRecords(), IsEmpty());
    write(LogLevel::Information);
    EXPECT_EQ(evaluated, 2);
    EXPECT_EQ(takeRecords().size(), 2U);
}

} // namespace
} // namespace orvo::test
