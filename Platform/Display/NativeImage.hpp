#pragma once

#include "OVRoot/Export.hpp"
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// Pictures in memory, drawing on them, and their files.
namespace NewDisplay {

/// A picture as a value. Copies share their pixels, which never change: a NativeContext draws on
/// pixels of its own and gives them to one image. So copies may be read on several threads at once,
/// and nobody sees a drawing half done.
class SYC_API NativeImage {
public:
    /// Alpha, red, green and blue from the highest byte to the lowest, in the machine's byte order;
    /// the colours are multiplied by alpha.
    using Pixel = std::uint32_t;

    /// What fits in 64 MiB. Nothing here makes or decodes a larger picture.
    static constexpr std::int64_t MaxPixels = 4096 * 4096;
    /// In pixels; the longest side that can be drawn.
    static constexpr int MaxSide = 32767;

    /// The empty image.
    NativeImage() noexcept = default;

    /// A transparent image. Throws OV::IllegalArgumentException unless IsPossibleSize.
    [[nodiscard]] static NativeImage Create(int width, int height);
    /// An image of `pixels`, row by row from the top. Throws like Create, and when there are not
    /// exactly as many as the size needs.
    [[nodiscard]] static NativeImage FromPixels(int width, int height, std::vector<Pixel> pixels);
    /// Whether both sides are from 1 to MaxSide and the whole is at most MaxPixels.
    [[nodiscard]] static bool IsPossibleSize(std::int64_t width, std::int64_t height) noexcept;

    /// Whether it has no pixels at all.
    [[nodiscard]] bool IsEmpty() const noexcept { return !content_; }
    /// In pixels; 0 for the empty image.
    [[nodiscard]] int GetWidth() const noexcept { return content_ ? content_->width : 0; }
    /// In pixels; 0 for the empty image.
    [[nodiscard]] int GetHeight() const noexcept { return content_ ? content_->height : 0; }
    /// Throws OV::IllegalArgumentException outside the image.
    [[nodiscard]] Pixel GetPixel(int x, int y) const;
    /// All pixels, row by row from the top; valid while this image or a copy has them.
    [[nodiscard]] std::span<const Pixel> GetPixels() const noexcept;

    /// The same size and the same pixels.
    [[nodiscard]] bool operator==(const NativeImage& other) const noexcept;

private:
    struct Content {
        int width;
        int height;
        std::vector<Pixel> pixels;
    };

    std::shared_ptr<const Content> content_;
};

}  // namespace NewDisplay
