// The account of every frame: host, plug-in and board, port by port.
#include "faults/Bookkeeping.h"

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
    if (!book.host.handed || !book.statistics) return;
    const auto sent = book.statistics->frames("Send");
    if (!sent) return;
    const auto place = book.address.text();
    statements.push_back({place + " plug-in", {"sent", *sent}, boardParts(book), {}});
    if (!books.messages.available()) return;
    const auto dropped = [&](CountedMessage message) { return books.messages.count(book.address, message); };
    auto parts = boardParts(book);
    parts.push_back({"too large", dropped(CountedMessage::TooLarge)});
    parts.push_back({"with an unexpected busy flag", dropped(CountedMessage::UnexpectedValue)});
    parts.push_back({"with the transmitter still busy", dropped(CountedMessage::StillBusy)});
    parts.push_back({"while the device was released", dropped(CountedMessage::Released)});
    parts.push_back({"behind other senders", dropped(CountedMessage::KeptBusy)});
    statements.push_back({place + " sent", {"handed over", *book.host.handed}, std::move(parts), {}});
}

void addWire(const Books& books, const PortBook& book, std::vector<Statement>& statements) {
    const PortBook* const far = book.far ? books.at(*book.far) : nullptr;
    if (!far || (book.did.sentFrames == 0 && far->arrived() == 0)) return;
    statements.push_back({book.address.text() + " wire",
                          {"left", book.did.sentFrames},
                          {{"arrived at " + far->address.text(), far->arrived()},
                           {"lost", book.account.sentLost + far->account.receivedLost},
                           {"held back", book.account.sentHeld + far->account.receivedHeld}},
                          {{"doubled", book.account.sentAdded + far->account.receivedAdded}}});
}

/// What the host took from the queue, as the plug-in counted it.
Parts takenParts(const PortBook& book, std::uint64_t received) {
    const auto figure = [&book](const char* name) { return book.statistics->figure(name).value_or(0); };
    return {{"delivered", received},
            {"of size zero", figure("zerosize transmissions")},
            {"without end flag", figure("invalid EOTs")},
            {"of wrong size", figure("invalid transmission sizes")},
            {"in failed reads", book.account.failedFrames}};
}

void addReceived(const PortBook& book, std::vector<Statement>& statements) {
    const auto place = book.address.text();
    std::optional<std::uint64_t> received;
    if (book.statistics) received = book.statistics->frames("Recv");
    auto parts =
        received ? takenParts(book, *received) : Parts{{"taken from the queue", book.account.takenFrames}};
    parts.push_back({"with receive errors", book.did.receiveErrors});
    parts.push_back({"while the receiver was off or without link", book.did.ignoredFrames});
    parts.push_back({"without room in the queue", book.did.overflowFrames});
    parts.push_back({"cleared from the queue", book.account.clearedFrames});
    parts.push_back({"left in the queue", book.account.leftFrames});
    Statement statement{place + " received", {"arrived", book.arrived()}, std::move(parts), {}};
    if (book.arrived() == 0 && !statement.differs()) return; // a port that was not used
    statements.push_back(std::move(statement));
    if (received && book.host.received)
        statements.push_back(
            {place + " host", {"delivered", *received}, {{"taken by the host", *book.host.received}}, {}});
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
