#pragma once

#include "Display/ImageException.hpp"
#include "OVRoot/LateLibrary.hpp"

#include <array>
#include <bit>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

namespace NewDisplay::Detail {

/// Most processes show no photo.
inline constinit const OV::LateLibrary Jpeg{
    SYC_JPEG_LIBRARY, [](OV::StringView message) { throw ImageException(message); }};
SYC_LATE_FUNCTION(Jpeg, jpeg_CreateCompress);
SYC_LATE_FUNCTION(Jpeg, jpeg_CreateDecompress);
SYC_LATE_FUNCTION(Jpeg, jpeg_destroy_compress);
SYC_LATE_FUNCTION(Jpeg, jpeg_destroy_decompress);
SYC_LATE_FUNCTION(Jpeg, jpeg_finish_compress);
SYC_LATE_FUNCTION(Jpeg, jpeg_finish_decompress);
SYC_LATE_FUNCTION(Jpeg, jpeg_mem_src);
SYC_LATE_FUNCTION(Jpeg, jpeg_read_header);
SYC_LATE_FUNCTION(Jpeg, jpeg_read_scanlines);
SYC_LATE_FUNCTION(Jpeg, jpeg_set_defaults);
SYC_LATE_FUNCTION(Jpeg, jpeg_set_quality);
SYC_LATE_FUNCTION(Jpeg, jpeg_start_compress);
SYC_LATE_FUNCTION(Jpeg, jpeg_start_decompress);
SYC_LATE_FUNCTION(Jpeg, jpeg_std_error);
SYC_LATE_FUNCTION(Jpeg, jpeg_write_scanlines);

/// The order of bytes in which libjpeg's pixels are those of NativeImage.
inline constexpr J_COLOR_SPACE PixelOrder =
    std::endian::native == std::endian::little ? JCS_EXT_BGRA : JCS_EXT_ARGB;

/// Turns the errors of libjpeg into exceptions and keeps it from writing to the standard error. The
/// library's frames know nothing of exceptions, so they are left by a jump.
class JpegErrors {
public:
    /// `failure` begins the message of every exception and lives as long as this.
    explicit JpegErrors(const char* failure) : failure_(failure)
    {
        jpeg_std_error(&hook_.manager);
        hook_.manager.error_exit = JumpBack;
        hook_.manager.output_message = [](j_common_ptr) {};
    }

    [[nodiscard]] jpeg_error_mgr* Manager() noexcept { return &hook_.manager; }

    /// Runs `calls` of the library; throws ImageException when one of them fails. A failure jumps
    /// out of `calls`, so nothing in there may need its destructor.
    template <class Calls>
    void Guard(const Calls& calls)
    {
        if (setjmp(hook_.back) != 0)
            throw ImageException(failure_ + OV::String(hook_.message.data()) + ".");
        calls();
    }

private:
    struct Hook {
        jpeg_error_mgr manager{};
        std::jmp_buf back{};
        std::array<char, JMSG_LENGTH_MAX> message{};
    };
    static_assert(offsetof(Hook, manager) == 0, "the library hands back the manager");

    [[noreturn]] static void JumpBack(j_common_ptr info)
    {
        auto* const hook = reinterpret_cast<Hook*>(info->err);
        info->err->format_message(info, hook->message.data());
        std::longjmp(hook->back, 1);
    }

    const char* failure_;
    Hook hook_;
};

}  // namespace NewDisplay::Detail
