// SPDX-License-Identifier: MIT
// Programs and servers of boards that die, at any moment.
#include "SimulatedBoard.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Client {
    Client(const char* how, const std::string& board, bool waits = true)
        : process(startSelf("--client", how, board, input, waits)) {}
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

std::string contentOf(pid_t process, const char* file) {
    std::ifstream in("/proc/" + std::to_string(process) + "/" + file);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Resident memory in KiB, but for what the boards' own queues have filled so far.
int residentKib(const BoardServer& server) {
    const std::string text = contentOf(server.process, "status"), name = "RssAnon:";
    return std::atoi(text.c_str() + text.find(name) + name.size());
}

/// Descriptors, threads and shared memory of a server.
std::size_t holdings(const BoardServer& server) {
    const std::string maps = contentOf(server.process, "maps"), shared = "memfd:orvo-";
    std::size_t found = countIn(server.process, "fd") + countIn(server.process, "task");
    for (auto at = maps.find(shared); at != std::string::npos; at = maps.find(shared, at + 1)) ++found;
    return found;
}

/// The same, once it has noticed that clients are gone.
std::size_t holdings(const BoardServer& server, std::size_t expected) {
    for (const auto limit = Clock::now() + std::chrono::seconds(10);
         Clock::now() < limit && holdings(server) != expected; usleep(1000)) {
    }
    return holdings(server);
}

TEST(ShareTest, KilledProgramsLeaveNothingBehind) {
    const char* const asked = std::getenv("SIMULATOR_KILLS");
    const int kills = asked ? std::atoi(asked) : 12;
    const TemporaryFolder folder;
    const BoardServer server(folder.path);
    const std::size_t before = holdings(server);
    std::minstd_rand random(1);
    const auto killAtRandom = [&](int times) {
        for (int i = 0; i < times; ++i) {
            const bool isStarted = i % 2 == 0; // else killed while it starts
            const Client listens("listen", server.socket, isStarted);
            const Client client("traffic", server.socket, isStarted);
            usleep(static_cast<useconds_t>(random() % (isStarted ? 3000 : 20'000)));
        }
        EXPECT_EQ(holdings(server, before), before);
    };
    killAtRandom(4); // until every part of the server has been used
    const int resident = residentKib(server);
    killAtRandom(kills);
    const int growth = residentKib(server) - resident;
    RecordProperty("growthKib", growth);
#if !defined(__SANITIZE_ADDRESS__) &&                                                                        \
    !defined(__SANITIZE_THREAD__) // whose own records grow with every thread
    EXPECT_LT(growth, 1024) << "the server keeps memory of programs that are gone";
#endif
    for (const char* how : {"once", "again", "fork", "once"})
        EXPECT_EQ(Client(how, server.socket).exitCode(), 0) << how;
}

TEST(ShareTest, TheLastToBeginReadsAQueue) {
    const TemporaryFolder folder;
    const BoardServer server(folder.path);
    const Client first("wait", server.socket), second("look", server.socket), third("wait", server.socket);
    for (const Client* client : {&first, &second}) EXPECT_EQ(client->exitCode(), 3);
}

TEST(ShareTest, ProgramsOfAKilledServerAreToldAndTheNextServerTakesItsPlace) {
    const TemporaryFolder folder;
    {
        const BoardServer server(folder.path);
        const Client paces("pace", server.socket), waits("wait", server.socket),
            listens("listen", server.socket);
        const auto start = Clock::now();
        kill(server.process, SIGKILL);
        for (const Client* client : {&paces, &waits, &listens}) EXPECT_EQ(client->exitCode(), 0);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(5)); // one, on a machine with time to spare
    }
    std::optional<BoardServer> next(std::in_place,
                                    folder.path); // where the socket of the one before still lies
    std::filesystem::remove(next->socket);
    const BoardServer another(folder.path);
    next.reset(); // whose end leaves the other's socket alone
    EXPECT_EQ(Client("once", another.socket).exitCode(), 0);
}

} // namespace
