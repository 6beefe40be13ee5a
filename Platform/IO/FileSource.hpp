#pragma once

#include "IO/File.hpp"

#include <memory>

namespace IO {

/// A regular file that is read piece by piece. Every failure throws IOException with the place.
class FileSource {
public:
    /// Anything else than a regular file of at most `most` bytes throws.
    FileSource(const Location& file, std::uint64_t most);
    ~FileSource();
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    /// That of the file when it was opened.
    [[nodiscard]] const ChangeStamp& GetStamp() const noexcept;
    /// Reads up to `size` bytes, less only at the end of the file; returns how many. Throws when
    /// the file has grown beyond what it may hold.
    [[nodiscard]] std::size_t Read(char* to, std::size_t size);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace IO
