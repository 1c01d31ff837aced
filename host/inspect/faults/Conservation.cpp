// SPDX-License-Identifier: MIT
// The account of every frame: host, plug-in and board, port by port.
#include "inspect/faults/Bookkeeping.h"

namespace orvo::host {
namespace {

using Parts = std::vector<Statement::Part>;

/// What the plug-in's frames became at the board.
Parts boardParts(const PortBook& book) {
    return {{"left by the wire", book.did.sentFrames},
            {"without link or transmitter", book.did.unsentFrames},
            {"to a board that did not answer", book.account.refusedFrames}};
}

void addSent(const Books& books, const PortBook& book, std::vector<Statement>& statements) {
    if (!book.host.handed) return;
    const auto place = book.address.text();
    const auto sent = book.statistics ? book.statistics->frames("Send") : std::nullopt;
    statements.push_back({place + " plug-in", {"sent", sent.value_or(0)}, boardParts(book), {}});
    if (!sent) statements.back().missing = "that the plug-in sent";
    const auto dropped = [&](CountedMessage message) { return books.messages.count(book.address, message); };
    auto parts = boardParts(book);
    parts.push_back({"too large", dropped(CountedMessage::TooLarge)});
    parts.push_back({"with an unexpected busy flag", dropped(CountedMessage::UnexpectedValue)});
    parts.push_back({"with the transmitter still busy", dropped(CountedMessage::StillBusy)});
    parts.push_back({"while the device was released", dropped(CountedMessage::Released)});
    parts.push_back({"behind other senders", dropped(CountedMessage::KeptBusy)});
    statements.push_back({place + " sent", {"handed over", *book.host.handed}, std::move(parts), {}});
}

/// Of a wire that leads out of the simulation, where nobody counts arrivals.
void addWayOut(const PortBook& book, std::vector<Statement>& statements) {
    const auto& account = book.account;
    if (account.sentPassed + account.sentLost + account.sentHeld == 0) return; // no fault sees its frames
    statements.push_back(
        {book.address.text() + " wire",
         {"left", book.did.sentFrames},
         {{"on the wire", account.sentPassed}, {"lost", account.sentLost}, {"held back", account.sentHeld}},
         {{"doubled", account.sentAdded}}});
}

void addWire(const Books& books, const PortBook& book, std::vector<Statement>& statements) {
    if (!book.far) return addWayOut(book, statements);
    const PortBook* const far = books.at(*book.far);
    if (!far || (book.did.sentFrames == 0 && far->arrived() == 0)) return;
    statements.push_back({book.address.text() + " wire",
                          {"left", book.did.sentFrames},
                          {{"arrived at " + far->address.text(), far->arrived()},
                           {"lost", book.account.sentLost + far->account.receivedLost},
                           {"held back", book.account.sentHeld + far->account.receivedHeld}},
                          {{"doubled", book.account.sentAdded + far->account.receivedAdded}}});
}

/// What the host took from the queue: as the plug-in counted it, or else as the board did.
Statement takenFrom(const PortBook& book, std::optional<std::uint64_t> received) {
    Statement statement{book.address.text() + " received", {"arrived", book.arrived()}, {}, {}};
    if (!received) {
        statement.parts = {{"taken from the queue", book.account.takenFrames}};
        if (book.host.received) statement.missing = "that the plug-in received";
        return statement;
    }
    statement.parts = {{"delivered", *received}};
    for (const auto& [name, counter] :
         {std::pair{"of size zero", "zerosize transmissions"}, std::pair{"without end flag", "invalid EOTs"},
          std::pair{"of wrong size", "invalid transmission sizes"}}) {
        const auto figure = book.statistics->figure(counter);
        if (!figure) statement.missing = name;
        statement.parts.push_back({name, figure.value_or(0)});
    }
    statement.parts.push_back({"in failed reads", book.account.failedFrames});
    return statement;
}

void addReceived(const PortBook& book, std::vector<Statement>& statements) {
    const auto received = book.statistics ? book.statistics->frames("Recv") : std::nullopt;
    auto statement = takenFrom(book, received);
    statement.parts.push_back({"with receive errors", book.did.receiveErrors});
    statement.parts.push_back({"while the receiver was off or without link", book.did.ignoredFrames});
    statement.parts.push_back({"without room in the queue", book.did.overflowFrames});
    statement.parts.push_back({"cleared from the queue", book.account.clearedFrames});
    statement.parts.push_back({"left in the queue", book.account.leftFrames});
    if (book.arrived() == 0 && !statement.differs()) return; // a port that was not used
    statements.push_back(std::move(statement));
    if (received && book.host.received)
        statements.push_back({book.address.text() + " host",
                              {"delivered", *received},
                              {{"taken by the host", *book.host.received}},
                              {}});
}

} // namespace

std::vector<Statement> statementsOf(const Books& books) {
    std::vector<Statement> statements;
    for (const auto& book : books.ports) {
        addSent(books, book, statements);
        addWire(books, book, statements);
        addReceived(book, statements);
    }
    return statements;
}

} // namespace orvo::host
