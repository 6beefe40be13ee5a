#pragma once

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "IO/File.hpp"

#include <exception>

/// The project files of a log cache.
namespace SYC::Detail::LogCacheLines {

using Lines = OV::PagedArray<LogDataLine>;

/// A file as it was when it was read or written last.
struct KnownFile {
    IO::ChangeStamp stamp;
    std::size_t lines;  ///< of its own that it had
    /// Whether those lines were there; a file stays when its project has none any more.
    bool isOfLines;
};
struct Files {
    OV::HashTable<OV::UniString, KnownFile> byName;
};

struct Loaded {
    Lines lines;
    Files files;
    /// Whether the files that were read hold these lines and nothing else, each its project's.
    bool isAllOfFiles;
};
/// Reads the project files among `names`, piece by piece. One that cannot be read is left out,
/// which is logged; a damaged one, and one that cannot be read on, gives the lines before that
/// place. Lines without a project are left out, and those that stand in another file than their
/// project's while that one is there too: they are copies. Throws OV::InterruptedException when
/// `progress` or the thread says so.
[[nodiscard]] Loaded Load(const IO::Location& folder, const OV::Array<OV::UniString>& names,
                          const BinCacheHandler::Progress& progress);

struct Written {
    /// What is known of the files now.
    Files files;
    /// Lines of other processes that were found in them.
    Lines found;
    /// The first failure; all that could be written was.
    std::exception_ptr failure;
};
/// Writes the file of each project whose lines are others than `files` knows. When another process
/// wrote it since, its lines stay in it, behind ours. `kept`, unless it is null, are the lines that
/// `files` are of; projects whose lines are those are not looked at. The marker is held.
[[nodiscard]] Written Write(const IO::Location& folder, const Lines& lines, const Lines* kept,
                            const Files& files);

}  // namespace SYC::Detail::LogCacheLines
