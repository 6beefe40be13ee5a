#pragma once

#include "Display/NativeImage.hpp"

#include <cairo.h>

#include <memory>

namespace NewDisplay::Detail {

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
};
struct ContextDeleter {
    void operator()(cairo_t* context) const noexcept { cairo_destroy(context); }
};

using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;
using Context = std::unique_ptr<cairo_t, ContextDeleter>;

/// A surface on pixels that the caller keeps.
[[nodiscard]] Surface MakeSurface(std::span<NativeImage::Pixel> pixels, int width, int height);
/// One for reading only: cairo has no type for it.
[[nodiscard]] Surface MakeSurface(const NativeImage& image);

/// Throws ImageException unless all went well.
void RequireSuccess(cairo_status_t status);

}  // namespace NewDisplay::Detail
