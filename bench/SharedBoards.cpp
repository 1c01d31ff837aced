// SPDX-License-Identifier: MIT
// Frames between two programs over a board that a third one holds: sender at port 0, receiver at port 1, by
// the same register protocol as the plug-in's. Prints frames a second, and their ratio to a gigabit's line
// rate. With "own", one thread does both at a board of its own, for comparison between versions of the
// library. With "tapped", a fourth program listens at the sender's cable in every second run: prints the
// medians with and without it, and what it missed.
#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>
#include <orvo/sim/orvo_sim.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <csignal>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double bitsPerSecond = 1e9;
constexpr unsigned gapBytes = 20;         // preamble and inter-frame gap
constexpr unsigned windowWords = 100'000; // that the sender stays ahead at most; less than the queue holds
constexpr std::chrono::milliseconds runTime{3000}, pairedRunTime{300};
constexpr int pairs = 31;

struct Port {
    Port() : device(OHalInitDevice(0)), applet(KivFirmwareTrampoline(1, 0)) {
        if (!device || !applet) std::fprintf(stderr, "no board\n"), std::_Exit(1);
    }
    std::uint32_t address(const char* name) const {
        return static_cast<std::uint32_t>(KivGetRegisterByName(applet, name));
    }
    void* const device;
    void* const applet;
};

class Sender {
public:
    explicit Sender(unsigned wireBytes) : units_((wireBytes - 4) / 2) {}
    void send() {
        std::uint64_t busy = 1;
        while (OHalRegisterRead(port_.device, active_, &busy) == 0 && busy != 0) sched_yield();
        OHalRegisterWrite(port_.device, reset_, 0);
        for (unsigned unit = 0; unit < units_; ++unit) OHalRegisterWrite(port_.device, data_, unit);
        OHalRegisterWrite(port_.device, complete_, 0);
    }

private:
    const Port port_;
    const unsigned units_;
    const std::uint32_t active_ = port_.address("GigeTxTransferActive0");
    const std::uint32_t reset_ = port_.address("GigeBufferReset0");
    const std::uint32_t data_ = port_.address("GigeWriteData0");
    const std::uint32_t complete_ = port_.address("GigeWriteComplete0");
};

