// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/CameraRun.h"

#include <nlohmann/json.hpp>
#include <sys/socket.h>

namespace orvo::host {
namespace {

constexpr auto linkLocal = "169.254.77.77/16";

class CamerasCommand : public Command {
public:
    explicit CamerasCommand(Program& program)
        : Command(program, "cameras", "List the GigE Vision cameras behind a port") {
        request_.address = *NetworkAddress::parse(linkLocal);
        line().value(
            "--address", "A/N", [this](const std::string& text) { request_.address = addressFrom(text); },
            "Ask from this address, which nobody else behind the port may have (default 169.254.77.77/16)");
        line().value(
            "-d,--duration", "S",
            [this](const std::string& text) { request_.time = secondsFrom(text, 0.1, 3600); },
            "Wait so many seconds for answers (default 2)");
        addAddressOptions(line(), request_.port.address);
        line().flag("--no-reset", request_.port.noReset,
                    "Do not reset the board's GigE hardware first (it must be running)");
        addInstallationOptions(line(), request_.boards);
        line().flag("--json", json_, "Print JSON instead of a table");
    }

    int run() override {
        const auto cameras = findCameras(request_);
        const auto port = request_.port.address.text();
        if (json_) {
            print(nlohmann::ordered_json{
                {"port", port}, {"askedFrom", request_.address.text}, {"cameras", camerasJson(cameras)}});
            return Done;
        }
        if (!cameras.empty())
            print(camerasText(cameras, request_.address, port));
        else
            notice("no camera behind port " + port + " answered " + request_.address.text +
                   "; some answer only in their own network: name an address in it with --address");
        return Done;
    }

private:
    static NetworkAddress addressFrom(const std::string& text) {
        const auto address = parsed(NetworkAddress::parse(text), text,
                                    "ADDRESS/PREFIX with an IPv4 address, such as 192.168.7.2/24");
        if (address.family != AF_INET || !address.isOfHost())
            throw WrongValue(quoted(text) +
                             " is not an IPv4 address for a host; give one such as 192.168.7.2/24");
        return address;
    }

    CameraRequest request_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeCamerasCommand(Program& program) {
    return std::make_unique<CamerasCommand>(program);
}

} // namespace orvo::host
