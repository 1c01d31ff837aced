// SPDX-License-Identifier: MIT
// Reading of configuration files.
#include "config/Configuration.h"

#include "config/TomlTable.h"

#include <algorithm>
#include <charconv>

namespace orvo::sim {

namespace {

constexpr std::uint32_t firstSerial = 0x00A1'0001;
constexpr std::uint64_t longestTimeMs = 0xFFFF'FFFF;
constexpr std::uint64_t smallestQueueWords = 16;
constexpr std::uint64_t largestQueueWords = 16'777'216;

FirmwareVersion readVersion(TomlTable& table, const char* key, const std::string& fallback) {
    const std::string text = table.text(key, fallback);
    const auto* const end = text.data() + text.size();
    FirmwareVersion version;
    const auto major = std::from_chars(text.data(), end, version.major);
    const bool hasDot = major.ec == std::errc{} && major.ptr != end && *major.ptr == '.';
    const auto minor = hasDot ? std::from_chars(major.ptr + 1, end, version.minor) : major;
    if (!hasDot || minor.ec != std::errc{} || minor.ptr != end || version.major > 255 || version.minor > 255)
        table.refuse(table.lineOf(key),
                     "'" + text +
                         "' is not a firmware version; write MAJOR.MINOR, each from 0 to 255, in quotes");
    return version;
}

/// Reads a number into a field, which keeps its value where the table lacks the key.
template <class Number>
void readNumber(TomlTable& table, const char* key, Number& field, std::uint64_t least, std::uint64_t most) {
    field = static_cast<Number>(table.integer(key, least, most, field));
}

bool readLineRate(TomlTable& table) {
    const std::string text = table.text("line_rate", "none");
    if (text != "negotiated" && text != "none")
        table.refuse(table.lineOf("line_rate"),
                     "'" + text + "' is not a line rate; write \"negotiated\" or \"none\"");
    return text == "negotiated";
}

bool isVersion(const std::unique_ptr<FirmwareProfile>& profile, FirmwareVersion version) {
    return profile && profile->version() == version;
}

/// The whole file while it is read.
class Reader {
public:
    explicit Reader(const std::filesystem::path& file) : file_(file) { result_.file = file; }

    Configuration read(const toml::table& root) {
        TomlTable table(root, "the file", file_);
        table.forEachTable("firmware", [this](const toml::table& entry) { readFirmware(entry); });
        table.forEachTable("board", [this](const toml::table& entry) { readBoard(entry); });
        table.refuseOtherKeys();
        if (result_.boards.empty()) result_.boards = defaultConfiguration().boards;
        for (auto& board : result_.boards) findFirmware(board);
        std::sort(result_.boards.begin(), result_.boards.end(),
                  [](const auto& a, const auto& b) { return a.index < b.index; });
        result_.wires = planCables(result_.boards, std::move(wires_), file_);
        return std::move(result_);
    }

private:
    void readFirmware(const toml::table& entry) {
        TomlTable table(entry, "[[firmware]]", file_);
        const auto version = readVersion(table, "version", "");
        for (const auto& profile : profiles_)
            if (isVersion(profile, version))
                table.refuse(table.lineOf("version"),
                             "this firmware version is described twice; remove one of the two");
        auto profile = std::make_unique<FirmwareProfile>(version);
        table.forEachText("without", [&](const std::string& name, unsigned line) {
            if (!profile->remove(name))
                table.refuse(
                    line, "unknown register '" + name +
                              "'; give one such as GigeTxStart (of every port), GigeTxStart2 or GigE_Reset");
        });
        table.refuseOtherKeys();
        profiles_.push_back(std::move(profile));
    }

    unsigned readIndex(TomlTable& table) const {
        const unsigned next = result_.boards.empty() ? 0 : result_.boards.back().index + 1;
        const auto index = static_cast<unsigned>(table.integer("index", 0, maxBoards - 1, next));
        const auto line = table.lineOf("index");
        if (index >= maxBoards) table.refuse(line, "there is no board index after 31; give a free one");
        for (const auto& other : result_.boards)
            if (other.index == index)
                table.refuse(line,
                             "board index " + std::to_string(index) + " is given twice; give a free one");
        return index;
    }

    void readBoard(const toml::table& entry) {
        TomlTable table(entry, "[[board]]", file_);
        BoardConfiguration board;
        board.index = readIndex(table);
        board.serial = firstSerial + board.index;
        readNumber(table, "serial", board.serial, 0, 0xFFFF'FFFF);
        readNumber(table, "type", board.type, 0, 0xFFFF);
        board.name = table.text("name", board.name);
        board.cameraInterface = table.text("camera_interface", board.cameraInterface);
        board.firmware = readVersion(table, "firmware", "1.0");
        readNumber(table, "ports", board.ports, 0, maxPorts);
        board.cold = table.boolean("cold", board.cold);
        readNumber(table, "receive_queue_words", board.receiveQueueWords, smallestQueueWords,
                   largestQueueWords);
        readNumber(table, "action_queue_words", board.actionQueueWords, smallestQueueWords,
                   largestQueueWords);
        board.hasLineRate = readLineRate(table);
        readNumber(table, "phy_reset_ms", board.phyResetMs, 0, longestTimeMs);
        readNumber(table, "negotiation_ms", board.negotiationMs, 0, longestTimeMs);
        readWires(table, board);
        table.refuseOtherKeys();
        result_.boards.push_back(std::move(board));
    }

    void readWires(TomlTable& table, const BoardConfiguration& board) {
        table.forEachKey("wires", [&](std::string_view key, const std::string& text, unsigned line) {
            const bool isPort =
                key.size() == 1 && key[0] >= '0' && key[0] < static_cast<char>('0' + board.ports);
            if (!isPort)
                table.refuse(line, "'wires." + std::string(key) + "' names no port; board " +
                                       std::to_string(board.index) + " has " + std::to_string(board.ports) +
                                       ", counted from 0");
            try {
                const PortPlace place{board.index, static_cast<unsigned>(key[0] - '0')};
                wires_.push_back({place, parseWire(text, file_.parent_path()), line});
            } catch (const WireError& error) {
                table.refuse(line, error.what());
            }
        });
    }

    void findFirmware(BoardConfiguration& board) {
        const auto is = [&board](const auto& profile) { return isVersion(profile, board.firmware); };
        auto& used = result_.firmwares;
        auto found = std::find_if(used.begin(), used.end(), is);
        if (found == used.end()) {
            const auto described = std::find_if(profiles_.begin(), profiles_.end(), is);
            found = used.insert(found, described != profiles_.end()
                                           ? std::move(*described)
                                           : std::make_unique<FirmwareProfile>(board.firmware));
        }
        board.profile = found->get();
    }

    const std::filesystem::path& file_;
    Configuration result_;
    std::vector<std::unique_ptr<FirmwareProfile>> profiles_; // described in the file, not yet used by a board
    std::vector<WireConfiguration> wires_;                   // as asked for
};

} // namespace

Configuration defaultConfiguration() {
    Configuration configuration;
    BoardConfiguration board;
    board.serial = firstSerial;
    board.profile = configuration.firmwares.emplace_back(new FirmwareProfile(board.firmware)).get();
    configuration.boards.push_back(board);
    configuration.wires = planCables(configuration.boards, {}, {});
    return configuration;
}

Configuration parseConfiguration(std::string_view text, const std::filesystem::path& file) {
    const toml::table root = parseToml(text, file);
    return Reader(file).read(root);
}

Configuration loadConfiguration(const std::filesystem::path& file) {
    return parseConfiguration(readTextFile(file), file);
}

} // namespace orvo::sim
