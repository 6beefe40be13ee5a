#pragma once

#include "ManagementTool/SyncraInfo.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

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
    static std::string ReadBytes(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static std::string Golden(const std::string& name)
    {
        return ReadBytes(std::filesystem::path(SYCLIENT_TEST_SOURCE_DIR) /
                         "Tests/ManagementTool/Golden" / name);
    }
    void WriteBytes(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(Path(name), std::ios::binary | std::ios::trunc) << bytes;
    }
    [[nodiscard]] bool IsLockFileThere() const
    {
        return std::filesystem::exists(Path("@SYInfo.Lock"));
    }

    TemporaryFolder folder;
};
