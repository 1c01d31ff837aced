// SPDX-License-Identifier: MIT
#include "frames/streams/StreamAccount.h"

#include <algorithm>
#include <tuple>

namespace orvo::host {
namespace {

/// Of a UDP datagram over IPv4.
struct Datagram {
    StreamEnds forward; // from the sender to the receiver's port
    std::uint16_t sourcePort;
    Bytes payload;
};

/// Of the usual form: no VLAN tag, no options of IP, no fragment. Nearly every packet of a stream has it, and
/// the readers of all forms take twice the time.
std::optional<Datagram> readUsualDatagram(Bytes frame) noexcept {
    constexpr std::size_t ip = 14, udp = ip + 20, payload = udp + 8;
    constexpr std::uint32_t fragmentBits = 0x3FFF;
    if (frame.size() < payload || big16(frame, ip - 2) != EtherTypeIpv4 || frame[ip] != 0x45 ||
        (big16(frame, ip + 6) & fragmentBits) != 0 || frame[ip + 9] != IpUdp)
        return std::nullopt;
    const std::size_t end = std::min(
        {frame.size(), ip + std::size_t{big16(frame, ip + 2)}, udp + std::size_t{big16(frame, udp + 4)}});
    if (end < payload) return std::nullopt;
    return Datagram{{big32(frame, ip + 12), big32(frame, ip + 16), big16(frame, udp + 2)},
                    big16(frame, udp),
                    frame.subspan(payload, end - payload)};
}

std::optional<Datagram> readDatagram(Bytes frame) noexcept {
    if (const auto usual = readUsualDatagram(frame)) return usual;
    const auto ethernet = readEthernet(frame);
    if (!ethernet || ethernet->type != EtherTypeIpv4) return std::nullopt;
    const auto ip = readIp(*ethernet);
    if (!ip || ip->isFragment) return std::nullopt;
    const auto udp = readUdp(*ip);
    if (!udp) return std::nullopt;
    return Datagram{{big32(ip->source, 0), big32(ip->destination, 0), udp->destinationPort},
                    udp->sourcePort,
                    udp->payload};
}

/// Other datagrams may begin like a leader; the kinds of payload are few.
bool isLeaderByItsForm(const GigeStreamPacket& packet) noexcept {
    constexpr std::uint16_t kindMask = 0x3FFF, mostKinds = 0x000B;
    if (packet.form != GigeForm::Leader || packet.isUnavailable()) return false;
    const auto kind = big16(packet.payload, 2) & kindMask;
    return kind != 0 && kind <= mostKinds;
}

} // namespace

bool isToGigeControlPort(Bytes frame) noexcept {
    const auto datagram = readDatagram(frame);
    return datagram && datagram->forward.port == gigeControlPort;
}

StreamAccount::StreamAccount(Take take) : take_(std::move(take)) {
    streams_.reserve(mostStreams);
    controls_.reserve(mostControls);
}

StreamAccount::~StreamAccount() = default;

void StreamAccount::add(Bytes frame, StreamTime time) {
    const auto datagram = readDatagram(frame);
    if (!datagram) return;
    const auto& [forward, sourcePort, payload] = *datagram;
    if (forward.port == gigeControlPort)
        addControl({forward.host, forward.camera, 0}, true, payload, time);
    else if (sourcePort == gigeControlPort)
        addControl({forward.camera, forward.host, 0}, false, payload, time);
    else
        addStream(forward, payload, time);
}

void StreamAccount::addStream(const StreamEnds& ends, Bytes datagram, StreamTime time) {
    auto* entry = latest_ && latest_->ends == ends ? latest_ : find(ends);
    const auto packet = readGigeStream(datagram);
    if (!entry) {
        if (!packet || !isLeaderByItsForm(*packet)) return;
        entry = make(ends, false);
        if (!entry) return;
    }
    latest_ = entry;
    if (packet)
        entry->stream.add(*packet, time);
    else
        entry->stream.addUnreadable();
}

void StreamAccount::addDead(Bytes frame, DeathPlace place, StreamTime time) {
    const bool isDamaged = place == DeathPlace::DamagedFrame;
    const auto datagram = readDatagram(frame);
    const auto packet = datagram ? readGigeStream(datagram->payload) : std::nullopt;
    auto* entry = packet ? find(datagram->forward) : nullptr;
    if (!entry && packet && !isDamaged && isLeaderByItsForm(*packet)) entry = make(datagram->forward, false);
    const bool isPlaced = entry && entry->stream.addDead(*packet, place, time);
    if (isDamaged && !isPlaced) ++damagedOthers_;
}

/// `ends` are camera and client.
void StreamAccount::addControl(const StreamEnds& ends, bool toCamera, Bytes datagram, StreamTime time) {
    const auto control = readGigeControl(datagram);
    if (!control || control->command == GigeCommand::Discovery) return; // a discovery is no conversation
    auto* const channel = controlOf(ends.camera, ends.host);
    if (const auto resend = readGigeResend(*control); resend && toCamera) ask(ends, *resend);
    if (!channel) return;
    if (toCamera && control->isAnswer) return; // to an event
    if (toCamera) {
        if (const auto opening = channel->command(*control, time)) apply(*opening);
    } else if (control->isAnswer) {
        channel->answer(*control);
    } else if (readGigeEvent(*control)) {
        channel->event();
    }
}

ControlChannel* StreamAccount::controlOf(std::uint32_t camera, std::uint32_t client) {
    const auto known = std::ranges::find_if(controls_, [&](const ControlChannel& channel) {
        return channel.figures().camera == camera && channel.figures().client == client;
    });
    if (known != controls_.end()) return &*known;
    if (controls_.size() < mostControls) return &controls_.emplace_back(camera, client);
    ++givenUp_.control;
    return nullptr;
}

void StreamAccount::apply(const ControlChannel::Opening& opening) {
    const auto isThis = [&](const Entry& entry) {
        return entry.ends == opening.ends ||
               (entry.ends.camera == opening.ends.camera && entry.channel == opening.channel);
    };
    for (const auto& entry : streams_)
        if (isThis(*entry)) {
            entry->stream.finish(); // closed, sent elsewhere, or opened again, upon which numbers begin anew
            entry->channel.reset();
        }
    if (opening.ends.port == 0) return;
    auto* entry = find(opening.ends);
    if (!entry) entry = make(opening.ends, true);
    if (!entry) return;
    entry->isAnnounced = true;
    entry->channel = opening.channel;
}

/// Of the stream that the channel is open for; without such commands, of the one that was heard last.
void StreamAccount::ask(const StreamEnds& ends, const GigeResend& request) noexcept {
    Entry* asked = nullptr;
    const auto rank = [](const Entry& entry) {
        return std::pair(entry.channel.has_value(), entry.stream.lastTime());
    };
    for (const auto& entry : streams_)
        if (entry->ends.camera == ends.camera &&
            entry->channel.value_or(request.channel) == request.channel &&
            (!asked || rank(*entry) > rank(*asked)))
            asked = entry.get();
    if (asked) asked->stream.ask(request);
}

void StreamAccount::finish() {
    for (const auto& entry : streams_) entry->stream.finish();
}

StreamsReport StreamAccount::report() const {
    StreamsReport report;
    report.damagedOthers = damagedOthers_;
    for (const auto& entry : streams_) {
        report.streams.push_back(
            {entry->ends, entry->isAnnounced, entry->stream.figures(), entry->stream.damaged()});
        report.damagedOthers += entry->stream.figures().misread;
    }
    for (const auto& channel : controls_) report.control.push_back(channel.figures());
    report.givenUp = givenUp_;
    return report;
}

std::size_t StreamAccount::hashOf(const StreamEnds& ends) noexcept {
    constexpr std::uint64_t odd = 0x9E37'79B9'7F4A'7C15; // spreads neighbours
    const auto mixed = (std::uint64_t{ends.camera} << 32 ^ std::uint64_t{ends.host} << 16 ^ ends.port) * odd;
    return static_cast<std::size_t>(mixed >> 56);
}

StreamAccount::Entry* StreamAccount::find(const StreamEnds& ends) noexcept {
    for (auto slot = hashOf(ends); table_[slot]; slot = (slot + 1) % slots)
        if (table_[slot]->ends == ends) return table_[slot];
    return nullptr;
}

StreamAccount::Entry* StreamAccount::make(const StreamEnds& ends, bool isAnnounced) {
    if (streams_.size() == mostStreams && !makeRoom()) {
        ++givenUp_.packets;
        return nullptr;
    }
    Stream::Take take;
    if (take_) take = [this, ends](const EndedImage& image) { take_(ends, image); };
    auto& entry = *streams_.emplace_back(std::make_unique<Entry>(ends, std::move(take)));
    entry.isAnnounced = isAnnounced;
    index(entry);
    return &entry;
}

/// Gives up the stream that was silent for the longest time, of those without a whole image: a sender of
/// random packets makes many of them.
bool StreamAccount::makeRoom() noexcept {
    const auto rank = [](const std::unique_ptr<Entry>& entry) {
        return std::tuple(entry->stream.figures().whole() != 0, entry->isAnnounced, entry->stream.lastTime());
    };
    const auto oldest = std::ranges::min_element(streams_, {}, rank);
    if (std::get<0>(rank(*oldest))) return false;
    ++givenUp_.streams;
    if (latest_ == oldest->get()) latest_ = nullptr;
    streams_.erase(oldest);
    table_.fill(nullptr);
    for (const auto& entry : streams_) index(*entry);
    return true;
}

void StreamAccount::index(Entry& entry) noexcept {
    auto slot = hashOf(entry.ends);
    while (table_[slot]) slot = (slot + 1) % slots;
    table_[slot] = &entry;
}

} // namespace orvo::host
