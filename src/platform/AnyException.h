// SPDX-License-Identifier: MIT
// Reads injected values by their type.
#pragma once

#include <boost/any.hpp>

#include <stdexcept>

/// An injected value has the wrong type.
class AnyException : public std::runtime_error {
public:
    explicit AnyException(const char* message) : std::runtime_error(message) {}
};

/// The value of type V that `any` holds; the match is exact, without conversions.
/// Errors: AnyException with the text of the failed cast when it holds something else, or nothing.
template <class V> V anyCast(const boost::any& any) {
    try {
        return boost::any_cast<V>(any);
    } catch (const boost::bad_any_cast& error) {
        throw AnyException(error.what());
    }
}
