// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/Board.h"
#include "device/BoardAccess.h"
#include "device/Phy.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <atomic>

namespace orvo::host {
namespace {

struct ListedPort {
    Link link = Link::Unknown;
    std::string wire; // empty on a real board
};

struct ListedBoard {
    Board board;
    std::vector<ListedPort> ports;
};

std::vector<ListedPort> listPorts(const BoardAccess& access, const Board& board) {
    auto mdio = MdioMaster::at(access.libraries, board.index());
    std::vector<ListedPort> ports(board.gigePorts());
    for (unsigned number = 0; number < ports.size(); ++number) {
        throwIfEndRequested();
        auto& port = ports[number];
        if (mdio) port.link = readLink(*mdio, number);
        if (access.simulator) port.wire = access.simulator->wire({board.index(), number});
    }
    return ports;
}

std::vector<ListedBoard> listBoards(const BoardAccess& access) {
    std::atomic<unsigned> index{0};
    const Progress progress([&] { return fmt::format("reading the PHYs of board {}", index.load()); });
    std::vector<ListedBoard> boards;
    for (; index < Board::indexLimit; ++index) {
        auto board = Board::at(access.libraries, index);
        if (!board) continue;
        auto ports = listPorts(access, *board);
        boards.push_back({std::move(*board), std::move(ports)});
    }
    return boards;
}

nlohmann::ordered_json boardJson(const ListedBoard& listed) {
    auto ports = nlohmann::ordered_json::array();
    for (const auto& port : listed.ports) {
        nlohmann::ordered_json entry = {{"port", ports.size()}, {"link", linkText(port.link)}};
        if (!port.wire.empty()) entry["wire"] = port.wire;
        ports.push_back(std::move(entry));
    }
    const auto& board = listed.board;
    return {{"board", board.index()}, {"serial", board.serial()},     {"type", board.type()},
            {"name", board.name()},   {"firmware", board.firmware()}, {"ports", std::move(ports)}};
}

void printJson(const BoardAccess& access, const std::vector<ListedBoard>& boards) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& board : boards) list.push_back(boardJson(board));
    nlohmann::ordered_json document = {{"root", access.installation.root().string()},
                                       {"simulated", access.simulator.has_value()}};
    if (!access.server.empty()) document["server"] = access.server;
    document["boards"] = std::move(list);
    print(document);
}

using Rows = std::vector<std::vector<std::string>>;

void addRows(Rows& rows, const ListedBoard& listed) {
    const auto& board = listed.board;
    std::vector<std::string> row = {std::to_string(board.index()), fmt::format("0x{:x}", board.serial()),
                                    fmt::format("0x{:x}", board.type()), board.name(), board.firmware()};
    if (listed.ports.empty()) {
        row.emplace_back("no GigE ports");
        rows.push_back(row);
    }
    for (std::size_t number = 0; number < listed.ports.size(); ++number) {
        const auto& port = listed.ports[number];
        row.insert(row.end(), {std::to_string(number), linkText(port.link), port.wire});
        rows.push_back(row);
        row.assign(row.size() - 3, ""); // only a board's first row names it
    }
}

void printTable(const BoardAccess& access, const std::vector<ListedBoard>& boards) {
    Rows rows = {{"BOARD", "SERIAL", "TYPE", "NAME", "FIRMWARE", "PORT", "LINK"}};
    if (access.simulator) rows.front().emplace_back("WIRE");
    for (const auto& board : boards) addRows(rows, board);
    print(table(rows));
}

class BoardsCommand : public Command {
public:
    explicit BoardsCommand(Program& program)
        : Command(program, "boards", "List the boards and their ports, with the link of each port") {
        addInstallationOptions(line(), boards_);
        addTimeOption(line(), boards_);
        line().flag("--json", json_, "Print JSON instead of a table");
    }

    int run() override {
        const BoardAccess access(boards_, 0);
        const auto boards = listBoards(access);
        if (json_)
            printJson(access, boards);
        else if (!boards.empty())
            printTable(access, boards);
        if (boards.empty()) notice("no boards found");
        return Done;
    }

private:
    BoardOptions boards_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeBoardsCommand(Program& program) {
    return std::make_unique<BoardsCommand>(program);
}

} // namespace orvo::host
