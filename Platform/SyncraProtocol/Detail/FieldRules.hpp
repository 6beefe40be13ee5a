#pragma once

#include "OVRoot/UniString.hpp"

#include <algorithm>
#include <functional>
#include <optional>

/// What the description of a record says of a field beside its name and place. A description is
///
///     template <class Visitor>
///     void Describe(Visitor& v, Project& project)
///     {
///         v.ByServer("id", project.id);
///         v("state", project.state, Between{1, 3});
///     }
///
/// beside the record's class, and is all there is to reading and writing it: a field of a class, of
/// an enumeration, a number, a text (UniString with every string of ours in it, String as plain
/// UTF-8), a list or set, Each of a list, a table of texts (an object), a pair (an array of two),
/// or an optional (left out when empty). A number is refused when its type cannot hold it. Fields
/// that no description names are ignored; of several of one name the last counts. `ByServer` is for
/// those that the server gives: in requests they may be left out, and are not looked at.
namespace Syncra::Protocol {

/// A number from `least` to `most`.
struct Between {
    std::int64_t least;
    std::int64_t most;
};

/// A number that becomes the nearest one of its type instead of being refused.
struct Clamped {};

/// Bytes that travel as base64, refused when they are more than `maximumSize`.
struct AsBase64 {
    std::size_t maximumSize;
};

/// A text that may not be empty.
struct NotEmpty {};

/// A list of which `take` gets each item as it is read, and which keeps none; a second list of its
/// name is refused. One item takes them all, so that its texts have their place already.
template <class Item>
struct Each {
    std::function<void(const Item&)> take = [](const Item&) {};
    std::optional<std::size_t> count;  ///< when the list was read
    Item item{};
};

/// A key in a type.
template <std::size_t Size>
struct KeyText {
    char text[Size]{};

    consteval KeyText(const char (&literal)[Size]) { std::copy_n(literal, Size, text); }
    [[nodiscard]] constexpr OV::StringView View() const { return {text, Size - 1}; }
};

/// A body with one field.
template <KeyText Key, class Value>
struct Single {
    Value value{};
};

template <class Visitor, KeyText Key, class Value>
void Describe(Visitor& v, Single<Key, Value>& body)
{
    v(Key.View(), body.value);
}

/// A body without fields.
struct Empty {};

template <class Visitor>
void Describe(Visitor&, Empty&)
{}

}  // namespace Syncra::Protocol
