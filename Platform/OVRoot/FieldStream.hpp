#pragma once

#include "OVRoot/Channel.hpp"
#include "OVRoot/Export.hpp"

#include <bit>
#include <concepts>
#include <type_traits>

namespace OV {

class Guid;

/// Name and version under which a class writes its records.
struct ClassInfo {
    UniStringView name;         ///< unique among the classes of a file
    std::uint16_t mainVersion;  ///< another one cannot be read
    std::uint16_t subVersion;   ///< a newer one can: what it adds is passed over
};

/// Reads the fields of a binary record in turn until one fails; what is asked for after that stays
/// as it is. A list of fields that a template writes down once serves this and FieldWriter.
class SYC_API FieldReader {
public:
    /// For fields that stand in no record; the channel outlives the reader.
    explicit FieldReader(IChannel& channel) noexcept : channel_(channel) {}
    /// Opens a record. Another class name or main version gives the status -7003.
    FieldReader(IChannel& channel, const ClassInfo& expected);

    /// 0, or what the first field that failed gave.
    [[nodiscard]] ChannelStatus Status() const noexcept { return status_; }
    /// Whether nothing has failed yet.
    [[nodiscard]] bool IsGood() const noexcept { return status_ == ChannelOk; }
    /// That of the record, which may be one that was not expected; 0 when its frame did not come
    /// whole.
    [[nodiscard]] std::uint16_t MainVersion() const noexcept { return mainVersion_; }
    /// For data that came whole and cannot be.
    void Fail() noexcept
    {
        if (IsGood())
            status_ = ChannelFailed;
    }

    /// `read(channel)` gives the status; for what has a form of its own.
    template <class Read>
    void Then(Read&& read)
    {
        if (IsGood())
            status_ = read(channel_);
    }

    /// bool, 16 and 32 bits, and UniString, in the forms of IChannel.
    template <class Value>
    requires requires(IChannel& channel, Value& value) { channel.Read(value); }
    void operator()(Value& value)
    {
        if (IsGood())
            status_ = channel_.Read(value);
    }
    /// One byte.
    void operator()(std::uint8_t& byte) { Bytes(std::as_writable_bytes(std::span(&byte, 1))); }
    /// The 32 bits of an IEEE 754 number.
    void operator()(float& number)
    {
        ReadAs<std::uint32_t>(number,
                              [](std::uint32_t bits) { return std::bit_cast<float>(bits); });
    }
    /// A text that is none of a Guid fails.
    void operator()(Guid& guid);
    /// The number of its type; which numbers are members is the caller's to know.
    template <class Enum>
    requires std::is_enum_v<Enum>
    void operator()(Enum& value)
    {
        ReadAs<std::underlying_type_t<Enum>>(value,
                                             [](auto number) { return static_cast<Enum>(number); });
    }
    /// A record within the record.
    template <class Record>
    requires requires(Record& record, IChannel& channel)
    {
        {
            record.Read(channel)
            } -> std::same_as<ChannelStatus>;
    }
    void operator()(Record& record)
    {
        Then([&](IChannel& channel) { return record.Read(channel); });
    }

    /// Reads a Number, and gives `value` what `convert` makes of it.
    template <class Number, class Value, class Convert>
    void ReadAs(Value& value, Convert&& convert)
    {
        Number number{};
        (*this)(number);
        if (IsGood())
            value = convert(number);
    }

    /// A count of bytes and UTF-8. A text that ends early stays as far as it came, and fails.
    void Utf8(String& text);
    /// The same as UTF-16.
    void Utf8(UniString& text);

    /// All of `target`.
    void Bytes(std::span<std::byte> target)
    {
        if (IsGood())
            status_ = channel_.ReadBytes(target);
    }
    /// `count` bytes.
    void Block(String& bytes, std::uint32_t count)
    {
        if (IsGood())
            status_ = channel_.ReadBlock(bytes, count);
    }

    /// Reads a count and calls `each(*this)` so often, until something fails: the count sizes
    /// nothing.
    template <class Each>
    void Repeat(Each&& each)
    {
        std::uint32_t count = 0;
        (*this)(count);
        for (; count > 0 && IsGood(); --count)
            each(*this);
    }
    /// Puts counted elements in place of those of `list`, added as they arrive. `transfer(stream,
    /// element)` reads one; one that does not arrive whole is dropped.
    template <class List, class Transfer>
    void Elements(List& list, Transfer&& transfer)
    {
        if (IsGood())
            list.clear();
        Repeat([&](FieldReader&) {
            typename List::value_type element{};
            transfer(*this, element);
            if (IsGood())
                list.insert(list.end(), std::move(element));
        });
    }

private:
    IChannel& channel_;
    ChannelStatus status_ = ChannelOk;
    std::uint16_t mainVersion_ = 0;
};

/// Writes the fields of a binary record in turn until one fails, in the form that FieldReader
/// reads.
class SYC_API FieldWriter {
public:
    /// For fields that stand in no record; the channel outlives the writer.
    explicit FieldWriter(OChannel& channel) noexcept : channel_(channel) {}
    /// Opens a record.
    FieldWriter(OChannel& channel, const ClassInfo& info);

    /// 0, or what the first field that failed gave.
    [[nodiscard]] ChannelStatus Status() const noexcept { return status_; }
    /// Whether nothing has failed yet.
    [[nodiscard]] bool IsGood() const noexcept { return status_ == ChannelOk; }

    /// `write(channel)` gives the status; for what has a form of its own.
    template <class Write>
    void Then(Write&& write)
    {
        if (IsGood())
            status_ = write(channel_);
    }

    /// In the form of OChannel.
    void operator()(UniStringView text)
    {
        if (IsGood())
            status_ = channel_.Write(text);
    }
    /// Numbers and bool, in the forms of OChannel.
    template <class Value>
    requires std::is_arithmetic_v<Value>
    void operator()(Value value)
    {
        if constexpr (std::same_as<Value, float>)
            (*this)(std::bit_cast<std::uint32_t>(value));
        else if constexpr (std::same_as<Value, std::uint8_t>)
            Bytes(std::as_bytes(std::span(&value, 1)));
        else if (IsGood())
            status_ = channel_.Write(value);
    }
    /// As its text.
    void operator()(const Guid& guid);
    /// As the number of its type.
    template <class Enum>
    requires std::is_enum_v<Enum>
    void operator()(Enum value) { (*this)(static_cast<std::underlying_type_t<Enum>>(value)); }
    /// A record within the record.
    template <class Record>
    requires requires(Record& record, OChannel& channel)
    {
        {
            record.Write(channel)
            } -> std::same_as<ChannelStatus>;
    }
    void operator()(Record& record)
    {
        Then([&](OChannel& channel) { return record.Write(channel); });
    }

    /// A count of bytes and UTF-8.
    void Utf8(UniStringView text);

    /// All of `source`, without a count.
    void Bytes(std::span<const std::byte> source)
    {
        if (IsGood())
            status_ = channel_.WriteBytes(source);
    }

    /// A count and the elements; `transfer(stream, element)` writes one.
    template <class List, class Transfer>
    void Elements(const List& list, Transfer&& transfer)
    {
        (*this)(static_cast<std::uint32_t>(list.size()));
        for (auto element = list.begin(); element != list.end() && IsGood(); ++element)
            transfer(*this, *element);
    }

private:
    OChannel& channel_;
    ChannelStatus status_ = ChannelOk;
};

/// Each field in turn, whether the stream reads or writes.
inline constexpr auto TransferFields = [](auto& stream, auto&... fields) { (stream(fields), ...); };

}  // namespace OV
