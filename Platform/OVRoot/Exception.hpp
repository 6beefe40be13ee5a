#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <exception>
#include <memory>
#include <utility>

namespace OV {

/// The place in the source that raised an exception; the default argument of every constructor
/// below fills it in at the throwing line. (clang 14 has no std::source_location.)
struct SourcePlace {
    const char* file;  ///< a literal
    int line;          ///< in that file

    /// The line that calls.
    static constexpr SourcePlace Here(const char* file = __builtin_FILE(),
                                      int line = __builtin_LINE()) noexcept
    {
        return {file, line};
    }
};

/// Base of the exception family: message, source name, line and an optional cause. Whatever leaves
/// the library is one of the family, but for std::bad_alloc, and std::length_error for a text
/// longer than memory can be; what the host's own callbacks throw never comes back to it.
/// A message says what failed, where, and what the user can do; it never holds a password.
class SYC_API Exception : public std::exception {
public:
    /// The place is that of the throwing line; `cause` is what led to it, or null.
    /// @{
    explicit Exception(UniString message, SourcePlace place = SourcePlace::Here(),
                       std::shared_ptr<const Exception> cause = nullptr);
    explicit Exception(StringView message, SourcePlace place = SourcePlace::Here(),
                       std::shared_ptr<const Exception> cause = nullptr);
    /// @}
    /// The same with the place in two: `file` is a literal, as __FILE__ is.
    Exception(UniString message, const char* file, int line,
              std::shared_ptr<const Exception> cause = nullptr)
        : Exception(std::move(message), SourcePlace{file, line}, std::move(cause))
    {}
    /// The same with a message in UTF-8.
    Exception(StringView message, const char* file, int line,
              std::shared_ptr<const Exception> cause = nullptr)
        : Exception(message, SourcePlace{file, line}, std::move(cause))
    {}

    /// What failed, where, and what the user can do.
    [[nodiscard]] const UniString& GetMessage() const noexcept { return message_; }
    /// File name of the throwing source, without its folders.
    [[nodiscard]] StringView GetSourceName() const noexcept;
    /// Of the throwing source.
    [[nodiscard]] int GetLine() const noexcept { return place_.line; }
    /// The exception that led to this one, or null.
    [[nodiscard]] const Exception* GetCause() const noexcept { return cause_.get(); }

    /// The message in UTF-8.
    [[nodiscard]] const char* what() const noexcept override { return utf8_.c_str(); }
    /// The name of the class, without its namespace.
    [[nodiscard]] virtual StringView GetName() const noexcept { return "Exception"; }
    /// A copy of the whole exception, of its own class.
    [[nodiscard]] virtual std::unique_ptr<Exception> Clone() const;

private:
    UniString message_;
    String utf8_;
    SourcePlace place_;
    std::shared_ptr<const Exception> cause_;
};

/// Writes the two overrides that every member of the family needs.
#define OV_EXCEPTION_IDENTITY(Class)                                                               \
    [[nodiscard]] OV::StringView GetName() const noexcept override                                 \
    {                                                                                              \
        return #Class;                                                                             \
    }                                                                                              \
    [[nodiscard]] std::unique_ptr<OV::Exception> Clone() const override                            \
    {                                                                                              \
        return std::make_unique<Class>(*this);                                                     \
    }

/// A Ref, or what is told to be one, holds nothing.
class SYC_API NullReferenceException : public Exception {
public:
    /// A caller passed what the operation cannot take, or called it when it may not be.
    /// With the message "Null reference.".
    explicit NullReferenceException(SourcePlace place = SourcePlace::Here())
        : Exception("Null reference.", place)
    {}
    OV_EXCEPTION_IDENTITY(NullReferenceException)
};

class SYC_API IllegalArgumentException : public Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(IllegalArgumentException)
};

/// A table was asked for a key that it does not hold.
class SYC_API IllegalReferenceException : public Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(IllegalReferenceException)
};

/// The thread was asked to stop while it waited.
class SYC_API InterruptedException : public Exception {
public:
    /// With the one message that it has.
    explicit InterruptedException(SourcePlace place = SourcePlace::Here())
        : Exception("The operation was interrupted.", place)
    {}
    OV_EXCEPTION_IDENTITY(InterruptedException)
};

}  // namespace OV
