// How the simulation begins, each time in a process of its own: without a file, with one, and with a bad one.
#include "SimulatedBoard.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

/// What a fresh process answers; its exit code tells the first thing that is not as expected.
int whatDefaultBoardLacks() {
    if (OHalGetDeviceCount() != 1 || orvoSimConfigurationError() != nullptr) return 1;
    const Device device(0);
    if (OHalGetBoardInfoInt(device.handle(), "ports/gige") != 4) return 2;
    if (OHalGetBoardInfoInt(device.handle(), "board/serial") == 0) return 3;
    for (unsigned port = 0; port < 4; ++port) {
        if (wireOf(0, port) != "loopback" || portState(0, port).linkMbit != 1000) return 4;
        device.send(port, frameOf(64, port));
        if (device.receive(port) != frameOf(64, port)) return 5;
    }
    return testing::Test::HasFailure() ? 6 : 0;
}

int whatBadFileLeaves() {
    if (OHalGetDeviceCount() != 0 || OHalInitDevice(0) || OHalGetDevice(0)) return 1;
    if (orvoSimBoardCount() != 0 || KivFirmwareTrampoline(1, 0)) return 2;
    return OHalInitLibraries() < 0 ? 0 : 3;
}

class StartTest : public testing::Test {
protected:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("simulator-start-" + std::to_string(getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    std::string file(const std::string& text) const {
        const auto path = folder / "simulator.toml";
        std::ofstream(path) << text;
        return path.string();
    }
    fs::path folder;
};

void use(const std::string& file) {
    setenv("ORVO_SIMULATOR_CONFIG", file.c_str(), 1);
}

TEST_F(StartTest, WithoutAFileThereIsOneBoardOnLoopback) {
    EXPECT_EXIT((use(""), std::exit(whatDefaultBoardLacks())), testing::ExitedWithCode(0), "^$");
}

TEST_F(StartTest, BadFilesAreReportedOnceAndNoBoardAppears) {
    struct Case {
        std::string file;
        std::string report;
    };
    const Case cases[] = {
        {file("[[board]]\nports = 5\n"),
         "simulator.toml:2: 'ports' in \\[\\[board\\]\\] must be a whole number from 0 to 4"},
        {folder.string() + "/absent.toml", "absent.toml:1: cannot be read: No such file or directory"},
        {folder.string(), ":1: cannot be read: Is a directory"},
    };
    for (const auto& c : cases)
        EXPECT_EXIT((use(c.file), std::exit(whatBadFileLeaves())), testing::ExitedWithCode(0),
                    "^simulated board: no board appears: [^\n]*" + c.report + "\n$");
}

TEST_F(StartTest, WireWithoutItsFileIsABadFile) {
    const auto bad = file("[[board]]\nwires.0 = \"none\"\nwires.2 = \"pcap:absent.pcap\"\n");
    const std::string reason =
        bad + ":3: capture file '" + folder.string() + "/absent.pcap' cannot be played";
    // Whoever reads the error has it, and nothing is written.
    EXPECT_EXIT(
        (use(bad),
         std::exit(std::string(orvoSimConfigurationError()).find(reason) == 0 ? whatBadFileLeaves() : 9)),
        testing::ExitedWithCode(0), "^$");
}

TEST_F(StartTest, LibraryCanBeCalledWhileTheProcessEnds) {
    const auto atTheEnd = [] {
        const Device device(0);
        device.send(0, frameOf(64));
        std::_Exit(device.receive(0) == frameOf(64) ? 0 : 1);
    };
    EXPECT_EXIT((std::atexit(atTheEnd), OHalGetDeviceCount(), std::exit(1)), testing::ExitedWithCode(0),
                "^$");
}

} // namespace
