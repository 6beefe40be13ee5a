#pragma once

#include "IO/Location.hpp"

#include <memory>
#include <optional>

namespace IO {

/// A file that this process alone holds open, for lock files that several processes share. While it
/// is held, no other process can open it this way or delete it through File::Delete. When the
/// process ends, however it ends, the hold ends with it; a left-over file proves nothing. A child
/// process does not inherit the hold.
class ExclusiveFile {
public:
    /// Creates the file when missing and opens it; nothing when another holder has it. Other
    /// failures throw IOException.
    [[nodiscard]] static std::optional<ExclusiveFile> TryOpen(const Location& file);

    /// The same for a file that only says that its holder is there: nobody waits for it, and so the
    /// holder may call somebody else's code meanwhile (see OVRoot/HeldLocks.hpp).
    [[nodiscard]] static std::optional<ExclusiveFile> TryMark(const Location& file);

    /// How often another holder is asked again.
    struct Patience {
        static constexpr std::uint32_t ForEver = 0;
        std::uint32_t pauseMilliseconds = 5;
        std::uint32_t attempts = 1000;
    };
    /// The same, waiting for another holder. Throws IOException, with ErrorCode::HeldByOther when
    /// the patience ended, and OV::InterruptedException as soon as the calling thread is asked to
    /// stop.
    [[nodiscard]] static ExclusiveFile Open(const Location& file, const Patience& patience);
    [[nodiscard]] static ExclusiveFile Open(const Location& file) { return Open(file, {}); }

    ~ExclusiveFile();
    ExclusiveFile(ExclusiveFile&&) noexcept;
    ExclusiveFile& operator=(ExclusiveFile&&) noexcept;

    [[nodiscard]] const Location& GetLocation() const noexcept;
    /// Whether the path still names the file that is held. Throws IOException when that cannot be
    /// told.
    [[nodiscard]] bool StillInPlace() const;
    /// Deletes the file and lets go of it, in this order, so that nobody finds it free in between.
    /// Throws IOException, and lets go of it with this object then.
    void DeleteAndClose();

private:
    struct State;
    explicit ExclusiveFile(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace IO
