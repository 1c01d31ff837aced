// SPDX-License-Identifier: MIT
// The abstract network port that the network stack drives; a plug-in implements it for one kind of hardware.
#pragma once

#include <orvo/core/Plugin.h>
#include <orvo/core/zume/EthernetFrame.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace orvo::tools::logging {
class Logger;
}

namespace orvo::core::zume {

class PhysicalNetworkInterfaceEventQueue;

/// The two steps of reinitialising a port: release the device, then open it again. The type is fixed because
/// newer frameworks may pass other values.
enum ReinitializationPhase : int { ReleaseDevice = 0, ReopenDevice = 1 };

/// One physical network port.
///
/// The order of the virtual operations continues that of Plugin and is part of the same binary contract.
///
/// Life: factory, injections, `setup`, `start`, traffic, `stop`, `waitForTermination`, destruction. `stop`
/// must come before destruction. `reinitialize`, `forceReset` and `triggerDebugOutput` may come between
/// `setup` and `stop`. Threads: `receive` is called by one thread, `addToSendQueue` by one thread at a time
/// unless an implementation allows more; everything else by the framework's own thread, at any time.
class ORVO_EXPORT PhysicalNetworkInterface : public Plugin {
public:
    PhysicalNetworkInterface();
    ~PhysicalNetworkInterface() override;

    /// The name of this interface in messages: the std::string last injected as "id", empty before.
    const std::string& id() const;

    /// Keeps a std::string injected as "id"; everything else, a wrong type for "id" included, is ignored.
    void injectDependency(const std::string& name, const boost::any& value) override;

    /// The logger of this interface's messages; null when there is no memory for one, and null here.
    virtual tools::logging::Logger* logger(); // slot 8

    /// The next received frame. Waits for one up to a limit of the implementation, then returns null.
    /// `received` may be null; otherwise it is set to whether a frame is returned.
    virtual boost::shared_ptr<EthernetFrame> receive(bool* received) = 0; // slot 9

    /// Sends a frame, or keeps it until `transmitSendQueue`. Failures are logged.
    virtual void addToSendQueue(boost::shared_ptr<EthernetFrame> frame) = 0; // slot 10

    /// Sends the frames that `addToSendQueue` kept.
    virtual void transmitSendQueue() = 0; // slot 11

    /// Opens and prepares the port. False when it cannot be used; the log says why.
    virtual bool setup() = 0; // slot 12

    virtual void start() = 0;              ///< slot 13: begins to report events
    virtual void stop() = 0;               ///< slot 14: ends reporting, and a wait to post an event
    virtual void waitForTermination() = 0; ///< slot 15: returns when no thread of the interface runs

    /// One step of reinitialisation; false when it failed and may be tried again.
    virtual bool reinitialize(ReinitializationPhase phase) = 0; // slot 16

    /// Resets the port's PHY; returns when the sequence is over.
    virtual void forceReset() = 0; // slot 17

    virtual bool startCableDiagnostic(); ///< slot 18: starts a cable test; false without one, as here
    virtual void enablePowerOverEthernet(bool enable);          ///< slot 19: does nothing here
    virtual bool getPoeRegister(int index, unsigned char* out); ///< slot 20: false without it, as here

    /// Whether frames can be sent with a frame check sequence computed on the host.
    virtual bool supportsCustomChecksum() const;    // slot 21: false
    virtual bool isCustomChecksumEnabled() const;   ///< slot 22: whether they are now; false here
    virtual void enableCustomChecksum(bool enable); ///< slot 23: switches it; does nothing here
    virtual bool supportsCrcErrorInjection() const; ///< slot 24: whether wrong ones can be sent; false here
    virtual void enablePhyEvents();                 ///< slot 25: does nothing here

    /// The queue in which the interface reports events, the same one for its whole life; null here.
    virtual boost::shared_ptr<PhysicalNetworkInterfaceEventQueue> eventQueue(); // slot 26

    virtual bool isLinkUp();                     ///< slot 27: true also where it is unknown, as here
    virtual int getConnectionState();            ///< slot 28: a code of the implementation; 0 here
    virtual std::uint64_t getRxerCounter();      ///< slot 29: receive errors that the PHY saw; 0 here
    virtual std::uint64_t getIdleErrorCounter(); ///< slot 30: errors between frames; 0 here
    virtual unsigned int getFaultFlags();        ///< slot 31: bits of the implementation; 0 here
    virtual void triggerDebugOutput();           ///< slot 32: logs a report; does nothing here
    virtual std::string getInfo(const std::string& key) const; ///< slot 33: empty for unknown keys, as here

private:
    std::string id_;
};

} // namespace orvo::core::zume
