#pragma once

#include "Display/NativeContext.hpp"
#include "OVRoot/UniString.hpp"
#include "Support/FileBytes.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <random>

using NewDisplay::NativeImage;
using Pixel = NativeImage::Pixel;

inline NativeImage Uniform(int width, int height, Pixel pixel)
{
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return NativeImage::FromPixels(width, height, std::vector<Pixel>(count, pixel));
}

inline OV::String Golden(const OV::String& name)
{
    return ReadBytes(SYCLIENT_TEST_SOURCE_DIR "/Tests/Display/Golden/" + name);
}

/// An opaque picture that no encoder makes smaller.
inline NativeImage Noise(int width, int height)
{
    std::mt19937 random(1);
    std::vector<Pixel> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (auto& pixel : pixels)
        pixel = random() | 0xFF000000;
    return NativeImage::FromPixels(width, height, std::move(pixels));
}

/// Whether no byte of the two differs by more than `tolerance`.
inline bool Near(Pixel left, Pixel right, int tolerance)
{
    for (; left != right; left >>= 8, right >>= 8)
        if (std::abs(int(left & 0xFF) - int(right & 0xFF)) > tolerance)
            return false;
    return true;
}

/// `pixel` over `ground`, both premultiplied.
inline Pixel Over(Pixel pixel, Pixel ground)
{
    Pixel result = 0;
    for (int shift = 24; shift >= 0; shift -= 8)
        result = result << 8 | ((pixel >> shift & 0xFF) +
                                ((ground >> shift & 0xFF) * (0xFF - (pixel >> 24)) + 127) / 255);
    return result;
}
