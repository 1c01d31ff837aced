// SPDX-License-Identifier: MIT
// An environment variable set, or unset, for a scope.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace orvo::test {

class EnvironmentVariable {
public:
    /// `value` null unsets the variable.
    EnvironmentVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        set(value);
    }
    ~EnvironmentVariable() { set(old_ ? old_->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

    void set(const char* value) {
        if (value)
            setenv(name_.c_str(), value, 1);
        else
            unsetenv(name_.c_str());
    }

private:
    std::string name_;
    std::optional<std::string> old_;
};

} // namespace orvo::test
