// SPDX-License-Identifier: MIT
// Network namespaces without names.
#pragma once

namespace orvo::host {

/// Keeps a network namespace, which the kernel removes, with every interface in it, once nobody has it.
class NetworkNamespace {
public:
    /// A new one, with a working loopback interface and IPv6 off, so that nothing is sent in it unasked for.
    /// The calling thread is in it from now on. Errors: Failure, with the way out, where none can be made.
    static NetworkNamespace make();

    /// The one that the calling thread is in. Errors: Failure.
    static NetworkNamespace current();

    ~NetworkNamespace();
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;

    int descriptor() const noexcept { return descriptor_; }

    /// Brings the calling thread into it. Errors: Failure.
    void enter() const;

private:
    explicit NetworkNamespace(int descriptor) noexcept : descriptor_(descriptor) {}

    const int descriptor_;
};

/// The calling thread is in another namespace while this lives. Errors: Failure.
class NamespaceVisit {
public:
    explicit NamespaceVisit(const NetworkNamespace& place);
    ~NamespaceVisit();
    NamespaceVisit(const NamespaceVisit&) = delete;
    NamespaceVisit& operator=(const NamespaceVisit&) = delete;

private:
    const NetworkNamespace before_;
};

/// Makes namespaces of this kind (CLONE_NEW...). Errors: Failure, with the way out, where that cannot be
/// done.
void unshareNamespaces(int kinds);

} // namespace orvo::host
