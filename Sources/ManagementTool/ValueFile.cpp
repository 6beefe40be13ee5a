#include "ManagementTool/ValueFile.hpp"

#include "IO/FileChannels.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "ManagementTool/FileErrors.hpp"
#include "OVRoot/Resources.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

/// A file is written beside its place and renamed, so the system does not say "open" where a user
/// would: no way to the place, and a folder in that place, count as not opened.
bool IsOpeningFailure(const IO::IOException& error, const IO::Location& file)
{
    switch (error.GetCode()) {
    case IO::ErrorCode::NotFound:
    case IO::ErrorCode::AlreadyExists:
    case IO::ErrorCode::AccessDenied:
    case IO::ErrorCode::HeldByOther:
        return true;
    case IO::ErrorCode::NoSpace:
        return false;
    case IO::ErrorCode::Other:
        break;
    }
    return IO::Folder::Exists(file);
}

void ShowFileAlert(FileAlert alert, const IO::Location& file)
{
    OV::ShowAlert(static_cast<int>(alert), {file.ToPath()});
}

}  // namespace

IO::ChangeStamp ReadValueFile(const IO::Location& file,
                              const std::function<void(OV::XMLIChannel&)>& read)
{
    try {
        IO::XMLInput input = IO::OpenXMLInput(file);
        read(input.channel);
        return input.stamp;
    } catch (const IO::IOException& error) {
        throw FileOpenningError(file, error);
    } catch (const OV::XMLChannelException& error) {
        throw ErrorReadingFile(file, error);
    }
}

IO::ChangeStamp ReplaceValueFile(const IO::Location& file, const OV::XMLOChannel& document,
                                 bool isPrivate)
{
    try {
        return IO::ReplaceWithXML(file, document, isPrivate);
    } catch (const IO::IOException& error) {
        if (IsOpeningFailure(error, file))
            throw FileOpenningError(file, error);
        throw ErrorWritingFile(file, error);
    }
}

std::optional<IO::ChangeStamp> ReplaceValueFileOrAlert(const IO::Location& file,
                                                       const OV::XMLOChannel& document)
{
    try {
        return ReplaceValueFile(file, document);
    } catch (const FileOpenningError&) {
        ShowFileAlert(FileAlert::CacheFileOpening, file);
    } catch (const ErrorWritingFile&) {
        ShowFileAlert(FileAlert::CacheFileWriting, file);
    }
    return std::nullopt;
}

}  // namespace Syncra::Server::ManagementTool::Core
