// SPDX-License-Identifier: MIT
#include "Dispatcher.h"

#include <algorithm>
#include <new>
#include <string_view>

namespace orvo::dispatcher {

using tools::logging::DispatcherDetached;
using tools::logging::Logging;
using tools::logging::SetLoggerLevel;

Dispatcher::Dispatcher(Settings settings)
    : settings_(std::move(settings)), outputs_(settings_.logFile),
      audience_(std::make_shared<const Subscriptions>()) {
    addEntry("root");
}

void Dispatcher::attach(Logging* facility, DispatcherDetached detached, SetLoggerLevel setLevel) {
    const std::lock_guard lock(facilitiesLock_);
    facilities_.insert_or_assign(facility, Facility{detached, setLevel});
}

void Dispatcher::detach(Logging* facility) {
    const std::lock_guard lock(facilitiesLock_);
    facilities_.erase(facility);
}

void Dispatcher::detachAll() {
    const std::lock_guard lock(facilitiesLock_);
    const auto facilities = std::exchange(facilities_, {}); // a callback may call detach
    for (const auto& [facility, entries] : facilities)
        if (entries.detached) entries.detached();
}

Dispatcher::Logger Dispatcher::lookup(const char* name) {
    const std::string_view known = name ? name : "";
    const std::lock_guard lock(stateLock_);
    auto place = handles_.find(known);
    if (place == handles_.end()) {
        decltype(handles_) added; // a node made before the entry, because moving it in cannot fail
        place = added.emplace(known, entries_.size()).first;
        addEntry(place->first);
        handles_.merge(added);
    }
    return {place->second, entries_[place->second].threshold};
}

void Dispatcher::addEntry(const std::string& name) {
    Entry entry{name, settings_.thresholds.of(name), 0, outputs_.linesOf(name)};
    entry.threshold = wantedThreshold(entry);
    entries_.push_back(std::move(entry));
}

std::uint32_t Dispatcher::wantedThreshold(const Entry& entry) const {
    auto lowest = entry.outputThreshold;
    for (const auto& [id, subscription] : *audience_)
        if (!subscription->hasEnded() && subscription->covers(entry.name))
            lowest = std::min(lowest, subscription->level());
    return lowest;
}

void Dispatcher::emit(std::uint64_t handle, std::uint32_t level, const char* message) {
    if (!message) return;
    const auto [entry, subscriptions] = audience(handle);
    bool kept = false;
    for (const auto& [id, subscription] : *subscriptions)
        kept = subscription->deliver(entry->name, level, message) || kept;
    if (level >= entry->outputThreshold) entry->lines->write(level, message, !kept);
}

// Messages read only fields of the entry that never change, and a deque does not move its elements.
std::pair<const Dispatcher::Entry*, std::shared_ptr<const Dispatcher::Subscriptions>>
Dispatcher::audience(std::uint64_t handle) {
    const std::lock_guard lock(stateLock_);
    return {&entries_[handle < entries_.size() ? handle : 0], audience_};
}

std::uint64_t Dispatcher::subscribe(const char* loggerName, std::uint32_t level, OrvoLogCallback callback,
                                    void* context) {
    if (!callback) return 0;
    const auto subscription = std::make_shared<Subscription>(loggerName, level, callback, context);
    const std::lock_guard lock(facilitiesLock_);
    std::unique_lock stateLock(stateLock_);
    auto subscriptions = openSubscriptions();
    const auto id = lastSubscription_ + 1;
    subscriptions->emplace(id, subscription);
    audience_ = std::move(subscriptions); // from here on nothing can fail
    lastSubscription_ = id;
    stateLock.unlock();
    updateThresholds();
    return id;
}

bool Dispatcher::unsubscribe(std::uint64_t id) {
    std::shared_ptr<Subscription> ended;
    {
        const std::lock_guard lock(facilitiesLock_);
        std::unique_lock stateLock(stateLock_);
        const auto found = audience_->find(id);
        if (found == audience_->end() || !found->second->end()) return false;
        ended = found->second;
        forgetEnded();
        stateLock.unlock();
        updateThresholds();
    }
    ended->awaitCallback(); // without the locks: the callback may itself subscribe or unsubscribe
    return true;
}

std::shared_ptr<Dispatcher::Subscriptions> Dispatcher::openSubscriptions() const {
    auto open = std::make_shared<Subscriptions>(*audience_);
    std::erase_if(*open, [](const auto& each) { return each.second->hasEnded(); });
    return open;
}

void Dispatcher::forgetEnded() noexcept {
    try {
        audience_ = openSubscriptions();
    } catch (const std::bad_alloc&) {
        // The next change removes them. Until then they get no messages, because they have ended.
    }
}

/// The first logger, from `handle` on, whose threshold the readers have changed; takes the new one over.
std::optional<std::uint64_t> Dispatcher::nextChange(std::uint64_t handle) {
    const std::lock_guard lock(stateLock_);
    for (; handle < entries_.size(); ++handle) {
        auto& entry = entries_[handle];
        const auto wanted = wantedThreshold(entry);
        if (std::exchange(entry.threshold, wanted) != wanted) return handle;
    }
    return std::nullopt;
}

std::uint32_t Dispatcher::thresholdOf(std::uint64_t handle) {
    const std::lock_guard lock(stateLock_);
    return entries_[handle].threshold;
}

/// Tells the facilities the changed thresholds; `facilitiesLock_` is held. It keeps neither iterator nor
/// threshold across a callback, which may attach, detach, look up, and subscribe.
void Dispatcher::updateThresholds() {
    for (auto handle = nextChange(0); handle; handle = nextChange(*handle + 1))
        for (auto each = facilities_.begin(); each != facilities_.end();) {
            const auto [facility, entries] = *each;
            if (entries.setLevel) entries.setLevel(*handle, thresholdOf(*handle));
            each = facilities_.upper_bound(facility);
        }
}

} // namespace orvo::dispatcher
