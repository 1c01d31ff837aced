// SPDX-License-Identifier: MIT
#include "LineRates.h"

#include "BridgeNetwork.h"
#include "TcpPeers.h"

#include <orvo/sim/orvo_sim.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <list>
#include <stdexcept>

namespace orvo::bench {
namespace {

// A full frame takes 1,538 bytes of the line, preamble and gap included, and carries 1,448 bytes of TCP with
// time stamps.
constexpr double tcpShare = 1448.0 / 1538;

class Folder {
public:
    Folder() {
        if (!mkdtemp(path_.data())) throw std::runtime_error("cannot make a folder in /tmp");
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string file(const char* name) const { return path_ + "/" + name; }

private:
    std::string path_ = "/tmp/orvo-bench-XXXXXX";
};

std::string wireOf(const BridgedPort& place) {
    return "packet:" + place.cable();
}

void require(int result, const char* what, const char* reason = "") {
    if (result != 0) throw std::runtime_error(std::string(what) + ": " + reason);
}

/// This process holds the boards, for the bridges.
void serveBoards(const Line& line, const Folder& folder) {
    char reason[512] = "";
    setenv("ORVO_BOARD", folder.file("sock").c_str(), 1);
    require(orvoSimServe(folder.file("sock").c_str(), reason, sizeof reason), "serve", reason);
    for (unsigned port = 0; port < line.ports; ++port) {
        require(orvoSimSetWire(0, port, wireOf({port}).c_str(), reason, sizeof reason), "wire", reason);
        require(orvoSimSetPartner(0, port, line.mbit == 100 ? OrvoSimPartner100 : OrvoSimPartner1000),
                "partner");
    }
    require(orvoSimSetLineRate(0, 1), "line rate");
}

void configureOwnBoards(const Folder& folder) {
    std::ofstream(folder.file("boards.toml")) << "[[board]]\nline_rate = \"negotiated\"\n";
    setenv("ORVO_SIMULATOR_CONFIG", folder.file("boards.toml").c_str(), 1);
    setenv("ORVO_BOARD", "own", 1);
}

/// Of the slowest port, while all are busy.
double slowest(unsigned ports, Direction direction, std::chrono::seconds duration) {
    std::vector<std::future<double>> rates;
    for (unsigned port = 0; port < ports; ++port)
        rates.push_back(std::async(std::launch::async, tcpBitsPerSecond, BridgedPort{port}.camera(),
                                   direction, duration));
    double least = 1e12;
    for (auto& rate : rates) least = std::min(least, rate.get());
    return least;
}

} // namespace

const std::map<std::string, Line>& lines() {
    static const std::map<std::string, Line> all = {{"own 1000", {false, 1000, 1}},
                                                    {"shared 1000", {true, 1000, 1}},
                                                    {"shared 100", {true, 100, 1}},
                                                    {"four shared 100", {true, 100, 4}}};
    return all;
}

nlohmann::ordered_json lineRate(const Line& line, std::chrono::seconds duration) {
    const Folder folder;
    line.isShared ? serveBoards(line, folder) : configureOwnBoards(folder);
    std::list<BridgeProcess> bridges;
    for (unsigned port = 0; port < line.ports; ++port)
        bridges.emplace_back(BridgedPort{port}, line.isShared
                                                    ? std::vector<std::string>{}
                                                    : std::vector<std::string>{"--wire", "0=" + wireOf({0})});
    for (unsigned port = 0; port < line.ports; ++port) awaitCamera({port});
    nlohmann::ordered_json result = {{"expected", tcpShare * line.mbit * 1e6}};
    result["toCamera"] = slowest(line.ports, Direction::ToServer, duration);
    result["fromCamera"] = slowest(line.ports, Direction::FromServer, duration);
    bridges.clear();
    if (line.isShared) orvoSimStopServing();
    return result;
}

} // namespace orvo::bench
