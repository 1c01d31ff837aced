// Files and environment variables that last as long as a test.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace orvo::test {

/// An empty folder that goes with everything in it; no folder on its way has a name that matters.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = testing::TempDir() + "orvo-XXXXXX";
        if (!mkdtemp(name.data())) throw std::runtime_error("cannot make " + name);
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored; // what cannot be removed is left to the system's cleaning
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The path of a file or folder in here, whether or not it exists.
    std::string operator/(const std::string& name) const { return path_ / name; }

    /// Writes a file, and makes the folders on its way.
    std::string write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((path_ / name).parent_path());
        std::ofstream(path_ / name) << text;
        return path_ / name;
    }

private:
    std::filesystem::path path_;
};

/// Sets an environment variable, or unsets it when `value` is null, and puts the old state back at the end.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : name_(name) {
        const char* old = std::getenv(name);
        wasSet_ = old != nullptr;
        if (old) old_ = old;
        set(value);
    }
    ~ScopedVariable() { set(wasSet_ ? old_.c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

    void set(const char* value) {
        if (value)
            setenv(name_.c_str(), value, 1);
        else
            unsetenv(name_.c_str());
    }

private:
    std::string name_;
    std::string old_;
    bool wasSet_;
};

} // namespace orvo::test
