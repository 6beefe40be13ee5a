#pragma once

#include "Display/ImageException.hpp"
#include "Display/NativeImage.hpp"
#include "OVRoot/LateLibrary.hpp"

#include <cairo.h>

#include <memory>

namespace NewDisplay {

/// Most processes draw nothing, and it brings the libraries of window systems and fonts.
inline constinit const OV::LateLibrary Cairo{
    SYC_CAIRO_LIBRARY, [](OV::StringView message) { throw ImageException(message); }};
SYC_LATE_FUNCTION(Cairo, cairo_create);
SYC_LATE_FUNCTION(Cairo, cairo_destroy);
SYC_LATE_FUNCTION(Cairo, cairo_fill);
SYC_LATE_FUNCTION(Cairo, cairo_get_source);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_create_for_data);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_create_from_png_stream);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_get_data);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_get_format);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_get_height);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_get_stride);
SYC_LATE_FUNCTION(Cairo, cairo_image_surface_get_width);
SYC_LATE_FUNCTION(Cairo, cairo_pattern_set_extend);
SYC_LATE_FUNCTION(Cairo, cairo_pattern_set_filter);
SYC_LATE_FUNCTION(Cairo, cairo_rectangle);
SYC_LATE_FUNCTION(Cairo, cairo_restore);
SYC_LATE_FUNCTION(Cairo, cairo_save);
SYC_LATE_FUNCTION(Cairo, cairo_scale);
SYC_LATE_FUNCTION(Cairo, cairo_set_source_rgba);
SYC_LATE_FUNCTION(Cairo, cairo_set_source_surface);
SYC_LATE_FUNCTION(Cairo, cairo_status);
SYC_LATE_FUNCTION(Cairo, cairo_status_to_string);
SYC_LATE_FUNCTION(Cairo, cairo_surface_destroy);
SYC_LATE_FUNCTION(Cairo, cairo_surface_flush);
SYC_LATE_FUNCTION(Cairo, cairo_surface_status);
SYC_LATE_FUNCTION(Cairo, cairo_surface_write_to_png_stream);
SYC_LATE_FUNCTION(Cairo, cairo_translate);

namespace Detail {

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

}  // namespace Detail

}  // namespace NewDisplay
