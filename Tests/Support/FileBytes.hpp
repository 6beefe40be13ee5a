#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// All bytes of a file, as another program would read them; none where there is no file.
inline std::string ReadBytes(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Writes as another program would: nothing of ours is involved.
inline void WriteBytes(const std::filesystem::path& file, const std::string& bytes)
{
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}
