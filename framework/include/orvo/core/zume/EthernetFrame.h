// SPDX-License-Identifier: MIT
// The Ethernet frame as the network stack passes it on.
#pragma once

#include <orvo/Export.h>

#include <QByteArray>

namespace orvo::core::zume {

/// One Ethernet frame (IEEE 802.3 clause 3): destination, source, length or type, payload, and, once
/// appended, the frame check sequence. Preamble and start delimiter are never part of it.
///
/// Passed on as `boost::shared_ptr<EthernetFrame>`. The bytes are shared with the given QByteArray (implicit
/// sharing), not copied. Threads: no lock; any number of readers, or one thread that calls `appendFcs`.
class ORVO_EXPORT EthernetFrame {
public:
    explicit EthernetFrame(const QByteArray& data); ///< a frame of these bytes, without check sequence
    EthernetFrame(const EthernetFrame&) = default;  ///< shares the bytes until one of the two changes
    EthernetFrame& operator=(const EthernetFrame&) = default; ///< as copying
    virtual ~EthernetFrame();

    /// Number of bytes, including an appended frame check sequence.
    virtual int length() const;

    /// The frame's bytes, in wire order.
    QByteArray data() const;

    bool hasFcsAppended() const; ///< whether `appendFcs` was called

    /// Appends the frame check sequence (IEEE 802.3 clause 3.2.9, CRC-32, least significant byte first),
    /// exclusive-or'ed with `errorMask`: 0 makes it correct; with any other value a receiver must drop the
    /// frame. A second call changes nothing.
    void appendFcs(unsigned int errorMask);

private:
    QByteArray data_;
    bool fcsAppended_ = false;
};

} // namespace orvo::core::zume

extern "C" {
/// Initialises the framework's network library; call OrvoZumeDeinit once for each call. Any thread; never
/// fails.
ORVO_EXPORT void OrvoZumeInit();
ORVO_EXPORT void OrvoZumeDeinit(); ///< Undoes one call of OrvoZumeInit. Any thread; never fails.
}
