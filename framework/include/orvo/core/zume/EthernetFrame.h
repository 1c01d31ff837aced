// SPDX-License-Identifier: MIT
// The Ethernet frame as the network stack hands it around.
#pragma once

#include <orvo/Export.h>

#include <QByteArray>

namespace orvo::core::zume {

/// One Ethernet frame (IEEE 802.3 clause 3): destination, source, length or type, payload, and, once
/// appended, the frame check sequence. Preamble and start delimiter are never part of it.
///
/// Handed around as `boost::shared_ptr<EthernetFrame>`. The bytes are shared with the QByteArray given
/// (implicit sharing), not copied. Threads: no lock; one thread at a time while `appendFcs` may be called,
/// any number of readers otherwise.
class ORVO_EXPORT EthernetFrame {
public:
    explicit EthernetFrame(const QByteArray& data); ///< a frame of these bytes, none appended yet
    EthernetFrame(const EthernetFrame&) = default;  ///< shares the bytes until one of the two changes
    EthernetFrame& operator=(const EthernetFrame&) = default; ///< as copying
    virtual ~EthernetFrame();

    /// Bytes of the frame, an appended frame check sequence included.
    virtual int length() const;

    /// The frame's bytes, in the order in which they go on the wire.
    QByteArray data() const;

    bool hasFcsAppended() const; ///< whether `appendFcs` was called

    /// Appends the frame check sequence (IEEE 802.3 clause 3.2.9, CRC-32, least significant byte first),
    /// exclusive-or'ed with `errorMask`: 0 gives a correct one, anything else a frame that a receiver must
    /// refuse. A second call changes nothing.
    void appendFcs(unsigned int errorMask);

private:
    QByteArray data_;
    bool fcsAppended_ = false;
};

} // namespace orvo::core::zume

extern "C" {
/// Initialises the framework's network library; each call is matched by one OrvoZumeDeinit. Any thread; never
/// fails.
ORVO_EXPORT void OrvoZumeInit();
ORVO_EXPORT void OrvoZumeDeinit(); ///< Undoes it.
}
