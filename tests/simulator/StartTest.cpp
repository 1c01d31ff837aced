// SPDX-License-Identifier: MIT
// How the simulation begins, each time in a process of its own: without a file, with one, and with a bad one.
#include "SimulatedBoard.h"

#include <cstdlib>
#include <fstream>

namespace {

using testing::ExitedWithCode;

struct StartTest : testing::Test {
    /// Ends a process that uses `file`, with success when nothing has failed in it.
    void run(const std::string& file, void (*expect)()) {
        setenv("ORVO_SIMULATOR_CONFIG", file.c_str(), 1);
        expect();
        std::filesystem::remove_all(folder.path);
        std::exit(HasFailure() ? 1 : 0);
    }
    TemporaryFolder folder;
};

void expectDefaultBoard() {
    EXPECT_EQ(orvoSimConfigurationError(), nullptr);
    EXPECT_EQ(orvoSimBoardCount(), 1);
    for (unsigned port = 0; port < 4; ++port) {
        EXPECT_EQ(wireOf(0, port), "loopback");
        EXPECT_EQ(portState(0, port).linkMbit, 1000);
        EXPECT_TRUE(Device().carries(port));
    }
}

void expectNoBoard() {
    EXPECT_EQ(OHalGetDeviceCount() + orvoSimBoardCount(), 0);
    EXPECT_FALSE(OHalInitDevice(0) || OHalGetDevice(0) || KivFirmwareTrampoline(1, 0));
    EXPECT_LT(OHalInitLibraries(), 0);
}

TEST_F(StartTest, WithoutAFileThereIsOneBoardOnLoopback) {
    const auto stillCalled = [] { std::_Exit(HasFailure() || !Device().carries(0) ? 1 : 0); };
    EXPECT_EXIT((std::atexit(stillCalled), run("", expectDefaultBoard)), ExitedWithCode(0), "^$");
}

TEST_F(StartTest, BadFilesAreReportedOnceAndNoBoardAppears) {
    const auto five = folder.path / "five.toml", wire = folder.path / "wire.toml";
    std::ofstream(five) << "[[board]]\nports = 5\n";
    std::ofstream(wire) << "[[board]]\nwires.0 = \"none\"\nwires.2 = \"pcap:absent.pcap\"\n";
    const std::pair<std::string, std::string> cases[] = {
        {five, "five.toml:2: 'ports' in .* must be a whole number from 0 to 4"},
        {wire, "wire.toml:3: capture file '/.*/absent.pcap' cannot be played: No such file or directory"},
        {folder.path / "absent.toml", "absent.toml: cannot be read: No such file or directory"},
        {folder.path, ": cannot be read: it is not a regular file"},
    };
    for (const auto& [bad, report] : cases)
        EXPECT_EXIT(run(bad, expectNoBoard), ExitedWithCode(0),
                    "^simulated board: no board appears: [^\n]*" + report + "\n$");
    const auto readError = [] {
        EXPECT_THAT(orvoSimConfigurationError(), testing::HasSubstr("five.toml:2: "));
        expectNoBoard();
    };
    EXPECT_EXIT(run(five, readError), ExitedWithCode(0), "^$") << "the reader of the error has it";
}

} // namespace
