// SPDX-License-Identifier: MIT
// Verification finds each kind of fault, and only that one, and finds its way back.
#include "frames/Verifier.h"

#include <gmock/gmock.h>

namespace orvo::host {
namespace {

using testing::ElementsAre;

// Frame 'A', 'B', ...: like the frames of a stream, all have the same length and the same first bytes. Small
// letters: that frame, changed in one byte. '?': a frame that resembles none. '!': the beginning of 'F'.
QByteArray frame(char name) {
    if (name == '?') return QByteArray(60, '\xFF');
    if (name == '!') return frame('F').left(50);
    auto bytes = QByteArray(40, 'h') + QByteArray(20, static_cast<char>(std::toupper(name)));
    if (std::islower(name)) bytes[42] = '\x01';
    return bytes;
}

// `sent` goes out at once, then `came` comes back.
Verifier::Report verify(const std::string& sent, const std::string& came) {
    Verifier verifier;
    std::uint64_t number = 0;
    for (const char name : sent) verifier.expect({++number, frame(name)});
    for (const char name : came) verifier.receive(frame(name));
    return verifier.finish();
}

TEST(VerifierTest, TellsTheFaultsApart) {
    const struct {
        const char *sent, *came;
        std::vector<std::uint64_t> counts; // identical, changed, lost, late, foreign
    } cases[] = {
        {"", "", {0, 0, 0, 0, 0}},
        {"ABCDEF", "ABCDEF", {6, 0, 0, 0, 0}},
        {"AAABAA", "AAABAA", {6, 0, 0, 0, 0}}, // the same frame several times
        {"ABCDEF", "ABEF", {4, 0, 2, 0, 0}},   // a gap
        {"ABCDEF", "", {0, 0, 6, 0, 0}},
        {"ABCDEF", "CDEF", {4, 0, 2, 0, 0}},
        {"ABCDEF", "ABCD", {4, 0, 2, 0, 0}},
        {"ABCDEF", "ABcDEF", {5, 1, 0, 0, 0}}, // one bad byte
        {"ABCDEF", "abcdef", {0, 6, 0, 0, 0}},
        {"ABCDEF", "AB?CDEF", {6, 0, 0, 0, 1}}, // a stranger
        {"ABCDEF", "ABBCDEF", {6, 0, 0, 0, 1}}, // a double
        {"ABCDEF", "ABCDEFF", {6, 0, 0, 0, 1}},
        {"ABCDEF", "ABDCEF", {5, 0, 0, 1, 0}},  // an overtaking
        {"ABCDEF", "ABxCDEF", {6, 0, 0, 0, 1}}, // a stranger that looks like a changed C
        {"", "A", {0, 0, 0, 0, 1}},
        {"ABCDEF", "AcDF", {3, 1, 2, 0, 0}}, // a gap, and then a changed frame: B for c is as good
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.sent) + " -> " + row.came);
        const auto report = verify(row.sent, row.came);
        EXPECT_THAT(row.counts,
                    ElementsAre(report.identical, report.changed, report.lost, report.late, report.foreign));
        EXPECT_EQ(report.passed(), row.counts[0] == std::string_view(row.sent).size() && report.foreign == 0);
        EXPECT_EQ(report.differences.empty(), report.passed());
    }
}

TEST(VerifierTest, SaysWhereTheDifferencesAre) {
    EXPECT_THAT(
        verify("ABCDEF", "AcF?D").differences,
        ElementsAre("frame 2: byte 40 was sent as 0x42 and came back as 0x43 (60 bytes sent, 60 received)",
                    "frames 3 to 5 did not come back",
                    "received frame 4 (60 bytes) was not sent, or came back before",
                    "frame 4 came back late"));
    EXPECT_THAT(verify("F", "!").differences,
                ElementsAre("frame 1: the first 50 bytes are the same (60 bytes sent, 50 received)"));
}

TEST(VerifierTest, IsBoundedWhateverIsLost) {
    Verifier verifier;
    for (std::uint64_t number = 1; number <= 3 * Verifier::maxExpected; ++number)
        verifier.expect({number, QByteArray::number(static_cast<qulonglong>(number))});
    verifier.receive(QByteArray("1")); // given up long ago, and forgotten
    verifier.receive(QByteArray::number(qulonglong{3} * Verifier::maxExpected));
    for (int i = 0; i < 100; ++i) {
        verifier.receive(QByteArray("stranger"));
        verifier.expect({20'000, QByteArray("lost")});
    }
    const auto& report = verifier.finish();
    EXPECT_EQ(report.identical, 1u);
    EXPECT_EQ(report.lost, 3 * Verifier::maxExpected - 1 + 100);
    EXPECT_EQ(report.foreign, 101u);
    EXPECT_THAT(report.differences, testing::SizeIs(Verifier::maxDifferences));
}

} // namespace
} // namespace orvo::host
