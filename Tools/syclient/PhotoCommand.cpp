#include "Command.hpp"
#include "Commands.hpp"

#include "Display/ImageCoding.hpp"
#include "IO/File.hpp"
#include "OVRoot/Exception.hpp"
#include "UserInterface/UserPhoto.hpp"

#include <CLI/CLI.hpp>

#include <charconv>

namespace {

struct PhotoArguments {
    std::string file;
    std::string size;
    bool dimmed = false;
    std::string out;

    void AddOptions(CLI::App& command)
    {
        command.add_option("file", file, "PNG or JPEG; empty for a member without a photo")
            ->required()
            ->option_text("FILE");
        command.add_option("--size", size, "Width and height in pixels")
            ->required()
            ->option_text("WxH");
        command.add_flag("--dimmed", dimmed, "Pale, with a badge in the corner");
        command.add_option("--out", out, "Where to write it: PNG, or JPEG for a .jpg")
            ->required()
            ->option_text("FILE");
    }
};

struct Size {
    int width = 0;
    int height = 0;
};

Size ParseSize(const std::string& text)
{
    Size size;
    const char* const end = text.data() + text.size();
    auto read = std::from_chars(text.data(), end, size.width);
    if (read.ec == std::errc() && read.ptr != end && *read.ptr == 'x')
        read = std::from_chars(read.ptr + 1, end, size.height);
    if (read.ec != std::errc() || read.ptr != end ||
        !NewDisplay::NativeImage::IsPossibleSize(size.width, size.height))
        throw OV::IllegalArgumentException(
            u"\"" + OV::FromUtf8(text) +
            u"\" is no size of a picture in pixels; one looks like 100x120, and has 4096 x 4096 "
            u"pixels at most.");
    return size;
}

NewDisplay::ImageFormat FormatOf(const std::string& name)
{
    const bool isJpeg = name.ends_with(".jpg") || name.ends_with(".jpeg");
    if (!isJpeg && !name.ends_with(".png"))
        throw OV::IllegalArgumentException(
            OV::StringView("A picture is a .png or a .jpg, \"" + name + "\" is neither."));
    return isJpeg ? NewDisplay::ImageFormat::Jpeg : NewDisplay::ImageFormat::Png;
}

void Render(const PhotoArguments& arguments, Context& context)
{
    const auto [width, height] = ParseSize(arguments.size);
    const auto format = FormatOf(arguments.out);
    NewDisplay::NativeImage photo;
    if (!arguments.file.empty())
        photo = NewDisplay::DecodeImage(
            IO::File::ReadInput(IO::Location::FromPath(OV::FromUtf8(arguments.file)),
                                IO::File::MostOfValueFile),
            u"");
    const auto picture = SYC::GetUserPhoto(photo, width, height, true, arguments.dimmed);
    IO::File::Replace(IO::Location::FromPath(OV::FromUtf8(arguments.out)),
                      NewDisplay::EncodeImage(picture, format));
    if (context.output.json)
        context.output.PrintJson({{"out", arguments.out}, {"width", width}, {"height", height}});
    else
        context.output.PrintLine("Wrote \"" + ForDisplay(OV::FromUtf8(arguments.out)) + "\".");
}

}  // namespace

void DeclarePhoto(CLI::App& command, Context& context)
{
    DefineCommand(command, context, &Render);
}
