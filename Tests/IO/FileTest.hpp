#pragma once

#include "IO/IOException.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

/// A folder of its own for every test, with the user's folders redirected into it.
class FileTest : public testing::Test {
protected:
    [[nodiscard]] IO::Location Place(OV::UniStringView name) const
    {
        return folder_.Appended(name);
    }
    [[nodiscard]] const std::filesystem::path& Path() const { return temporary_.Path(); }

    /// Writes as another program would: nothing of ours is involved.
    void Write(const std::filesystem::path& name, const std::string& bytes) const
    {
        std::ofstream(Path() / name, std::ios::binary) << bytes;
    }
    [[nodiscard]] std::size_t EntryCount() const
    {
        const std::filesystem::directory_iterator entries(Path());
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    /// The code of the IOException that `call` throws.
    template <class Call>
    static std::optional<IO::ErrorCode> CodeOf(Call&& call)
    {
        try {
            call();
        } catch (const IO::IOException& error) {
            return error.GetCode();
        }
        return std::nullopt;
    }

private:
    TemporaryFolder temporary_;
    IO::Location folder_ = temporary_.GetLocation();
};
