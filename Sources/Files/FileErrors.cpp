#include "Files/FileErrors.hpp"

#include "OVRoot/Format.hpp"

namespace Syncra::Server::ManagementTool::Core {

FileError::FileError(OV::StringView operation, const IO::Location& file, const OV::Exception& cause,
                     OV::SourcePlace source, OV::UniStringView remedy)
    : OV::Exception(
          OV::FormatText(remedy.empty() ? u"% the file failed: %" : u"% the file failed: % %",
                         {operation, cause.GetMessage(), remedy}),
          source, std::shared_ptr<const OV::Exception>(cause.Clone())),
      location_(file)
{}

FileOpenningError::FileOpenningError(const IO::Location& file, const OV::Exception& cause,
                                     OV::SourcePlace source)
    : FileError("Opening", file, cause, source)
{}

ErrorReadingFile::ErrorReadingFile(const IO::Location& file, const OV::Exception& cause,
                                   OV::UniStringView remedy, OV::SourcePlace source)
    : FileError("Reading", file, cause, source, remedy)
{}

ErrorWritingFile::ErrorWritingFile(const IO::Location& file, const OV::Exception& cause,
                                   OV::SourcePlace source)
    : FileError("Writing", file, cause, source)
{}

}  // namespace Syncra::Server::ManagementTool::Core
