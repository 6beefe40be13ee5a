#pragma once

#include "OVRoot/Resources.hpp"

namespace SYC {

/// The library's own resources, whatever module of the host it is linked into.
class LibResModule {
public:
    /// The PNG bytes of a picture, by number; they stay for the life of the process. An unknown
    /// number throws OV::IllegalReferenceException.
    [[nodiscard]] OV::StringView GetPicture(int number) const
    {
        return OV::GetPictureResource(number);
    }
};

/// The one there is.
[[nodiscard]] inline const LibResModule& GetLibResModule() noexcept
{
    static constexpr LibResModule module;
    return module;
}

}  // namespace SYC
