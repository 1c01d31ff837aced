// SPDX-License-Identifier: MIT
// Ports that `orvo-gige bridge` makes interfaces of, each with a camera at the far end of its cable.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace orvo::bench {

/// Names and addresses of one port's network.
struct BridgedPort {
    unsigned number;
    std::string cable() const { return "near" + std::to_string(number); } ///< leads to the camera
    std::string tap() const { return "gige" + std::to_string(number); }
    std::string camera() const { return network() + "2"; }
    std::string cameraAddress() const { return camera() + "/24"; }
    std::string hostAddress() const { return network() + "1/24"; }

private:
    std::string network() const { return "10.77." + std::to_string(number) + "."; }
};

/// Adds the address, and sets the interface's link up.
void giveAddress(const std::string& interface, const std::string& text);

/// Settings of the cables' ends: as they come, or without checksum and segmentation offload.
enum class Interfaces { Untouched, OffloadOff };

/// The calling thread is in the host's namespace afterwards, from where a cable leads to each port's camera,
/// which answers loads in a namespace of its own. Errors: std::runtime_error.
void makeNetwork(unsigned ports, Interfaces settings);

/// Errors: std::runtime_error when the camera does not answer.
void awaitCamera(const BridgedPort& place);

/// The host program as the bridge of a port; ends with this object.
class BridgeProcess {
public:
    BridgeProcess(const BridgedPort& place, const std::vector<std::string>& options);
    ~BridgeProcess();
    BridgeProcess(const BridgeProcess&) = delete;
    BridgeProcess& operator=(const BridgeProcess&) = delete;
    pid_t id() const { return id_; }

private:
    pid_t id_ = 0;
};

} // namespace orvo::bench
