#pragma once

#include <string_view>
#include <vector>

namespace Nexar {

struct SamplePhoto {
    std::string_view login;
    std::string_view type;  ///< media type
    std::string_view data;
};

/// The pictures of Server/SamplePhotos, compiled in.
[[nodiscard]] const std::vector<SamplePhoto>& SamplePhotos();

}  // namespace Nexar
