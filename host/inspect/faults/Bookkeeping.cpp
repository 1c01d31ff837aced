// SPDX-License-Identifier: MIT
// What must have moved.
#include "inspect/faults/Bookkeeping.h"

#include <algorithm>
#include <cstring>

namespace orvo::host {
namespace {

constexpr std::uint32_t seenAbsenceMs =
    1000; // who waits for frames looks every 100 ms; on a busy machine less may go unseen
constexpr std::uint64_t forgottenAfter =
    60; // so many frames that are missing, one is not waited for any more

bool isAt(const OrvoSimFault& fault, PortAddress port) noexcept {
    return PortAddress{fault.board, fault.port} == port;
}

/// Where a fault shows; nothing when that is outside the simulation.
std::optional<PortAddress> placeOf(const Books& books, const OrvoSimFault& fault) {
    const PortAddress own{fault.board, fault.port};
    const bool travels = fault.evidence == OrvoSimReceiveErrors || fault.evidence == OrvoSimArrivals ||
                         fault.evidence == OrvoSimLateFrames;
    return travels && !fault.received ? books.at(own)->far : own;
}

std::uint64_t less(std::uint64_t number, std::uint64_t by) noexcept {
    return number - std::min(number, by);
}

/// Injections with this evidence that show at a port: of faults on the way there, or at the port itself.
std::uint64_t shown(const Books& books, OrvoSimEvidence evidence, PortAddress place, bool received) {
    std::uint64_t sum = 0;
    for (const auto& fault : books.faults)
        if (fault.evidence == evidence && (fault.received != 0) == received && placeOf(books, fault) == place)
            sum += fault.injected;
    return sum;
}

void judgeReceiveErrors(const Books& books, const PortBook& book, Movement& movement) {
    const auto away = shown(books, OrvoSimReceiveErrors, book.address, false);
    const auto here = shown(books, OrvoSimReceiveErrors, book.address, true);
    // No frame is spoiled twice, but one may be lost, doubled or ignored behind the first end of a cable.
    movement.least = less(less(away, away ? book.account.receivedLost : 0) + here, book.did.ignoredFrames);
    movement.most = books.senderTo(book.address) ? away + here + (away ? book.account.receivedAdded : 0)
                                                 : Movement::anyNumber; // others may send bad frames, too
    movement.moved = book.did.receiveErrors;
}

void judgeArrivals(const Books& books, const PortBook& book, Movement& movement) {
    const auto* const sender = books.senderTo(book.address);
    if (!sender) return;
    const auto& sent = sender->account;
    const auto& received = book.account;
    movement.least = movement.most = sender->did.sentFrames - sent.sentLost + sent.sentAdded - sent.sentHeld -
                                     received.receivedLost + received.receivedAdded - received.receivedHeld;
    movement.moved = book.arrived();
}

/// Frames of a run that never came to the host.
std::uint64_t missing(const PortBook* sender, const PortBook& book) noexcept {
    return sender ? less(sender->host.handed.value_or(0), book.host.received.value_or(0)) : 0;
}

/// Late is a frame that comes itself, behind one that comes, too. What the far end of a cable puts out of
/// order, this one can put back.
void judgeLateFrames(const Books& books, const PortBook& book, Movement& movement) {
    const auto away = shown(books, OrvoSimLateFrames, book.address, false);
    const auto here = shown(books, OrvoSimLateFrames, book.address, true);
    std::uint64_t hidden = book.did.overflowFrames + book.did.ignoredFrames + book.account.clearedFrames;
    for (const auto evidence : {OrvoSimZeroSizes, OrvoSimInvalidSizes, OrvoSimInvalidEnds})
        hidden += books.injected(evidence, book.address);
    hidden += book.account.failedFrames + book.did.receiveErrors;
    if (away != 0) hidden += book.account.receivedLost;
    const auto* const sender = books.senderTo(book.address);
    const auto doubledBefore = sender ? sender->account.sentAdded : 0;
    hidden += missing(sender, book) / forgottenAfter;
    if (here != 0) hidden += doubledBefore; // the one that is held back is not the one that is missed
    const std::uint64_t stages = away != 0 && here != 0 ? 2 : 1; // at which one frame can overtake
    movement.least = less(std::max(away, here) - std::min(away, here), hidden * stages);
    // A frame that comes twice may stand for a lost one like it.
    movement.most = away + here + book.account.receivedAdded + doubledBefore;
    movement.moved = book.host.late;
}

void judgeReadErrors(const Books& books, const PortBook& book, Movement& movement) {
    const auto absences = books.injectedOf("board-gone", book.address, true);
    movement.least = books.injectedOf("read-failed", book.address);
    for (const auto& fault : books.faults)
        if (std::strcmp(fault.kind, "board-gone") == 0 && fault.board == book.address.board &&
            fault.forMs >= seenAbsenceMs)
            movement.least += fault.injected;
    movement.most = absences != 0 ? Movement::anyNumber : movement.least;
    if (!book.host.received) {
        movement.moved.reset();
        movement.mustBeSeen = false;
    }
}

void judgeStillBusy(const Books& books, const PortBook& book, Movement& movement) {
    constexpr std::uint64_t patienceMs = 1000; // the plug-in's
    for (const auto& fault : books.faults) {
        if (fault.evidence != OrvoSimStillBusy || !isAt(fault, book.address)) continue;
        movement.least += fault.forMs > patienceMs ? fault.injected : 0;
        // A read that fails leaves the plug-in with the busy flag that it had.
        movement.most +=
            fault.injected * std::max<std::uint64_t>((fault.forMs + patienceMs - 1) / patienceMs, 1);
    }
    if (books.injectedOf("board-gone", book.address, true)) movement.most = Movement::anyNumber;
}

std::optional<std::uint64_t> figure(const PortBook& book, const char* name) {
    return book.statistics ? book.statistics->figure(name) : std::nullopt;
}

void see(const PortBook& book, Movement& movement) {
    movement.moved = figure(book, movement.what.c_str());
    movement.mustBeSeen = book.isUsed;
}

std::vector<std::uint64_t> effects(const Books& books, OrvoSimEvidence evidence, PortAddress port) {
    std::vector<std::uint64_t> all{0};
    for (const auto& fault : books.faults)
        if (fault.evidence == evidence && isAt(fault, port)) all.push_back(fault.effects);
    return all;
}

void judge(const Books& books, const PortBook& book, OrvoSimEvidence evidence, Movement& movement) {
    const auto atLeast = [&](std::uint64_t least, std::uint64_t moved) {
        movement.least = least;
        movement.most = Movement::anyNumber;
        movement.moved = moved;
    };
    const auto messages = [&](CountedMessage message) { return books.messages.count(book.address, message); };
    const auto injected = books.injected(evidence, book.address);
    movement.least = movement.most = injected;
    switch (evidence) {
    case OrvoSimReceiveErrors:
        return judgeReceiveErrors(books, book, movement);
    case OrvoSimArrivals:
        return judgeArrivals(books, book, movement);
    case OrvoSimLateFrames:
        return judgeLateFrames(books, book, movement);
    case OrvoSimOverflows:
        return atLeast(less(injected, book.did.ignoredFrames), book.did.overflowFrames);
    case OrvoSimZeroSizes:
    case OrvoSimInvalidSizes:
    case OrvoSimInvalidEnds:
        return see(book, movement);
    case OrvoSimReadErrors:
        see(book, movement);
        return judgeReadErrors(books, book, movement);
    case OrvoSimStillBusy:
        movement.least = movement.most = 0;
        movement.moved = messages(CountedMessage::StillBusy);
        return judgeStillBusy(books, book, movement);
    case OrvoSimUnexpectedValue:
        movement.moved = messages(CountedMessage::UnexpectedValue);
        return;
    case OrvoSimStillInReset: // that of a board which came back is nobody's to wait for
        movement.least = less(injected, books.injectedOf("board-gone", book.address, true));
        movement.moved = messages(CountedMessage::StillInReset);
        return;
    case OrvoSimLinkDownTime:
        return atLeast(std::ranges::max(effects(books, evidence, book.address)), // of one reset maybe
                       book.account.linkDownMicroseconds);
    case OrvoSimLinkLosses:
        return atLeast(injected, book.account.linkLosses);
    case OrvoSimActionReports:
        movement.least = 0;
        for (const auto reports : effects(books, evidence, book.address)) movement.least += reports;
        movement.least = movement.most = less(movement.least, book.account.leftReports);
        movement.moved = messages(CountedMessage::ActionReport);
        return;
    case OrvoSimNoEvidence:
        break;
    }
}

} // namespace

const PortBook* Books::at(PortAddress port) const noexcept {
    const auto found = std::find_if(ports.begin(), ports.end(),
                                    [port](const PortBook& book) { return book.address == port; });
    return found != ports.end() ? &*found : nullptr;
}

const PortBook* Books::senderTo(PortAddress port) const noexcept {
    const auto found =
        std::find_if(ports.begin(), ports.end(), [port](const PortBook& book) { return book.far == port; });
    return found != ports.end() ? &*found : nullptr;
}

std::uint64_t Books::injected(OrvoSimEvidence evidence, PortAddress port) const noexcept {
    std::uint64_t sum = 0;
    for (const auto& fault : faults)
        if (fault.evidence == evidence && isAt(fault, port)) sum += fault.injected;
    return sum;
}

std::uint64_t Books::injectedOf(const char* kind, PortAddress port, bool anyPort) const noexcept {
    std::uint64_t sum = 0;
    for (const auto& fault : faults)
        if (std::strcmp(fault.kind, kind) == 0 && fault.board == port.board &&
            (anyPort || fault.port == port.port))
            sum += fault.injected;
    return sum;
}

std::vector<Movement> movementsOf(const Books& books) {
    std::vector<Movement> movements;
    for (const auto& fault : books.faults) {
        if (fault.evidence == OrvoSimNoEvidence) continue;
        const auto place = placeOf(books, fault);
        const PortAddress where = place.value_or(PortAddress{fault.board, fault.port});
        const bool isThere = std::any_of(movements.begin(), movements.end(), [&](const Movement& movement) {
            return movement.where == where && movement.what == fault.mustMove;
        });
        if (isThere) continue; // one line for all that move the same
        auto& movement = movements.emplace_back(Movement{.what = fault.mustMove, .where = where});
        if (place) judge(books, *books.at(where), fault.evidence, movement);
    }
    return movements;
}

} // namespace orvo::host
