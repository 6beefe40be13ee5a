#pragma once

#include "Display/NativeImage.hpp"

#include <memory>

namespace NewDisplay {

/// Parts of 255; the colours are not multiplied by alpha.
struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
};

/// In pixels from the top left corner of the image; the edges may lie inside a pixel.
struct Rectangle {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
};

/// Draws on one image. What was drawn shows in the image, and only in this one of its copies, once
/// the context is released. Everything is drawn over what is there; a pixel that is covered in part
/// is painted in part, and what lies outside the image is left out. For one thread at a time.
///
/// The operations throw OV::NullReferenceException after the release, OV::IllegalArgumentException
/// for a number that is not finite or a scale that is not above 0, and ImageException when drawing
/// fails.
class NativeContext {
public:
    /// The caller keeps `image` in place until the release. Throws OV::NullReferenceException for
    /// the empty image.
    explicit NativeContext(NativeImage& image);
    /// Releases; a failure then leaves the image as it was.
    ~NativeContext();
    NativeContext(const NativeContext&) = delete;
    NativeContext& operator=(const NativeContext&) = delete;

    /// Draws `source`, scaled by `sx` and `sy`, with its top left corner at (x, y). Exactly the
    /// rectangle of the scaled picture is touched, and each pixel is a mean of what it covers.
    void DrawImage(const NativeImage& source, double x, double y, double sx = 1, double sy = 1);
    /// The same, but nothing outside of `area` is touched.
    void DrawImageWithin(const Rectangle& area, const NativeImage& source, double x, double y,
                         double sx = 1, double sy = 1);
    void FillRectangle(const Rectangle& rectangle, const Colour& colour);

    /// Gives the drawing to the image; more calls do nothing.
    void Release();

private:
    struct Canvas;

    [[nodiscard]] Canvas& GetCanvas() const;

    NativeImage& image_;
    std::unique_ptr<Canvas> canvas_;
};

}  // namespace NewDisplay