class Receiver {
public:
    bool receive() {
        std::uint32_t bytes = 0;
        if (OHalDataQueueReadBufferLong(port_.device, 1, &bytes, 4, 100) != 4) return false;
        const auto wanted = 2 * bytes;
        return OHalDataQueueReadBufferLong(port_.device, 1, words_.data(), wanted, 100) ==
               static_cast<int>(wanted);
    }

private:
    const Port port_;
    std::vector<std::uint32_t> words_ = std::vector<std::uint32_t>(65'536);
};

struct Counts {
    std::atomic<std::uint64_t> sent{0}, received{0}, seen{0}, missed{0};
    std::atomic<bool> isReady{false}, isListening{false}, isEnding{false};
};

double lineRate(unsigned wireBytes) {
    return bitsPerSecond / (8.0 * (wireBytes + gapBytes));
}

void report(const char* boards, unsigned wireBytes, double framesPerSecond, std::uint64_t lost) {
    std::printf("%s boards, %4u bytes: %9.0f frames/s, %.2f of line rate, %llu lost\n", boards, wireBytes,
                framesPerSecond, framesPerSecond / lineRate(wireBytes),
                static_cast<unsigned long long>(lost));
    std::fflush(stdout);
}

template <class Run> pid_t inProcess(Run run) {
    const pid_t process = fork();
    if (process == 0) run(), std::_Exit(0);
    return process;
}

/// Until the process has set the flag; ends this program where the process ends before, having said why.
void await(const std::atomic<bool>& isSet, pid_t process, Counts& counts) {
    while (!isSet) {
        if (waitpid(process, nullptr, WNOHANG) != 0) {
            counts.isEnding = true; // for the other processes
            std::_Exit(1);
        }
        usleep(1000);
    }
}

void serve(const std::string& socket, Counts& counts) {
    char error[512] = "";
    if (orvoSimServe(socket.c_str(), error, sizeof error) != 0 ||
        orvoSimSetWire(0, 0, "port:0/1", nullptr, 0) != 0)
        std::fprintf(stderr, "%s\n", error), std::_Exit(1);
    counts.isReady = true;
    while (!counts.isEnding) usleep(10'000);
    orvoSimStopServing();
}

void receiveAll(Counts& counts) {
    Receiver receiver;
    for (std::uint64_t count = 0; !counts.isEnding;)
        if (receiver.receive()) counts.received.store(++count, std::memory_order_release);
}

/// As orvo-gige capture --at wire does, without writing a file: with the processor time that nobody else
/// wants, also where this benchmark has precedence over all other programs.
void listen(Counts& counts) {
    const sched_param ordinary{};
    if (sched_setscheduler(0, SCHED_OTHER, &ordinary) != 0 || nice(19) < 0)
        std::fprintf(stderr, "no lower priority\n");
    OrvoSimTap* tap = nullptr;
    if (orvoSimOpenTap(0, 0, &tap) != 0) std::fprintf(stderr, "no tap\n"), std::_Exit(1);
    counts.isListening = true;
    OrvoSimTapFrame frame;
    std::array<std::uint8_t, 2052> bytes;
    std::uint64_t seen = 0, received = 0, missed = 0;
    for (int result = 1; result == 1 || !counts.isEnding;) {
        result = orvoSimReadTap(tap, &frame, bytes.data(), bytes.size(), 50);
        seen += result == 1 ? 1 : 0;
    }
    orvoSimReadTapMissed(tap, &received, &missed);
    counts.seen = seen;
    counts.missed = missed;
    orvoSimCloseTap(tap);
}

void sendFor(Counts& counts, unsigned wireBytes, std::chrono::milliseconds time) {
    Sender sender(wireBytes);
    const std::uint64_t window = windowWords / (wireBytes / 2);
    const auto end = Clock::now() + time;
    for (std::uint64_t count = 0; count % 64 != 0 || Clock::now() < end;) {
        if (count - counts.received.load(std::memory_order_acquire) >= window) {
            sched_yield();
            continue;
        }
        sender.send();
        counts.sent.store(++count, std::memory_order_relaxed);
    }
}

struct Result {
    double framesPerSecond;
    std::uint64_t lost, seen, missed;
};

Result runShared(unsigned wireBytes, const std::string& socket, std::chrono::milliseconds time,
                 bool isTapped) {
    void* const memory =
        mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& counts = *new (memory) Counts;
    const pid_t server = inProcess([&] { serve(socket, counts); });
    await(counts.isReady, server, counts);
    setenv("ORVO_BOARD", socket.c_str(), 1);
    const pid_t receiver = inProcess([&] { receiveAll(counts); });
    const pid_t listener = isTapped ? inProcess([&] { listen(counts); }) : -1;
    if (isTapped) await(counts.isListening, listener, counts);
    const auto start = Clock::now();
    const pid_t sender = inProcess([&] { sendFor(counts, wireBytes, time); });
    waitpid(sender, nullptr, 0);
    const std::chrono::duration<double> took = Clock::now() - start;
    const auto limit = Clock::now() + std::chrono::seconds(1);
    while (counts.received < counts.sent && Clock::now() < limit) usleep(1000);
    counts.isEnding = true;
    if (isTapped) waitpid(listener, nullptr, 0);
    for (const pid_t process : {receiver, server}) waitpid(process, nullptr, 0);
    const Result result{static_cast<double>(counts.received) / took.count(), counts.sent - counts.received,
                        counts.seen, counts.missed};
    munmap(memory, sizeof(Counts));
    return result;
}

void measureShared(unsigned wireBytes, const std::string& socket) {
    const auto [framesPerSecond, lost, seen, missed] = runShared(wireBytes, socket, runTime, false);
    report("shared", wireBytes, framesPerSecond, lost);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Runs with and without a listener in turn, so that what else the machine does concerns both.
void measureTapped(unsigned wireBytes, const std::string& socket) {
    std::vector<double> without, with, ratios;
    std::uint64_t seen = 0, missed = 0;
    for (int i = 0; i < pairs; ++i) {
        without.push_back(runShared(wireBytes, socket, pairedRunTime, false).framesPerSecond);
        const auto tapped = runShared(wireBytes, socket, pairedRunTime, true);
        with.push_back(tapped.framesPerSecond);
        ratios.push_back(with.back() / without.back());
        seen += tapped.seen;
        missed += tapped.missed;
    }
    std::printf("tapped boards, %4u bytes: %9.0f frames/s, %9.0f without listener, ratio %.3f, %.1f %% of "
                "frames missed\n",
                wireBytes, median(with), median(without), median(ratios),
                100.0 * static_cast<double>(missed) /
                    static_cast<double>(std::max<std::uint64_t>(seen + missed, 1)));
    std::fflush(stdout);
}

void measureOwn(unsigned wireBytes) {
    setenv("ORVO_BOARD", "own", 1);
    orvoSimSetWire(0, 0, "port:0/1", nullptr, 0);
    Sender sender(wireBytes);
    Receiver receiver;
    std::uint64_t count = 0, lost = 0;
    const auto start = Clock::now();
    for (; Clock::now() < start + runTime; count += 64)
        for (int i = 0; i < 64; ++i) {
            sender.send();
            lost += receiver.receive() ? 0U : 1U;
        }
    const std::chrono::duration<double> took = Clock::now() - start;
    report("own", wireBytes, static_cast<double>(count) / took.count(), lost);
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view kind = argc > 1 ? argv[1] : "shared";
    std::string folder = "/tmp/orvo-bench-XXXXXX";
    if (!mkdtemp(folder.data())) return 1;
    const std::string socket = folder + "/boards.sock";
    for (const unsigned wireBytes : {64U, 512U, 1518U}) {
        if (kind == "own") measureOwn(wireBytes);
        if (kind == "shared") measureShared(wireBytes, socket);
        if (kind == "tapped") measureTapped(wireBytes, socket);
    }
    rmdir(folder.c_str());
}
