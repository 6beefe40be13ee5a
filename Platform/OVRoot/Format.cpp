#include "OVRoot/Format.hpp"

#include <array>

namespace OV {

namespace {

/// Length of the placeholder at the front of `text`, which begins with "%".
std::size_t PlaceholderLength(UniStringView text)
{
    static constexpr std::array<UniStringView, 6> endings = {u"ls", u"lu", u"hu", u"s", u"d", u"u"};
    for (const auto ending : endings)
        if (text.substr(1, ending.size()) == ending)
            return 1 + ending.size();
    return 1;
}

}  // namespace

UniString FormatText(UniStringView format, std::initializer_list<FormatArgument> arguments)
{
    UniString text;
    auto next = arguments.begin();
    for (std::size_t i = 0; i < format.size();) {
        if (format[i] != u'%') {
            text.push_back(format[i++]);
        } else if (format.substr(i, 2) == u"%%") {
            text.push_back(u'%');
            i += 2;
        } else {
            const auto length = PlaceholderLength(format.substr(i));
            text += next == arguments.end() ? format.substr(i, length) : (next++)->Text();
            i += length;
        }
    }
    return text;
}

}  // namespace OV
