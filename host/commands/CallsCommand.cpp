// SPDX-License-Identifier: MIT
#include "base/Numbers.h"
#include "base/Output.h"
#include "base/OutputFile.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "inspect/calls/CallDiff.h"
#include "inspect/calls/CallFrames.h"
#include "inspect/calls/CallView.h"

#include <algorithm>

namespace orvo::host {
namespace {

constexpr double mostSeconds = 1e9;

class CallsCommand : public Command {
public:
    explicit CallsCommand(Program& program)
        : Command(program, "calls", "Show the board calls of a recording, a line for each") {
        line().text("FILE", "", file_, "Recording that --record has written").required();
        line().text("--entry", "NAME", filter_.entry, "Only calls of entries with this in their name");
        line().text("--register", "NAME", filter_.registerName,
                    "Only accesses of registers with this in their name");
        line().number(
            "--thread", [this](std::uint64_t number) { filter_.thread = static_cast<unsigned>(number); },
            {.most = 99'999}, "Only calls of thread number N");
        line().value(
            "--from", "S",
            [this](const std::string& text) { filter_.from = secondsFrom(text, 0, mostSeconds).count(); },
            "Only calls from so many seconds on");
        line().value(
            "--to", "S",
            [this](const std::string& text) { filter_.to = secondsFrom(text, 0, mostSeconds).count(); },
            "Only calls up to so many seconds");
        line()
            .text("--diff", "OTHER", other_,
                  "Compare with this recording instead: where each thread differs first")
            .notEmpty();
        line()
            .text("--pcapng", "OUT", capture_, "Write the frames in the recording to this file instead")
            .notEmpty();
        line().flag("--json", json_, "Print a JSON document a line for each call");
    }

    int run() override {
        refuseUnfitting();
        if (!other_.empty()) return compare();
        return capture_.empty() ? list() : writeFrames();
    }

private:
    void refuseUnfitting() const {
        if (filter_.from > filter_.to) throw UsageFailure("--from is later than --to; exchange them");
        if (json_ && !capture_.empty()) throw UsageFailure("--pcapng prints no calls; leave --json out");
        if (other_.empty()) return;
        if (!capture_.empty()) throw UsageFailure("--diff writes no frames; leave --pcapng out");
        if (!filter_.passesAll())
            throw UsageFailure(
                "--diff compares whole recordings; leave --entry, --register, --thread, --from "
                "and --to out");
    }

    int compare() const {
        const WholeRecording first(file_), second(other_);
        bool areComplete = true;
        for (const auto* const recording : {&first, &second}) {
            areComplete = areComplete && recording->fault.empty() && recording->lost == 0;
            if (!recording->fault.empty()) notice(recording->fault + "; these are used");
            if (recording->lost != 0)
                notice("the recording " + quoted(recording == &first ? file_ : other_) + " lacks " +
                       counted(recording->lost, "call") + ", so differences may be only apparent");
        }
        const auto differences = differencesOf(first, second);
        json_ ? printReport(differencesJson(differences, first.registers))
              : printReport(differencesText(differences, first.registers));
        return differences.empty() && areComplete ? Done : DifferencesFound;
    }

    int list() const {
        RecordingReader reader(file_);
        bool isEmpty = true;
        std::uint64_t lost = 0;
        while (auto block = reader.next()) {
            std::ranges::stable_sort(block->calls, {}, &RecordedCall::begin);
            std::string text;
            for (const auto& call : block->calls)
                if (filter_.passes(call, reader.registers()))
                    text +=
                        json_ ? callJsonLine(call, reader.registers()) : callLine(call, reader.registers());
            if (block->lost != 0) notice(counted(block->lost, "call") + " could not be kept about here");
            lost += block->lost;
            isEmpty = isEmpty && text.empty();
            print(text);
        }
        if (isEmpty && !filter_.passesAll()) notice("no call of the recording fits the filters");
        return endOf(reader, lost);
    }

    int writeFrames() const {
        RecordingReader reader(file_);
        if (isSameFile(file_, capture_))
            throw UsageFailure("--pcapng names the recording itself; name another file");
        CallFrames frames(capture_, reader.begin());
        std::uint64_t lost = 0;
        while (const auto block = reader.next()) {
            lost += block->lost;
            for (const auto& call : block->calls)
                if (filter_.passes(call, reader.registers())) frames.add(call, reader.registers());
        }
        printReport(counted(frames.close(), "frame") + " written to " + capture_ + "\n");
        if (lost != 0)
            notice("the recording " + quoted(file_) + " lacks " + counted(lost, "call") +
                   ", so frames may be missing");
        return endOf(reader, lost);
    }

    /// What there is has been used.
    static int endOf(const RecordingReader& reader, std::uint64_t lost) {
        if (!reader.fault().empty()) notice(reader.fault() + "; these were used");
        return reader.fault().empty() && lost == 0 ? Done : DifferencesFound;
    }

    std::string file_;
    CallFilter filter_;
    std::string other_, capture_; // empty: not wanted
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeCallsCommand(Program& program) {
    return std::make_unique<CallsCommand>(program);
}

} // namespace orvo::host
