#pragma once

#include "OVRoot/UniString.hpp"

#include <atomic>

namespace OV {

/// A shared library of the system that is loaded when the first of its functions is called: a
/// process that needs none of them pays nothing for it, nor for what it depends on. It is never
/// unloaded. Constant from the start of the process, for any thread.
class LateLibrary {
public:
    /// Throws what the callers of the library's functions expect; the message is for the user.
    using Fail = void (*)(StringView message);

    /// `name` is a literal, as the loader of the system takes it ("libcairo.so.2").
    constexpr LateLibrary(const char* name, Fail fail) noexcept : name_(name), fail_(fail) {}
    LateLibrary(const LateLibrary&) = delete;
    LateLibrary& operator=(const LateLibrary&) = delete;

    /// The address of a function of it. Calls Fail when the library or the function is not there.
    [[nodiscard]] void* Find(const char* function) const;

private:
    const char* name_;
    Fail fail_;
    mutable std::atomic<void*> handle_ = nullptr;
};

/// One function of a LateLibrary, called like it: LateFunction<decltype(::cairo_create)>. See
/// SYC_LATE_FUNCTION.
template <class Function>
class LateFunction {
public:
    constexpr LateFunction(const LateLibrary& library, const char* name) noexcept
        : library_(library), name_(name)
    {}
    LateFunction(const LateFunction&) = delete;
    LateFunction& operator=(const LateFunction&) = delete;

    /// Throws what the library's Fail throws, on the first call.
    template <class... Arguments>
    auto operator()(Arguments... arguments) const
    {
        return Load()(arguments...);
    }

private:
    [[nodiscard]] Function* Load() const
    {
        Function* function = function_.load(std::memory_order_acquire);
        if (function == nullptr) {
            function = reinterpret_cast<Function*>(library_.Find(name_));
            function_.store(function, std::memory_order_release);
        }
        return function;
    }

    const LateLibrary& library_;
    const char* name_;
    mutable std::atomic<Function*> function_ = nullptr;
};

/// Declares `name`, a function that the global namespace declares, as one of `library`. Code of
/// the namespace where this stands calls it in place of the other.
#define SYC_LATE_FUNCTION(library, name)                                                           \
    inline constinit const OV::LateFunction<decltype(::name)> name                                 \
    {                                                                                              \
        library, #name                                                                             \
    }

}  // namespace OV
