#pragma once

#include "ProjectTest.hpp"

#include "RegisteredProjectsSynchronizer.hpp"

#include <filesystem>

/// The registry of this process as a host starts it, with the user's folders in those of the test.
class DataOptionsTest : public ProjectTest {
protected:
    using Registry = SYC::RegisteredProjects;
    using Synchronizer = Registry::Synchronizer;

    DataOptionsTest() { Registry::Init(HostFolder()); }
    ~DataOptionsTest() override { registry.Reset(); }

    [[nodiscard]] IO::Location HostFolder() const { return Folder().Appended(u"D\u00e4ten"); }
    [[nodiscard]] static std::filesystem::path File()
    {
        return SYC::registeredProjects().GetOptionsFileLocation().ToNativePath();
    }
    [[nodiscard]] static std::filesystem::path LockFile()
    {
        return Synchronizer::GetLockFileLoc().ToNativePath();
    }
    static void WriteFile(const std::string& text)
    {
        std::filesystem::create_directories(File().parent_path());
        WriteBytes(File(), text);
    }
    static std::string ReadFile() { return ReadBytes(File()); }

    Registry& registry = SYC::registeredProjects();
};
