#pragma once

#include "IO/File.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

#include <functional>
#include <optional>

/// The library's XML value files: opened, read and replaced in one way, with one set of errors.
namespace Syncra::Server::ManagementTool::Core {

/// Alerts shown for a value file that cannot be written; both name its path.
enum class FileAlert : int { CacheFileOpening = 31036, CacheFileWriting = 31037 };

/// Hands the file's values to `read` and returns the stamp of what was read. Throws
/// FileOpenningError when the file cannot be read at all, ErrorReadingFile when it is no XML or
/// when `read` meets a value that is missing or of another type; `remedy` is what the user can do
/// then.
IO::ChangeStamp ReadValueFile(const IO::Location& file,
                              const std::function<void(OV::XMLIChannel&)>& read,
                              OV::UniStringView remedy = {});

/// Replaces the file as a whole: nobody ever sees a part of it; nobody but the user sees any of it
/// when `isPrivate`. Throws FileOpenningError when nothing can be opened at that place for writing,
/// ErrorWritingFile when the writing fails later.
IO::ChangeStamp ReplaceValueFile(const IO::Location& file, const OV::XMLOChannel& document,
                                 bool isPrivate = false);

/// One of the two stands.
struct ReplaceOutcome {
    std::optional<IO::ChangeStamp> stamp;
    std::optional<FileAlert> failure;
};
/// The same; a failure is logged, and is for the user as soon as no lock is held.
[[nodiscard]] ReplaceOutcome TryReplaceValueFile(const IO::Location& file,
                                                 const OV::XMLOChannel& document);
/// Never throws. Not with a lock held: while the alert stands open, anything may happen.
void ShowFileAlert(FileAlert alert, const IO::Location& file) noexcept;

}  // namespace Syncra::Server::ManagementTool::Core
