// SPDX-License-Identifier: MIT
// Requests and the entries that answer them.
#include "share/Session.h"

#include "board/DeviceHandles.h"
#include "entries/OwnEntries.h"
#include "share/Marshalling.h"
#include "share/Protocol.h"

namespace orvo::sim {

namespace {

template <class Result, class... Parameters>
bool serve(Session& session, MessageReader& in, MessageWriter& out, Result (*entry)(Parameters...)) {
    const auto call = [&](Parameters... arguments) {
        const Result result = entry(arguments...);
        if constexpr (std::is_same_v<Result, void*>) session.noteOpened(result);
        return result;
    };
    return EntryServer(in, out).serve(call, ParameterList<Parameters...>{});
}

template <class Result, class... Parameters>
bool serve(Session& session, MessageReader& in, MessageWriter& out, Result (*entry)(void*, Parameters...)) {
    void* const handle = session.checked(in.take<void*>());
    const auto call = [&](Parameters... arguments) { return entry(handle, arguments...); };
    const bool served = EntryServer(in, out).serve(call, ParameterList<Parameters...>{});
    session.noteUsed(handle);
    return served;
}

using Answer = bool (*)(Session&, MessageReader&, MessageWriter&);

constexpr Answer answers[] = {
#define ENTRY(Result, name, gone, parameters, arguments)                                                     \
    [](Session& session, MessageReader& in, MessageWriter& out) {                                            \
        return serve(session, in, out, &own::name);                                                          \
    },
#define HOT_ENTRY ENTRY
#define INNER_ENTRY ENTRY
#include "entries/Entries.def"
#undef INNER_ENTRY
#undef HOT_ENTRY
#undef ENTRY
};

} // namespace

Session::~Session() {
    for (void* const handle : handles_) own::OHalFreeDevice(handle);
}

bool Session::answer(MessageBytes request, MessageWriter& reply) {
    MessageReader in(request);
    const auto entry = in.take<std::uint32_t>();
    reply.put(in.take<std::uint32_t>());
    return entry < std::size(answers) && answers[entry](*this, in, reply);
}

void* Session::checked(void* handle) const noexcept {
    return !openBoardOf(handle) || handles_.contains(handle) ? handle : nullptr;
}

void Session::noteOpened(void* handle) {
    if (handle) handles_.insert(handle);
}

void Session::noteUsed(void* handle) noexcept {
    if (!openBoardOf(handle)) handles_.erase(handle);
}

} // namespace orvo::sim
