#pragma once

#include "CachedProjectInfo.hpp"
#include "OVRoot/Resources.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

/// The alerts of the library while it lives.
class AlertRecorder : public OV::AlertPresenter {
public:
    AlertRecorder() : former_(SetCurrent(this)) {}
    ~AlertRecorder() override { SetCurrent(former_); }
    int Show(const OV::AlertResource& alert) override
    {
        shown.push_back(alert);
        if (meanwhile)
            meanwhile();
        if (fails)
            throw 1;
        return 1;
    }

    std::vector<OV::AlertResource> shown;
    std::function<void()> meanwhile;
    bool fails = false;

private:
    OV::AlertPresenter* former_;
};

/// A folder of its own for every test, with the user's folders redirected into it.
class ProjectTest : public testing::Test {
protected:
    [[nodiscard]] const IO::Location& Folder() const { return folder_; }

    /// Writes as another program would: nothing of ours is involved.
    static void WriteCacheInfo(const IO::Location& folder, const std::string& text)
    {
        std::ofstream(FilePath(folder), std::ios::binary | std::ios::trunc) << text;
    }

    static std::string ReadCacheInfo(const IO::Location& folder)
    {
        std::ifstream stream(FilePath(folder), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    static std::string FilePath(const IO::Location& folder)
    {
        return folder.ToNativePath() + "/CacheInfo.xml";
    }

    TemporaryFolder temporary_;
    IO::Location folder_ = temporary_.GetLocation();
};
