#pragma once

#include "IO/File.hpp"

#include <memory>

namespace IO {

/// File::Replace for a content that comes piece by piece. Until Commit, and when that never
/// happens, the target is what it was. Every failure throws IOException with the place.
class FileReplacement {
public:
    explicit FileReplacement(const Location& file, bool isPrivate = false);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    void Write(OV::StringView bytes);
    /// Once, at the end. Returns the stamp of the new file.
    ChangeStamp Commit();

private:
    class Writing;
    std::unique_ptr<Writing> writing_;
};

}  // namespace IO
