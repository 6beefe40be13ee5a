#include "ManagementTool/FileErrors.hpp"

#include "OVRoot/Format.hpp"

namespace Syncra::Server::ManagementTool::Core {

FileError::FileError(OV::StringView operation, const IO::Location& file, const OV::Exception& cause,
                     OV::SourcePlace source)
    : OV::Exception(OV::FormatText(u"% the file failed: % (%)",
                                   {operation, file.ToDisplayText(), cause.GetMessage()}),
                    source, std::shared_ptr<const OV::Exception>(cause.Clone())),
      location_(file)
{}

FileOpenningError::FileOpenningError(const IO::Location& file, const OV::Exception& cause,
                                     OV::SourcePlace source)
    : FileError("Opening", file, cause, source)
{}

ErrorReadingFile::ErrorReadingFile(const IO::Location& file, const OV::Exception& cause,
                                   OV::SourcePlace source)
    : FileError("Reading", file, cause, source)
{}

ErrorWritingFile::ErrorWritingFile(const IO::Location& file, const OV::Exception& cause,
                                   OV::SourcePlace source)
    : FileError("Writing", file, cause, source)
{}

}  // namespace Syncra::Server::ManagementTool::Core
