#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Something went wrong with one of the library's own files. The message holds the reason, which
/// names the file, and where it is known what to do; the cause is the exception of the layer below.
class SYC_API FileError : public OV::Exception {
public:
    /// The file, whole path.
    [[nodiscard]] const IO::Location& GetLocation() const noexcept { return location_; }

protected:
    /// `operation` is what was tried, `remedy` what the user can do.
    FileError(OV::StringView operation, const IO::Location& file, const OV::Exception& cause,
              OV::SourcePlace source, OV::UniStringView remedy = {});

private:
    IO::Location location_;
};

/// The file cannot be opened, for reading or for writing. (The spelling is the family's.)
class SYC_API FileOpenningError : public FileError {
public:
    /// `cause` is the exception of the file system.
    FileOpenningError(const IO::Location& file, const OV::Exception& cause,
                      OV::SourcePlace source = OV::SourcePlace::Here());
    OV_EXCEPTION_IDENTITY(FileOpenningError)
};

/// The file was opened, and does not hold the values that it should.
class SYC_API ErrorReadingFile : public FileError {
public:
    /// `cause` says what is wrong with the content, `remedy` what the user can do.
    ErrorReadingFile(const IO::Location& file, const OV::Exception& cause,
                     OV::UniStringView remedy = {},
                     OV::SourcePlace source = OV::SourcePlace::Here());
    OV_EXCEPTION_IDENTITY(ErrorReadingFile)
};

/// The file could be opened for writing, and writing it failed. The former content stands.
class SYC_API ErrorWritingFile : public FileError {
public:
    /// `cause` is the exception of the file system.
    ErrorWritingFile(const IO::Location& file, const OV::Exception& cause,
                     OV::SourcePlace source = OV::SourcePlace::Here());
    OV_EXCEPTION_IDENTITY(ErrorWritingFile)
};

}  // namespace Syncra::Server::ManagementTool::Core
