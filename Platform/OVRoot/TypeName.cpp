#include "OVRoot/Detail/TypeName.hpp"

#if __has_include(<cxxabi.h>)
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#endif

namespace OV {

std::string TypeName(const std::type_info& type)
{
#if __has_include(<cxxabi.h>)
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    if (status == 0 && name)
        return name.get();
#endif
    return type.name();
}

}  // namespace OV
