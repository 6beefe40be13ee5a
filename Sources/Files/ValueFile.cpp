#include "Files/ValueFile.hpp"

#include "Files/FileErrors.hpp"
#include "IO/FileChannels.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Resources.hpp"

namespace Syncra::Server::ManagementTool::Core {

namespace {

ReplaceOutcome Failed(FileAlert alert, const FileError& error)
{
    OV::Logger::Warning(OV::Logger::Library, u"%", {OV::MessageWithCauses(error)});
    return {std::nullopt, alert};
}

}  // namespace

IO::ChangeStamp ReadValueFile(const IO::Location& file,
                              const std::function<void(OV::XMLIChannel&)>& read,
                              OV::UniStringView remedy)
{
    try {
        IO::XMLInput input = IO::OpenXMLInput(file);
        read(input.channel);
        return input.stamp;
    } catch (const IO::IOException& error) {
        throw FileOpenningError(file, error);
    } catch (const OV::XMLChannelException& error) {
        throw ErrorReadingFile(file, error, remedy);
    }
}

IO::ChangeStamp ReplaceValueFile(const IO::Location& file, const OV::XMLOChannel& document,
                                 bool isPrivate)
{
    try {
        return IO::ReplaceWithXML(file, document, isPrivate);
    } catch (const IO::IOException& error) {
        if (error.GetStep() == IO::Step::Open)
            throw FileOpenningError(file, error);
        throw ErrorWritingFile(file, error);
    }
}

ReplaceOutcome TryReplaceValueFile(const IO::Location& file, const OV::XMLOChannel& document)
{
    try {
        return {ReplaceValueFile(file, document), std::nullopt};
    } catch (const FileOpenningError& error) {
        return Failed(FileAlert::CacheFileOpening, error);
    } catch (const ErrorWritingFile& error) {
        return Failed(FileAlert::CacheFileWriting, error);
    }
}

void ShowFileAlert(FileAlert alert, const IO::Location& file) noexcept
{
    try {
        OV::ShowAlert(static_cast<int>(alert), {file.ToPath()});
    } catch (...) {
        OV::Logger::Error(OV::Logger::Library, u"Alert % could not be shown.",
                          {static_cast<int>(alert)});
    }
}

}  // namespace Syncra::Server::ManagementTool::Core
