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

/// One [[fault]] while it is read.
class Entry {
public:
    Entry(const toml::table& entry, const std::filesystem::path& file) : table_(entry, "[[fault]]", file) {}

    FaultSpec read() {
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
    std::string name() const { return spec_.kind->name; }
    std::string noMeaning() const { return "has no meaning for " + name(); }
    [[noreturn]] void refuse(const char* key, const std::string& reason) const {
        table_.refuse(table_.lineOf(key), reason);
    }
    /// Refuses keys that are given but do not fit.
    void needFitting(std::initializer_list<const char*> keys, bool fits, const std::string& why) const {
        for (const char* key : keys)
            if (!fits && table_.has(key)) refuse(key, "'" + std::string(key) + "' " + why + "; leave it out");
    }
    SimTime milliseconds(const char* key, std::uint64_t least, std::uint64_t fallback) {
        return std::chrono::milliseconds(table_.integer(key, least, longestMs, fallback));
    }

    void readKind() {
        const auto kind = table_.text("kind", "");
        spec_.line = table_.lineOf("kind");
        spec_.kind = findFaultKind(kind);
        if (!spec_.kind) {
            std::string known;
            for (const auto& row : faultKindRows) known.append(known.empty() ? "" : ", ").append(row.name);
            refuse("kind",
                   (kind.empty() ? "a [[fault]] needs a kind" : "unknown kind of fault '" + kind + "'") +
                       "; there are " + known);
        }
        spec_.evidence = spec_.kind->evidence;
    }

    void readPlace() {
        spec_.place.board = static_cast<unsigned>(table_.integer("board", 0, maxBoards - 1, 0));
        spec_.place.port = static_cast<unsigned>(table_.integer("port", 0, maxPorts - 1, 0));
        const auto point = spec_.kind->point;
        needFitting({"direction"}, point == FaultPoint::Frame, noMeaning());
        const auto direction = table_.text("direction", point == FaultPoint::Arrival ? "received" : "sent");
        if (direction != "sent" && direction != "received")
            refuse("direction", "'direction' must be \"sent\" (by the port) or \"received\" (at it)");
        spec_.received = direction == "received";
    }

    void readOccurrences() {
        auto& when = spec_.when;
        when.at = table_.integer("at", 1, most, 0);
        when.every = table_.integer("every", 1, most, 1);
        when.from = table_.integer("from", 1, most, 1);
        when.to = table_.integer("to", 1, most, UINT64_MAX);
        if (table_.has("rate"))
            when.rate = static_cast<std::uint64_t>(table_.number("rate", 0, 1, 1) * wholeRate);
        when.times = table_.integer("times", 1, most, UINT64_MAX);
        if (when.to < when.from) refuse("to", "'to' lies before 'from'; exchange them");
        needFitting({"every", "from", "to", "rate", "times"}, when.at == 0, "says when, and so does 'at'");
    }

    void readMoments() {
        auto& when = spec_.when;
        when.fromTime = milliseconds("from_ms", 0, 0);
        if (table_.has("to_ms")) when.toTime = milliseconds("to_ms", 0, 0);
        if (when.toTime < when.fromTime) refuse("to_ms", "'to_ms' lies before 'from_ms'; exchange them");
        const auto point = spec_.kind->point;
        needFitting({"at_ms", "every_ms"}, point == FaultPoint::SentOrTime,
                    noMeaning() + ", which counts " + textOf(point));
        if (!table_.has("at_ms") && !table_.has("every_ms")) return;
        needFitting({"at", "every", "from", "to", "rate"}, false,
                    "counts frames, but 'at_ms' or 'every_ms' give moments");
        when.everyTime = milliseconds("every_ms", 1, 0);
        const char* const key = table_.has("at_ms") ? "at_ms" : "every_ms";
        when.atTime = table_.has("at_ms") ? milliseconds("at_ms", 0, 0) : when.fromTime + when.everyTime;
        if (*when.atTime > when.toTime)
            refuse(key, "'" + std::string(key) +
                            "' lies behind 'to_ms', so nothing would happen; give a later "
                            "'to_ms'");
    }

    void readParameters() {
        const auto takes = [this](unsigned parameter) { return (spec_.kind->parameters & parameter) != 0; };
        needFitting({"for_ms"}, takes(takesDuration), noMeaning());
        needFitting({"result"}, takes(takesResult), noMeaning());
        needFitting({"register"}, takes(takesRegister), noMeaning());
        needFitting({"reports"}, takes(takesReports), noMeaning());
        spec_.duration = milliseconds("for_ms", 1, spec_.kind->usualMs);
        spec_.result = static_cast<int>(table_.signedInteger("result", -1'000'000, -1, spec_.result));
        spec_.registerName = table_.text("register", "");
        spec_.registerLine = table_.lineOf("register");
        if (spec_.registerName.starts_with("GigeTxTransferActive")) spec_.evidence = OrvoSimStillBusy;
        spec_.reports = static_cast<unsigned>(table_.integer("reports", 1, 1'000'000, spec_.reports));
        if (takes(takesRegister) && spec_.registerName.empty())
            refuse("kind", name() + " needs a 'register', such as \"GigeRecvErrCnt0\"");
        constexpr int nothingCame = -2120;
        if (spec_.result == nothingCame)
            refuse("result", "'result' -2120 means an empty queue, and no failure; give another number");
    }

    void readArming() {
        auto& when = spec_.when;
        when.armedBy = table_.text("after_write", "");
        spec_.armingLine = table_.lineOf("after_write");
        if (table_.has("after_write") && when.armedBy.empty())
            refuse("after_write", "'after_write' names no register; give one, such as \"GigE_Reset\"");
        needFitting({"value"}, !when.armedBy.empty(), "goes with 'after_write'");
        when.armingValue = table_.integer("value", 0, most, 0);
        if (!when.armedBy.empty() && !table_.has("value"))
            refuse("after_write", "'after_write' needs the 'value' that is written");
    }

    TomlTable table_;
    FaultSpec spec_;
};

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
