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
                         "' is no firmware version; write MAJOR.MINOR, each from 0 to 255, in quotes");
    return version;
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
        for (const auto& board : result_.boards) needFirmware(board.firmware);
        std::sort(result_.boards.begin(), result_.boards.end(),
                  [](const auto& a, const auto& b) { return a.index < b.index; });
        result_.wires = planCables(result_.boards, std::move(wires_), file_);
        return std::move(result_);
    }

private:
    void readFirmware(const toml::table& entry);
    void readBoard(const toml::table& entry);
    void readWires(TomlTable& table, const BoardConfiguration& board);
    void needFirmware(FirmwareVersion version);

    const std::filesystem::path& file_;
    Configuration result_;
    std::vector<std::unique_ptr<FirmwareProfile>> profiles_; // in the file, until a board needs them
    std::vector<WireConfiguration> wires_;                   // as asked for
};

bool isVersion(const std::unique_ptr<FirmwareProfile>& profile, FirmwareVersion version) {
    return profile && profile->version() == version;
}

void Reader::readFirmware(const toml::table& entry) {
    TomlTable table(entry, "[[firmware]]", file_);
    const auto version = readVersion(table, "version", "");
    for (const auto& profile : profiles_)
        if (isVersion(profile, version))
            table.refuse(table.lineOf("version"), "this firmware version is described twice");
    auto profile = std::make_unique<FirmwareProfile>(version);
    table.forEachText("without", [&](const std::string& name, unsigned line) {
        if (!profile->remove(name)) table.refuse(line, "unknown register '" + name + "'");
    });
    table.refuseOtherKeys();
    profiles_.push_back(std::move(profile));
}

void Reader::readBoard(const toml::table& entry) {
    TomlTable table(entry, "[[board]]", file_);
    const unsigned next = result_.boards.empty() ? 0 : result_.boards.back().index + 1;
    BoardConfiguration board;
    board.index = static_cast<unsigned>(table.integer("index", 0, maxBoards - 1, next));
    if (board.index >= maxBoards) table.refuse(table.lineOf("index"), "there is no board index after 31");
    for (const auto& other : result_.boards)
        if (other.index == board.index)
            table.refuse(table.lineOf("index"),
                         "board index " + std::to_string(board.index) + " is given twice");
    board.serial =
        static_cast<std::uint32_t>(table.integer("serial", 0, 0xFFFF'FFFF, firstSerial + board.index));
    board.type = static_cast<std::uint16_t>(table.integer("type", 0, 0xFFFF, board.type));
    board.name = table.text("name", board.name);
    board.cameraInterface = table.text("camera_interface", board.cameraInterface);
    board.firmware = readVersion(table, "firmware", "1.0");
    board.ports = static_cast<unsigned>(table.integer("ports", 0, maxPorts, board.ports));
    board.cold = table.boolean("cold", board.cold);
    board.receiveQueueWords =
        table.integer("receive_queue_words", smallestQueueWords, largestQueueWords, board.receiveQueueWords);
    board.actionQueueWords =
        table.integer("action_queue_words", smallestQueueWords, largestQueueWords, board.actionQueueWords);
    board.phyResetMs =
        static_cast<std::uint32_t>(table.integer("phy_reset_ms", 0, longestTimeMs, board.phyResetMs));
    board.negotiationMs =
        static_cast<std::uint32_t>(table.integer("negotiation_ms", 0, longestTimeMs, board.negotiationMs));
    readWires(table, board);
    table.refuseOtherKeys();
    result_.boards.push_back(std::move(board));
}

void Reader::readWires(TomlTable& table, const BoardConfiguration& board) {
    table.forEachKey("wires", [&](std::string_view key, const std::string& text, unsigned line) {
        const bool isPort = key.size() == 1 && key[0] >= '0' && key[0] < static_cast<char>('0' + board.ports);
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

void Reader::needFirmware(FirmwareVersion version) {
    const auto is = [version](const auto& profile) { return isVersion(profile, version); };
    auto& used = result_.firmwares;
    if (std::any_of(used.begin(), used.end(), is)) return;
    const auto found = std::find_if(profiles_.begin(), profiles_.end(), is);
    used.push_back(found != profiles_.end() ? std::move(*found) : std::make_unique<FirmwareProfile>(version));
}

} // namespace

Configuration defaultConfiguration() {
    Configuration configuration;
    BoardConfiguration board;
    board.serial = firstSerial;
    configuration.firmwares.push_back(std::make_unique<FirmwareProfile>(board.firmware));
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
