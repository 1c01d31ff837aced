// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace orvo::host {

/// Whether a file is a program or library for another processor. The loader's own message would not say so.
bool isForAnotherProcessor(const std::filesystem::path& library);

/// A library of the installation, opened at run time. It is never unloaded, so addresses from it stay valid.
class DynamicLibrary {
public:
    /// Errors: Failure when the file is missing or cannot be loaded.
    explicit DynamicLibrary(const std::filesystem::path& path);

    /// The function or variable of this name and type; null when the library has none.
    template <class Type> Type* find(const char* name) const {
        return reinterpret_cast<Type*>(address(name));
    }

    /// Takes the type of the function pointer that it is assigned to.
    class Symbol {
    public:
        explicit Symbol(void* address) noexcept : address_(address) {}
        template <class Function> operator Function*() const noexcept {
            return reinterpret_cast<Function*>(address_);
        }

    private:
        void* address_;
    };

    /// The function of this name. Errors: Failure when the library has none.
    Symbol require(const char* name) const;
    template <class Function> Function* require(const char* name) const { return require(name); }

private:
    void* address(const char* name) const;

    std::filesystem::path path_;
    void* handle_;
};

} // namespace orvo::host
