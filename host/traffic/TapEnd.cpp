// SPDX-License-Identifier: MIT
#include "traffic/TapEnd.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "traffic/BridgeReport.h"

namespace orvo::host {

TapEnd::TapEnd(const BridgeRequest& request)
    : request_(request), device_(request.tap, !request.noOffload), seen_(unsentFrames(request.tap)) {}

TapEnd::~TapEnd() {
    if (addressAdded_) removeAddress(request_.tap, *request_.address);
}

void TapEnd::setUp() {
    const auto& address = request_.address;
    if (address) addressAdded_ = addAddress(request_.tap, *address);
    if (request_.setUp || address) setLinkUp(request_.tap);
}

void TapEnd::setUpAgain() {
    observe();
    try {
        setUp();
    } catch (const Failure& error) {
        notice(error.what());
    }
}

void TapEnd::observe() {
    const auto now = unsentFrames(request_.tap);
    if (now && seen_ && now->index == seen_->index) lost_.add(now->frames - seen_->frames); // modulo 2^32
    seen_ = now;
}

} // namespace orvo::host
