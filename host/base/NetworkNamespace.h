// SPDX-License-Identifier: MIT
#pragma once

#include "base/FileDescriptor.h"

namespace orvo::host {

/// Keeps a network namespace without a name. The kernel removes it, with its interfaces, when the last owner
/// and the last process in it are gone.
class NetworkNamespace {
public:
    /// A new one, with loopback up and IPv6 off, so that the kernel sends nothing by itself. Moves the
    /// calling thread into it. Errors: Failure when the system allows no namespaces, with advice.
    static NetworkNamespace make();

    /// The calling thread's own. Errors: Failure.
    static NetworkNamespace current();

    int descriptor() const noexcept { return descriptor_.get(); }

    /// Moves the calling thread into it. Errors: Failure.
    void enter() const;

private:
    explicit NetworkNamespace(int descriptor) noexcept : descriptor_(descriptor) {}

    const FileDescriptor descriptor_; // of its file in /proc
};

/// The calling thread is in another namespace while this lives. Errors: Failure.
class NamespaceVisit {
public:
    explicit NamespaceVisit(const NetworkNamespace& place);
    ~NamespaceVisit();

private:
    const NetworkNamespace before_;
};

/// Makes namespaces of these kinds (CLONE_NEW...). Errors: Failure when the system allows none, with advice.
void unshareNamespaces(int kinds);

} // namespace orvo::host
