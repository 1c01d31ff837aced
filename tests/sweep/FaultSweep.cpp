// SPDX-License-Identifier: MIT
// A sweep of faults over the life of an interface: each call of the board libraries goes wrong in turn, in
// each of its ways, and each allocation fails in turn. Every life is lived in a process of its own and must
// end in order.
#include "sweep/Life.h"
#include "sweep/VirtualTime.h"

#include <orvo/core/PluginLibrary.h>
#include <orvo/tools/logging/DispatcherControl.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace orvo::test {
namespace {

const std::string pluginPath = ORVO_BUILD_ROOT "/lib64/plugins/liborvo-plugin-zume-phy-gige.so";
constexpr unsigned lifeLimitS =
    120; // of real time; a life takes milliseconds, and sanitizers and busy machines more
constexpr std::uint64_t leecherDepth = 12; // how many of the leecher's calls and allocations are tried

std::ptrdiff_t entriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// What a process holds besides memory.
struct Belongings {
    std::ptrdiff_t threads = entriesOf("/proc/self/task");
    std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
};

/// A thread that was joined shows for a moment.
std::ptrdiff_t threadsAfter(std::ptrdiff_t before) {
    for (int i = 0; i < 20'000 && entriesOf("/proc/self/task") > before; ++i) nap();
    return entriesOf("/proc/self/task");
}

/// Lives once and prints what was found; the number of findings.
std::size_t liveAndTell(const std::string& name, const LifeFaults& faults) {
    const auto record = liveOnce(pluginPath, faults);
    for (const auto& finding : record.findings)
        std::fprintf(stderr, "finding: %s: %s\n", name.c_str(), finding.c_str());
    return record.findings.size();
}

/// Whether each of three lives with the fault leaves more memory behind than the one before. What is made
/// once and kept, as caches are, does not grow.
bool leaks(const std::string& name, const LifeFaults& faults) {
    for (int i = 0; i < 3; ++i) {
        const auto before = liveBlocks();
        liveAndTell(name, faults);
        if (liveBlocks() <= before) return false;
    }
    return true;
}

std::size_t liveAndCount(const std::string& name, const LifeFaults& faults) {
    const Belongings before;
    const auto blocksBefore = liveBlocks();
    auto findings = liveAndTell(name, faults);
    const auto tell = [&](const char* what) {
        std::fprintf(stderr, "finding: %s: %s\n", name.c_str(), what);
        ++findings;
    };
    if (threadsAfter(before.threads) > before.threads) tell("a thread is left");
    if (Belongings().descriptors != before.descriptors) tell("a descriptor is left");
    if (liveBlocks() > blocksBefore && leaks(name, faults)) tell("memory is left");
    return findings;
}

class Sweep {
public:
    /// Every `stride`th place is tried, from `offset` on.
    Sweep(std::uint64_t stride, std::uint64_t offset) : stride_(stride), offset_(offset) {}

    void sweepCalls() {
        begin();
        using enum CallFault::Extent;
        const std::pair<CallFault::Extent, const char*> extents[] = {
            {Once, "once"},
            {ThatEntryFromThenOn, "from then on"},
            {EverythingFromThenOn, "and everything from then on"}};
        const auto sequence = usual_.hostCalls;
        std::size_t results = 0;
        for (std::uint64_t nth = 1; nth <= sequence.size() + leecherDepth; ++nth) {
            if (!isSampled(nth)) continue;
            const bool ofHost = nth <= sequence.size();
            const std::uint64_t number = ofHost ? nth : nth - sequence.size();
            // Which entry the leecher will be at is not known beforehand: as many ways as any entry has.
            const auto ways =
                ofHost ? badResultsOf(sequence[number - 1]) : std::vector<std::string>(6, "goes wrong");
            for (std::size_t way = 0; way < ways.size(); ++way)
                for (const auto& [extent, extentName] : extents)
                    run((ofHost ? "call " : "leecher's call ") + std::to_string(number) + " " +
                            (ofHost ? nameOfEntry(sequence[number - 1]) : "") + " " + ways[way] + " " +
                            extentName,
                        {{ofHost, number, extent, way}, {}});
            results += ways.size();
        }
        end("board calls",
            std::to_string(sequence.size()) + " calls, " + std::to_string(results) + " bad results");
    }

    void sweepAllocations() {
        begin();
        for (std::uint64_t nth = 1; nth <= usual_.hostAllocations + leecherDepth; ++nth) {
            if (!isSampled(nth)) continue;
            const bool ofHost = nth <= usual_.hostAllocations;
            const std::uint64_t number = ofHost ? nth : nth - usual_.hostAllocations;
            for (const bool fromThenOn : {false, true})
                run((ofHost ? "allocation " : "leecher's allocation ") + std::to_string(number) +
                        (fromThenOn ? " from then on" : " once"),
                    {{}, {ofHost, number, fromThenOn}});
        }
        end("allocations", std::to_string(usual_.hostAllocations) + " allocations");
    }

    /// `count` lives in this process, which is then as it was.
    void liveLong(std::uint64_t count) {
        begin();
        const Belongings before;
        const auto blocks = liveBlocks();
        for (std::uint64_t life = 1; life <= count; ++life)
            findings_ += liveAndTell("life " + std::to_string(life), {});
        runs_ = count;
        const auto grown = liveBlocks() - blocks;
        if (grown > 0) tell("memory grew by " + std::to_string(grown) + " blocks");
        if (threadsAfter(before.threads) != before.threads) tell("the number of threads changed");
        if (Belongings().descriptors != before.descriptors) tell("the number of descriptors changed");
        end("lives in one process", std::to_string(grown) + " blocks more");
    }

    bool isClean() const { return allFindings_ == 0; }

private:
    bool isSampled(std::uint64_t nth) const { return (nth + offset_) % stride_ == 0; }

    void tell(const std::string& what) {
        std::fprintf(stderr, "finding: %s\n", what.c_str());
        ++findings_;
    }

    /// The first lives make what is made once, and show what a life is.
    void begin() {
        runs_ = findings_ = 0;
        begun_ = std::chrono::system_clock::now();
        for (int i = 0; i < 3; ++i) usual_ = liveOnce(pluginPath, {});
        for (const auto& finding : usual_.findings) tell("without a fault: " + finding);
    }

    void run(const std::string& name, const LifeFaults& faults) {
        ++runs_;
        const pid_t child = fork();
        if (child == 0) {
            alarm(lifeLimitS);
            const bool isClean = liveAndCount(name, faults) == 0;
            std::exit(isClean ? 0 : 1); // the checks that sanitizers make at the end, too
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child) return tell(name + ": no process for it");
        if (WIFSIGNALED(status))
            tell(name + (WTERMSIG(status) == SIGALRM
                             ? ": hangs"
                             : ": dies of signal " + std::to_string(WTERMSIG(status))));
        else if (WEXITSTATUS(status) != 0)
            ++findings_; // which the child has told
    }

    void end(const char* practice, const std::string& extent) {
        const std::chrono::duration<double> taken = std::chrono::system_clock::now() - begun_;
        std::printf("%s: %llu runs, %zu findings, %s, %.1f s\n", practice,
                    static_cast<unsigned long long>(runs_), findings_, extent.c_str(), taken.count());
        std::fflush(stdout);
        allFindings_ += findings_;
    }

    const std::uint64_t stride_, offset_;
    LifeRecord usual_;
    std::uint64_t runs_ = 0;
    std::size_t findings_ = 0, allFindings_ = 0;
    std::chrono::system_clock::time_point begun_;
};

/// Takes every message, so that all of them are built, and keeps them from the console.
int takeMessage(void*, const char*, std::uint32_t, const char*) {
    return 1;
}

int sweep(std::string_view what, std::uint64_t stride, std::uint64_t offset) {
    becomeHostThread();
    const core::PluginLibrary library(pluginPath); // keeps the plug-in, and the shim in it, for all lives
    installBoardShim(pluginPath);
    orvoLogSubscribe(nullptr, 2, takeMessage, nullptr);
    Sweep sweep(stride, offset);
    if (what == "calls") sweep.sweepCalls();
    if (what == "allocations") sweep.sweepAllocations();
    if (what == "lives") sweep.liveLong(stride);
    return sweep.isClean() ? 0 : 1;
}

} // namespace
} // namespace orvo::test

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    const auto number = [&](int at, std::uint64_t usual) {
        return argc > at ? std::strtoull(argv[at], nullptr, 10) : usual;
    };
    const std::uint64_t first = number(2, 1);
    if ((what != "calls" && what != "allocations" && what != "lives") || first == 0) {
        std::fprintf(stderr, "usage: %s calls|allocations [EVERY [OFFSET]], or: %s lives COUNT\n", argv[0],
                     argv[0]);
        return 2;
    }
    return orvo::test::sweep(what, first, number(3, 0));
}
