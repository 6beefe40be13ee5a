#include "Targets.hpp"

// Compiled once a target, with SYCLIENT_FUZZ_TARGET naming its function.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Fuzz::SYCLIENT_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
    return 0;
}
