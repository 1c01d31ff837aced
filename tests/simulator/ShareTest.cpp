// SPDX-License-Identifier: MIT
// Programs and servers of boards that die, at any moment.
#include "SimulatedBoard.h"

#include <chrono>
#include <csignal>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Client {
    Client(const char* how, const std::string& board) : process(startSelf("--client", how, board, input)) {}
    ~Client() {
        close(input);
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    /// Its exit code; -1 when it does not end in time.
    int exitCode() const {
        siginfo_t end{};
        for (const auto limit = Clock::now() + std::chrono::seconds(10); Clock::now() < limit; usleep(1000))
            if (waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                end.si_pid != 0)
                return end.si_code == CLD_EXITED ? end.si_status : -1;
        return -1;
    }
    int input = -1; // before the process, whose start sets it
    const pid_t process;
};

std::size_t countIn(pid_t process, const char* what) {
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(process) + "/" + what);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// Descriptors and threads of a server, once it has taken note of clients that are gone.
std::size_t holdings(const BoardServer& server, std::size_t expected) {
    std::size_t found = 0;
    for (const auto limit = Clock::now() + std::chrono::seconds(10); Clock::now() < limit; usleep(1000)) {
        found = countIn(server.process, "fd") + countIn(server.process, "task");
        if (found == expected) break;
    }
    return found;
}

TEST(ShareTest, KilledProgramsLeaveNothingBehind) {
    const char* const asked = std::getenv("SIMULATOR_KILLS");
    const int kills = asked ? std::atoi(asked) : 12;
    const TemporaryFolder folder;
    const BoardServer server(folder.path);
    const std::size_t before = countIn(server.process, "fd") + countIn(server.process, "task");
    std::minstd_rand random(1);
    for (int i = 0; i < kills; ++i) {
        const Client listens("listen", server.socket), client("traffic", server.socket);
        usleep(static_cast<useconds_t>(random() % 3000));
    }
    EXPECT_EQ(holdings(server, before), before);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Client("once", server.socket).exitCode(), 0);
}

TEST(ShareTest, ProgramsOfAKilledServerAreToldAndTheNextServerTakesItsPlace) {
    const TemporaryFolder folder;
    {
        const BoardServer server(folder.path);
        const Client sends("traffic", server.socket), waits("wait", server.socket),
            listens("listen", server.socket);
        const auto start = Clock::now();
        kill(server.process, SIGKILL);
        for (const Client* client : {&sends, &waits, &listens}) EXPECT_EQ(client->exitCode(), 0);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(5)); // one, on a machine with time to spare
    }
    const BoardServer next(folder.path); // where the socket of the one before still lies
    EXPECT_EQ(Client("once", next.socket).exitCode(), 0);
}

} // namespace
