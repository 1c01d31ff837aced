// Subcommand `bridge`: a port as a network interface of Linux.
#pragma once

#include "app/Command.h"
#include "app/Options.h"
#include "network/Interface.h"

#include <optional>
#include <string>

namespace orvo::host {

class Ports;
class TapDevice;
struct BridgeTotals;

struct BridgeOptions {
    std::string tap;
    bool setUp = false;
    std::string addressText;
    std::optional<NetworkAddress> address; ///< of the TAP
    bool json = false;
    PortOptions port;
    InstallationOptions installation;
};

class BridgeCommand : public Command {
public:
    explicit BridgeCommand(CLI::App& program);
    int run() override;

private:
    void configureTap() const;
    BridgeTotals carry(TapDevice& tap, Ports& ports) const;

    BridgeOptions options_;
};

} // namespace orvo::host
