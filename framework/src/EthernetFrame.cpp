// SPDX-License-Identifier: MIT
#include <orvo/core/zume/EthernetFrame.h>

#include <libdeflate.h>

#include <cstddef>

namespace orvo::core::zume {

// By reference, because hosts are built against this signature; the copy only counts a reference.
EthernetFrame::EthernetFrame(const QByteArray& data) : data_(data) {} // NOLINT(modernize-pass-by-value)

EthernetFrame::~EthernetFrame() = default;

int EthernetFrame::length() const {
    return static_cast<int>(data_.size());
}

QByteArray EthernetFrame::data() const {
    return data_;
}

bool EthernetFrame::hasFcsAppended() const {
    return fcsAppended_;
}

void EthernetFrame::appendFcs(unsigned int errorMask) {
    if (fcsAppended_) return;
    auto fcs = libdeflate_crc32(0, data_.constData(), static_cast<std::size_t>(data_.size())) ^ errorMask;
    char bytes[4];
    for (char& byte : bytes) {
        byte = static_cast<char>(fcs & 0xFF);
        fcs >>= 8;
    }
    data_.append(bytes, sizeof bytes); // at once, so that all of them or none find memory
    fcsAppended_ = true;
}

} // namespace orvo::core::zume

// The network library has no state outside its objects, so there is nothing to set up.
void OrvoZumeInit() {}
void OrvoZumeDeinit() {}
