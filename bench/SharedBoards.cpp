// SPDX-License-Identifier: MIT
// Frames between two programs over a board that a third one holds: sender at port 0, receiver at port 1, by
// the same register protocol as the plug-in's. Prints frames a second, and their ratio to a gigabit's line
// rate. With "own", one thread does both at a board of its own, for comparison between versions of the
// library.
#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>
#include <orvo/sim/orvo_sim.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double bitsPerSecond = 1e9;
constexpr unsigned gapBytes = 20;         // preamble and inter-frame gap
constexpr unsigned windowWords = 100'000; // that the sender stays ahead at most; less than the queue holds
constexpr auto runTime = std::chrono::seconds(3);

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
    std::atomic<std::uint64_t> sent{0}, received{0};
    std::atomic<bool> isReady{false}, isEnding{false};
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

void sendFor(Counts& counts, unsigned wireBytes) {
    Sender sender(wireBytes);
    const std::uint64_t window = windowWords / (wireBytes / 2);
    const auto end = Clock::now() + runTime;
    for (std::uint64_t count = 0; count % 64 != 0 || Clock::now() < end;) {
        if (count - counts.received.load(std::memory_order_acquire) >= window) {
            sched_yield();
            continue;
        }
        sender.send();
        counts.sent.store(++count, std::memory_order_relaxed);
    }
}

void measureShared(unsigned wireBytes, const std::string& socket) {
    void* const memory =
        mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& counts = *new (memory) Counts;
    const pid_t server = inProcess([&] { serve(socket, counts); });
    while (!counts.isReady) usleep(1000);
    setenv("ORVO_BOARD", socket.c_str(), 1);
    const pid_t receiver = inProcess([&] { receiveAll(counts); });
    const auto start = Clock::now();
    const pid_t sender = inProcess([&] { sendFor(counts, wireBytes); });
    waitpid(sender, nullptr, 0);
    const std::chrono::duration<double> took = Clock::now() - start;
    const auto limit = Clock::now() + std::chrono::seconds(1);
    while (counts.received < counts.sent && Clock::now() < limit) usleep(1000);
    counts.isEnding = true;
    for (const pid_t process : {receiver, server}) waitpid(process, nullptr, 0);
    report("shared", wireBytes, static_cast<double>(counts.received) / took.count(),
           counts.sent - counts.received);
    munmap(memory, sizeof(Counts));
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
    const bool isOwn = argc > 1 && std::string_view(argv[1]) == "own";
    std::string folder = "/tmp/orvo-bench-XXXXXX";
    if (!mkdtemp(folder.data())) return 1;
    for (const unsigned wireBytes : {64U, 512U, 1518U})
        isOwn ? measureOwn(wireBytes) : measureShared(wireBytes, folder + "/boards.sock");
    rmdir(folder.c_str());
}
