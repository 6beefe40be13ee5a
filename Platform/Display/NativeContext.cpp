#include "Display/NativeContext.hpp"

#include "Display/Detail/Cairo.hpp"
#include "Display/ImageException.hpp"

#include <algorithm>
#include <cmath>

namespace NewDisplay {

namespace {

/// cairo takes the mean of at most so many pixels in one direction and skips the others.
constexpr int LargestReduction = 16;

struct Scaled {
    NativeImage image;
    double sx;
    double sy;
};

void RequireFinite(std::initializer_list<double> numbers)
{
    if (!std::all_of(numbers.begin(), numbers.end(), [](double n) { return std::isfinite(n); }))
        throw OV::IllegalArgumentException("A place to draw at is not finite.");
}

void RequireScale(double scale)
{
    if (!(scale > 0) || !std::isfinite(scale))
        throw OV::IllegalArgumentException("An image is scaled by more than 0 only.");
}

int ReducedSide(int side, double scale)
{
    return scale * LargestReduction < 1 ? (side + LargestReduction - 1) / LargestReduction : side;
}

/// The image in steps down to a size from which cairo gets to the wanted one without skipping
/// pixels.
Scaled Reduce(Scaled scaled)
{
    for (;;) {
        const int width = ReducedSide(scaled.image.GetWidth(), scaled.sx);
        const int height = ReducedSide(scaled.image.GetHeight(), scaled.sy);
        const double sx = static_cast<double>(width) / scaled.image.GetWidth();
        const double sy = static_cast<double>(height) / scaled.image.GetHeight();
        if (sx == 1 && sy == 1)
            return scaled;
        NativeImage smaller = NativeImage::Create(width, height);
        NativeContext context(smaller);
        context.DrawImage(scaled.image, 0, 0, sx, sy);
        context.Release();
        scaled = {std::move(smaller), scaled.sx / sx, scaled.sy / sy};
    }
}

void AddPath(cairo_t* context, const Rectangle& rectangle)
{
    cairo_rectangle(context, rectangle.left, rectangle.top, rectangle.right - rectangle.left,
                    rectangle.bottom - rectangle.top);
}

Rectangle Intersection(const Rectangle& a, const Rectangle& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

bool HasArea(const Rectangle& rectangle)
{
    return rectangle.left < rectangle.right && rectangle.top < rectangle.bottom;
}

}  // namespace

namespace Detail {

Surface MakeSurface(std::span<NativeImage::Pixel> pixels, int width, int height)
{
    Surface surface(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(pixels.data()), CAIRO_FORMAT_ARGB32, width, height,
        width * static_cast<int>(sizeof(NativeImage::Pixel))));
    RequireSuccess(cairo_surface_status(surface.get()));
    return surface;
}

Surface MakeSurface(const NativeImage& image)
{
    const auto pixels = image.GetPixels();
    return MakeSurface({const_cast<NativeImage::Pixel*>(pixels.data()), pixels.size()},
                       image.GetWidth(), image.GetHeight());
}

void RequireSuccess(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS)
        throw ImageException(
            "A picture cannot be drawn: " + OV::String(cairo_status_to_string(status)) + ".");
}

}  // namespace Detail

struct NativeContext::Canvas {
    int width;
    int height;
    std::vector<NativeImage::Pixel> pixels;
    Detail::Surface surface;
    Detail::Context context;

    /// Always on a copy of the pixels: whether another thread still reads the shared ones cannot be
    /// told from their count without a race.
    explicit Canvas(const NativeImage& image)
        : width(image.GetWidth()), height(image.GetHeight()),
          pixels(image.GetPixels().begin(), image.GetPixels().end()),
          surface(Detail::MakeSurface(pixels, width, height)), context(cairo_create(surface.get()))
    {
        Detail::RequireSuccess(cairo_status(context.get()));
    }

    [[nodiscard]] Rectangle Whole() const
    {
        return {0, 0, static_cast<double>(width), static_cast<double>(height)};
    }
};

NativeContext::NativeContext(NativeImage& image) : image_(image)
{
    if (image.IsEmpty())
        throw OV::NullReferenceException();
    canvas_ = std::make_unique<Canvas>(image);
}

NativeContext::~NativeContext()
{
    try {
        Release();
    } catch (const std::exception&) {
        // The image keeps what it shows.
    }
}

NativeContext::Canvas& NativeContext::GetCanvas() const
{
    if (!canvas_)
        throw OV::NullReferenceException();
    return *canvas_;
}

void NativeContext::DrawImage(const NativeImage& source, double x, double y, double sx, double sy)
{
    DrawImageWithin(GetCanvas().Whole(), source, x, y, sx, sy);
}

void NativeContext::DrawImageWithin(const Rectangle& area, const NativeImage& source, double x,
                                    double y, double sx, double sy)
{
    const Canvas& canvas = GetCanvas();
    cairo_t* const context = canvas.context.get();
    RequireFinite({area.left, area.top, area.right, area.bottom, x, y});
    RequireScale(sx);
    RequireScale(sy);
    const Rectangle placed{x, y, x + sx * source.GetWidth(), y + sy * source.GetHeight()};
    const Rectangle touched = Intersection(canvas.Whole(), Intersection(area, placed));
    if (source.IsEmpty() || !HasArea(touched))
        return;
    const Scaled scaled = Reduce({source, sx, sy});
    const auto surface = Detail::MakeSurface(scaled.image);
    cairo_save(context);
    AddPath(context, touched);
    cairo_translate(context, x, y);
    cairo_scale(context, scaled.sx, scaled.sy);
    cairo_set_source_surface(context, surface.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_GOOD);
    // The path makes the edge; the filter must not mix the picture with nothing beside it.
    cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
    cairo_fill(context);
    cairo_restore(context);
    Detail::RequireSuccess(cairo_status(context));
}

void NativeContext::FillRectangle(const Rectangle& rectangle, const Colour& colour)
{
    const Canvas& canvas = GetCanvas();
    cairo_t* const context = canvas.context.get();
    RequireFinite({rectangle.left, rectangle.top, rectangle.right, rectangle.bottom});
    const Rectangle touched = Intersection(canvas.Whole(), rectangle);
    if (!HasArea(touched))
        return;
    cairo_set_source_rgba(context, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0,
                          colour.alpha / 255.0);
    AddPath(context, touched);
    cairo_fill(context);
    Detail::RequireSuccess(cairo_status(context));
}

void NativeContext::Release()
{
    if (!canvas_)
        return;
    const auto canvas = std::move(canvas_);
    cairo_surface_flush(canvas->surface.get());
    canvas->context.reset();
    image_ = NativeImage::FromPixels(canvas->width, canvas->height, std::move(canvas->pixels));
}

}  // namespace NewDisplay
