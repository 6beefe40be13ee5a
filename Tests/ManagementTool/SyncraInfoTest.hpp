#pragma once

#include "ManagementTool/SyncraInfo.hpp"
#include "Support/FileBytes.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

/// The user's info file in a folder of the test, beside the key that the golden files are coded
/// with.
class SyncraInfoTest : public testing::Test {
protected:
    using SyncraInfo = Syncra::Server::ManagementTool::GUI::SyncraInfo;

    SyncraInfoTest()
    {
        std::filesystem::create_directories(Path());
        WriteBytes("SYPassword.key", Golden("SYPassword.key"));
    }

    [[nodiscard]] std::filesystem::path Path(const std::string& name = "") const
    {
        return folder.Path() / "config" / "Orvant" / name;
    }
    static std::string Golden(const std::string& name)
    {
        return ReadBytes(std::filesystem::path(SYCLIENT_TEST_SOURCE_DIR) /
                         "Tests/ManagementTool/Golden" / name);
    }
    void WriteBytes(const std::string& name, const std::string& bytes) const
    {
        ::WriteBytes(Path(name), bytes);
    }
    [[nodiscard]] bool IsLockFileThere() const
    {
        return std::filesystem::exists(Path("@SYInfo.Lock"));
    }

    TemporaryFolder folder;
};
