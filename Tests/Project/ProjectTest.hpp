#pragma once

#include "CachedProjectInfo.hpp"
#include "OVRoot/Resources.hpp"
#include "Support/AlertRecorder.hpp"
#include "Support/FileBytes.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

/// A folder of its own for every test, with the user's folders redirected into it.
class ProjectTest : public testing::Test {
protected:
    [[nodiscard]] const IO::Location& Folder() const { return folder_; }

    static void WriteCacheInfo(const IO::Location& folder, const std::string& text)
    {
        WriteBytes(FilePath(folder), text);
    }
    static std::string ReadCacheInfo(const IO::Location& folder)
    {
        return ReadBytes(FilePath(folder));
    }

private:
    static std::string FilePath(const IO::Location& folder)
    {
        return folder.ToNativePath() + "/CacheInfo.xml";
    }

    TemporaryFolder temporary_;
    IO::Location folder_ = temporary_.GetLocation();
};
