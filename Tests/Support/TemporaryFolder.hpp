#pragma once

#include "IO/Location.hpp"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/// A folder of its own with a non-ASCII name, deleted with everything in it. When asked to, it is
/// also where the user's folders are while it lives.
class TemporaryFolder {
public:
    enum class UserFolders { Leave, Redirect };

    explicit TemporaryFolder(UserFolders userFolders = UserFolders::Redirect)
    {
        std::string pattern = std::filesystem::temp_directory_path() / "Pr\xc3\xbc"
                                                                       "fung-\xe4\xb8\xad-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder can be made");
        path_ = pattern;
        if (userFolders == UserFolders::Redirect) {
            setenv("XDG_CONFIG_HOME", (path_ / "config").c_str(), 1);
            setenv("XDG_DATA_HOME", (path_ / "data").c_str(), 1);
        }
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    [[nodiscard]] IO::Location GetLocation() const
    {
        return IO::Location::FromPath(OV::FromUtf8(path_.string()));
    }

private:
    std::filesystem::path path_;
};
