#include "OVRoot/LateLibrary.hpp"

#include <dlfcn.h>

namespace OV {

void* LateLibrary::Find(const char* function) const
{
    const auto fail = [this] {
        const char* const reason = dlerror();
        fail_(String("The library \"") + name_ + "\" of this computer cannot be used: " +
              (reason == nullptr ? "it lacks a function" : reason) + ". Install it again.");
    };
    void* library = handle_.load(std::memory_order_acquire);
    if (library == nullptr) {
        // Loaded twice at once it is loaded once: the system counts who holds it.
        library = dlopen(name_, RTLD_LAZY | RTLD_LOCAL);
        if (library == nullptr)
            fail();
        handle_.store(library, std::memory_order_release);
    }
    void* const found = dlsym(library, function);
    if (found == nullptr)
        fail();
    return found;
}

}  // namespace OV
