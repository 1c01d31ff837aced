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

} // namespace

BoardServer::BoardServer() : socket((folder.path / "boards.sock").string()) {
    int in[2], out[2];
    char byte = 0;
    EXPECT_TRUE(pipe2(in, O_CLOEXEC) == 0 && pipe2(out, O_CLOEXEC) == 0);
    process = fork();
    if (process == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        execl("/proc/self/exe", "simulator_test", "--serve", socket.c_str(), nullptr);
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    lifeline = in[1];
    EXPECT_EQ(read(out[0], &byte, 1), 1) << "the server does not start";
    close(out[0]);
}

BoardServer::~BoardServer() {
    close(lifeline);
    waitpid(process, nullptr, 0);
}

/// With SIMULATOR_SERVED in the environment, the tests run on the boards of a server.
int main(int argc, char** argv) {
    setenv("ORVO_SIMULATOR_CONFIG", SIMULATOR_BOARDS, 1); // before the library is used first
    if (argc == 3 && std::string(argv[1]) == "--serve") return serve(argv[2]);
    testing::InitGoogleMock(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a child runs this main again, with a library of its own
    std::optional<BoardServer> server;
    if (std::getenv("SIMULATOR_SERVED") && !GTEST_FLAG_GET(list_tests)) {
        server.emplace();
        setenv("ORVO_BOARD", server->socket.c_str(), 1);
    }
    return RUN_ALL_TESTS();
}
