// SPDX-License-Identifier: MIT
// What tests find, and the program's main.
#include "SimulatedBoard.h"

#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

void SimulatedBoard::SetUp() {
    orvoSimUseVirtualTime(1);
    for (unsigned board : {0U, 3U, 4U}) {
        const Device device(static_cast<int>(board));
        for (unsigned port = 0; port < 4; ++port) {
            setWire(board, port, board == 4 && port == 2 ? "none" : "loopback");
            orvoSimSetPartner(board, port, OrvoSimPartner1000);
            for (unsigned queue : {port, port + 8}) OHalDataQueueClear(device.handle, queue);
        }
        for (unsigned lines : {0U, 15U}) device.write("GigE_Reset", lines);
    }
    setWire(4, 0, "port:4/1");
    passMs(1000);
}

namespace {

/// Serves the boards until standard input ends, as it does with the program at the other end of the pipe.
int serve(const char* socket) {
    char error[512] = "";
    if (orvoSimServe(socket, error, sizeof error) != 0) return std::fprintf(stderr, "%s\n", error), 1;
    char byte = '\n';
    if (write(STDOUT_FILENO, &byte, 1) == 1)
        while (read(STDIN_FILENO, &byte, 1) > 0) {
        }
    orvoSimStopServing();
    return 0;
}

/// A child of fork gets nothing of its parent's boards.
bool isRefusedAfterFork(const Device& device) {
    int status = -1;
    const pid_t child = fork();
    if (child == 0) {
        std::uint32_t word = 0;
        const int results[] = {OHalRegisterWrite(device.handle, device.address("GigeBufferReset0"), 0),
                               OHalRegisterWrite(device.handle, device.address("GigeWriteComplete0"), 0),
                               OHalDataQueueReadBufferLong(device.handle, 0, &word, 4, 0),
                               OHalFreeDevice(device.handle)};
        std::_Exit(std::ranges::all_of(results, [](int one) { return one == OrvoSimHalBoardGone; }) ? 0 : 1);
    }
    return waitpid(child, &status, 0) == child && status == 0;
}

/// Sends and reads as `how` says until the board is gone; 3 when another program reads the queue.
int useUntilGone(const std::string& how, const Device& device, unsigned port) {
    std::uint32_t word = 0;
    for (int result = 0; result != OrvoSimHalBoardGone;) {
        if (how == "look") OHalPutDevice(OHalGetDevice(0)); // another handle takes no queue back
        if ((how == "traffic" || how == "pace") && result != HalTimeout)
            for (const char* name : {"GigeBufferReset0", "GigeWriteData0", "GigeWriteComplete0"})
                result = OHalRegisterWrite(device.handle, device.address(name), 7);
        if (how == "pace")
            usleep(100'000);
        else
            result =
                OHalDataQueueReadBufferLong(device.handle, port, &word, 4, how == "wait" ? 600'000 : 100);
        if (result == OrvoSimHalQueueTaken) return 3;
        if (result < 0 && result != HalTimeout && result != OrvoSimHalBoardGone) return 1;
    }
    // The device cannot be closed any more.
    std::_Exit(device.read("GigeTxTransferActive0") == 0xFFFF'FFFF ? 0 : 1);
}

/// Listens at port 0 until the server is gone. A listener that was killed just before may still be there.
int listen() {
    OrvoSimTap* tap = nullptr;
    int result = OrvoSimTapTaken;
    for (int tries = 0; result == OrvoSimTapTaken && tries < 5000; ++tries, usleep(1000))
        result = orvoSimOpenTap(0, 0, &tap);
    if (result != 0 || write(STDOUT_FILENO, &result, 1) != 1) return 1;
    OrvoSimTapFrame frame{};
    while (result >= 0) result = orvoSimReadTap(tap, &frame, nullptr, 0, 60'000);
    return result == OrvoSimServerGone && orvoSimCloseTap(tap) == 0 ? 0 : 1;
}

/// As another program, alone at the port: "once" passes a frame, "again" has the last one sent again, "fork"
/// has a child first, "traffic" and "pace" pass frames until the board is gone, "wait" reads an empty queue
/// until then, "look" does so and opens the board again and again, "listen" takes the frames of a cable until
/// then. 0 when that went well.
int useBoards(const std::string& how) {
    if (how == "listen") return listen();
    const Device device(0);
    const unsigned port = how == "wait" || how == "look" ? 1 : 0;
    for (unsigned i = 0; i < 100 && how != "again"; ++i) // more than are on their way at once
        device.send(port, frameOf(100, i));
    std::uint32_t word = 0;
    OHalDataQueueReadBufferLong(device.handle, port, &word, 4, 0); // this program reads from now on
    OHalDataQueueClear(device.handle, port); // also of what a killed program left half read
    if (how == "fork" && !isRefusedAfterFork(device)) return 1;
    if (how == "again")
        device.write("GigeWriteComplete0", 0);
    else
        device.send(port, frameOf(1000));
    const char byte = '\n';
    if (device.receive(port, 5000) != frameOf(1000) || write(STDOUT_FILENO, &byte, 1) != 1) return 1;
    if (how == "traffic" || how == "pace" || how == "wait" || how == "look")
        return useUntilGone(how, device, port);
    const bool isFirst = (reinterpret_cast<std::uintptr_t>(device.handle) >> 32 & 0xFF) == 0;
    return testing::Test::HasFailure() || !isFirst ? 1 : 0; // first: no handle of an earlier one is left
}

} // namespace

pid_t startSelf(const char* mode, const std::string& argument, const std::string& board, int& input,
                bool waits) {
    int in[2], out[2];
    char byte = 0;
    EXPECT_TRUE(pipe2(in, O_CLOEXEC) == 0 && pipe2(out, O_CLOEXEC) == 0);
    const pid_t process = fork();
    if (process == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        setenv("ORVO_BOARD", board.c_str(), 1);
        execl("/proc/self/exe", "simulator_test", mode, argument.c_str(), nullptr);
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    input = in[1];
    EXPECT_TRUE(!waits || read(out[0], &byte, 1) == 1) << mode << " does not start";
    close(out[0]);
    return process;
}

BoardServer::BoardServer(const std::filesystem::path& folder)
    : socket(folder / "boards.sock"), process(startSelf("--serve", socket, "own", lifeline)) {}

BoardServer::~BoardServer() {
    close(lifeline);
    waitpid(process, nullptr, 0);
}

/// With SIMULATOR_SERVED in the environment, the tests run on the boards of a server.
int main(int argc, char** argv) {
    setenv("ORVO_SIMULATOR_CONFIG", SIMULATOR_BOARDS, 1); // before the library is used first
    if (argc == 3 && std::string(argv[1]) == "--serve") return serve(argv[2]);
    if (argc == 3 && std::string(argv[1]) == "--client") return useBoards(argv[2]);
    testing::InitGoogleMock(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a child runs this main again, with a library of its own
    std::optional<TemporaryFolder> folder;
    std::optional<BoardServer> server;
    if (std::getenv("SIMULATOR_SERVED") && !GTEST_FLAG_GET(list_tests)) {
        folder.emplace();
        server.emplace(folder->path);
        setenv("ORVO_BOARD", server->socket.c_str(), 1);
    }
    return RUN_ALL_TESTS();
}
