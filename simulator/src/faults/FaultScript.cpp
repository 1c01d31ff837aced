// SPDX-License-Identifier: MIT
// Reading of fault scripts.
#include "faults/FaultScript.h"

#include "config/TomlTable.h"

#include <limits>

namespace orvo::sim {

namespace {

constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t longestMs = 0xFFFF'FFFF;
constexpr double wholeRate = 9007199254740992.0; // 2^53

SimTime milliseconds(std::uint64_t count) noexcept {
    return std::chrono::milliseconds(count);
}

/// One [[fault]] while it is read.
class Entry {
public:
    Entry(const toml::table& entry, const std::filesystem::path& file) : table_(entry, "[[fault]]", file) {}

    FaultSpec read() {
        spec_.line = table_.lineOf("kind");
        readKind();
        readPlace();
        readOccurrences();
        readMoments();
        readParameters();
        readArming();
        table_.refuseOtherKeys();
        return std::move(spec_);
    }

private:
    void readKind();
    void readPlace();
    void readOccurrences();
    void readMoments();
    void readParameters();
    void readArming();
    void needFitting(const char* key, bool fits, const std::string& why) const;
    const char* name() const noexcept { return spec_.kind->name; }

    TomlTable table_;
    FaultSpec spec_;
};

void Entry::readKind() {
    const auto name = table_.text("kind", "");
    spec_.kind = findFaultKind(name);
    if (spec_.kind) {
        spec_.evidence = spec_.kind->evidence;
        return;
    }
    std::string known;
    for (const auto& row : faultKindRows) known.append(known.empty() ? "" : ", ").append(row.name);
    table_.refuse(spec_.line, (name.empty() ? std::string("a [[fault]] needs a kind")
                                            : "unknown kind of fault '" + name + "'") +
                                  "; there are " + known);
}

/// Refuses a key that is there although it means nothing for this kind.
void Entry::needFitting(const char* key, bool fits, const std::string& why) const {
    if (!fits && table_.has(key))
        table_.refuse(table_.lineOf(key), "'" + std::string(key) + "' " + why + "; leave it out");
}

void Entry::readPlace() {
    spec_.place.board = static_cast<unsigned>(table_.integer("board", 0, maxBoards - 1, 0));
    spec_.place.port = static_cast<unsigned>(table_.integer("port", 0, maxPorts - 1, 0));
    const auto point = spec_.kind->point;
    needFitting("direction", point == FaultPoint::Frame, std::string("has no meaning for ") + name());
    const auto direction = table_.text("direction", point == FaultPoint::Arrival ? "received" : "sent");
    if (direction != "sent" && direction != "received")
        table_.refuse(table_.lineOf("direction"),
                      "'direction' must be \"sent\" (by the port) or \"received\" (at it)");
    spec_.received = direction == "received";
}

void Entry::readOccurrences() {
    auto& when = spec_.when;
    when.at = table_.integer("at", 1, most, 0);
    when.every = table_.integer("every", 1, most, 1);
    when.from = table_.integer("from", 1, most, 1);
    when.to = table_.integer("to", 1, most, UINT64_MAX);
    if (table_.has("rate"))
        when.rate = static_cast<std::uint64_t>(table_.number("rate", 0, 1, 1) * wholeRate);
    when.times = table_.integer("times", 1, most, UINT64_MAX);
    if (when.to < when.from) table_.refuse(table_.lineOf("to"), "'to' lies before 'from'");
    for (const char* key : {"every", "from", "to", "rate", "times"})
        needFitting(key, when.at == 0, "says when, and so does 'at'");
}

void Entry::readMoments() {
    auto& when = spec_.when;
    when.fromTime = milliseconds(table_.integer("from_ms", 0, longestMs, 0));
    if (table_.has("to_ms")) when.toTime = milliseconds(table_.integer("to_ms", 0, longestMs, 0));
    if (when.toTime < when.fromTime) table_.refuse(table_.lineOf("to_ms"), "'to_ms' lies before 'from_ms'");
    const bool canBeTimed = spec_.kind->point == FaultPoint::SentOrTime;
    for (const char* key : {"at_ms", "every_ms"})
        needFitting(key, canBeTimed,
                    std::string("has no meaning for ") + name() + ", which counts " +
                        textOf(spec_.kind->point));
    if (!table_.has("at_ms") && !table_.has("every_ms")) return;
    for (const char* key : {"at", "every", "from", "to", "rate"})
        needFitting(key, false, "counts frames, but 'at_ms' or 'every_ms' make it a matter of time");
    when.everyTime = milliseconds(table_.integer("every_ms", 1, longestMs, 0));
    const auto first = table_.integer("at_ms", 0, longestMs, 0);
    const char* const key = table_.has("at_ms") ? "at_ms" : "every_ms";
    when.atTime = table_.has("at_ms") ? milliseconds(first) : when.fromTime + when.everyTime;
    if (*when.atTime > when.toTime)
        table_.refuse(table_.lineOf(key),
                      "'" + std::string(key) + "' lies behind 'to_ms', so nothing would happen");
}

void Entry::readParameters() {
    const auto takes = [this](unsigned parameter) { return (spec_.kind->parameters & parameter) != 0; };
    const auto why = std::string("has no meaning for ") + name();
    needFitting("for_ms", takes(takesDuration), why);
    needFitting("result", takes(takesResult), why);
    needFitting("register", takes(takesRegister), why);
    needFitting("reports", takes(takesReports), why);
    spec_.duration = milliseconds(table_.integer("for_ms", 1, longestMs, spec_.kind->usualMs));
    spec_.result = static_cast<int>(table_.signedInteger("result", -1'000'000, -1, spec_.result));
    spec_.registerName = table_.text("register", "");
    spec_.registerLine = table_.lineOf("register");
    if (spec_.registerName.starts_with("GigeTxTransferActive")) spec_.evidence = OrvoSimStillBusy;
    spec_.reports = static_cast<unsigned>(table_.integer("reports", 1, 1'000'000, spec_.reports));
    if (takes(takesRegister) && spec_.registerName.empty())
        table_.refuse(spec_.line, std::string(name()) + " needs a 'register', such as \"GigeRecvErrCnt0\"");
    constexpr int nothingCame = -2120; // would be no failure but an empty queue
    if (spec_.result == nothingCame)
        table_.refuse(table_.lineOf("result"), "'result' -2120 means an empty queue, and no failure");
}

void Entry::readArming() {
    auto& when = spec_.when;
    when.armedBy = table_.text("after_write", "");
    spec_.armingLine = table_.lineOf("after_write");
    if (table_.has("after_write") && when.armedBy.empty())
        table_.refuse(spec_.armingLine,
                      "'after_write' names no register; it needs one, such as \"GigE_Reset\"");
    needFitting("value", !when.armedBy.empty(), "goes with 'after_write'");
    when.armingValue = table_.integer("value", 0, most, 0);
    if (!when.armedBy.empty() && !table_.has("value"))
        table_.refuse(table_.lineOf("after_write"), "'after_write' needs the 'value' that is written");
}

} // namespace

FaultScript parseFaultScript(std::string_view text, const std::filesystem::path& file) {
    FaultScript script{file, {}};
    const toml::table root = parseToml(text, file);
    TomlTable table(root, "the file", script.file);
    table.forEachTable("fault",
                       [&](const toml::table& entry) { script.faults.push_back(Entry(entry, file).read()); });
    table.refuseOtherKeys();
    return script;
}

FaultScript loadFaultScript(const std::filesystem::path& file) {
    return parseFaultScript(readTextFile(file), file);
}

} // namespace orvo::sim
