#include "LogIndex/CompositeStringIndex.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "OVRoot/Thread.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using Rows = OV::StableArray<std::uint32_t>;

OV::Ref<OV::Object> Text(const OV::UniString& text)
{
    return OV::MakeRef<OV::UniStringObject>(text);
}

/// The rules as they are written down, on plain arrays.
struct LiteralIndex {
    std::vector<std::pair<OV::UniString, std::uint32_t>> items;

    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(items.size()); }
    [[nodiscard]] int Compare(std::uint32_t pos, const OV::UniString& key) const
    {
        return items[pos].first < key ? -1 : items[pos].first == key ? 0 : 1;
    }
    [[nodiscard]] std::uint32_t Search(const OV::UniString& key) const
    {
        std::uint32_t lo = 0, hi = items.empty() ? 0 : Size() - 1;
        auto mid = static_cast<std::uint32_t>(static_cast<double>(hi) * 0.5 + 0.5);
        for (;;) {
            if (mid == 0 || mid >= Size())
                return mid;
            const int c = Compare(mid, key);
            if (c == 0)
                return mid;
            if (c < 0)
                lo = mid + 1;
            else
                hi = mid - 1;
            mid = static_cast<std::uint32_t>(
                (static_cast<double>(hi) + static_cast<double>(lo)) * 0.5 + 0.5);
            if (hi < lo)
                return mid;
        }
    }
    void Add(std::uint32_t row, const OV::UniString& key)
    {
        if (items.empty())
            return items.emplace_back(key, row), void();
        const auto pos = static_cast<std::int32_t>(Search(key));
        if (pos < static_cast<std::int32_t>(Size()))
            items.emplace(items.begin() + pos +
                              (Compare(static_cast<std::uint32_t>(pos), key) <= 0 ? 1 : 0),
                          key, row);
        else
            items.emplace_back(key, row);
    }
    [[nodiscard]] std::uint32_t FindFirst(const OV::UniString& key) const
    {
        if (items.empty())
            return 0;
        std::int32_t p = static_cast<std::int32_t>(std::min(Search(key), Size() - 1));
        while (p >= 0 && items[static_cast<std::size_t>(p)].first == key)
            --p;
        return static_cast<std::uint32_t>(p + 1);
    }
    [[nodiscard]] std::uint32_t FindLast(const OV::UniString& key) const
    {
        std::uint32_t p = Search(key);
        if (p < Size())
            while (p < Size() - 1 && items[p].first == key)
                ++p;
        return p - 1;
    }
    [[nodiscard]] Rows Data(std::uint32_t from, std::uint32_t to, bool ascending,
                            const Rows* filter) const
    {
        Rows rows;
        if (items.empty())
            return rows;
        to = std::min(to, Size() - 1);
        for (std::int64_t pos = ascending ? from : to; ascending ? pos <= to : pos >= from;
             pos += ascending ? 1 : -1) {
            const auto row = items[static_cast<std::size_t>(pos)].second;
            if (filter == nullptr ||
                std::find(filter->begin(), filter->end(), row) != filter->end())
                rows.push_back(row);
        }
        return rows;
    }
};

/// Both ways into an index: row by row, and all at once.
StringIndex OneByOne(const std::vector<std::string>& texts)
{
    StringIndex index(0);
    for (std::uint32_t row = 0; row < texts.size(); ++row)
        index.Add(row, Text(OV::FromUtf8(texts[row])));
    return index;
}

StringIndex AtOnce(const std::vector<std::string>& texts)
{
    StringIndex index(0);
    index.AddRows(
        static_cast<std::uint32_t>(texts.size()),
        [&](std::uint32_t row, OV::Array<OV::StringView>& parts) { parts.assign(1, texts[row]); });
    return index;
}

/// Long ones with a common beginning; every third round those whose bytes are in another order
/// than their code units, or no text at all.
std::string RandomText(int round, unsigned keys, std::mt19937& random)
{
    using namespace std::string_literals;
    if (round % 3 > 0)
        return "key number " + std::to_string(random() % keys);
    const std::string pieces[] = {"a",           "b",    "\0"s,
                                  "\xC3\xA9",    "\xE9", "\xEE\x80\x80",
                                  "/",           "\x80", "\xF0\x90\x80\x80",
                                  "\xED\xA0\x80"};
    std::string text;
    for (std::size_t left = random() % (keys < 3 ? 3 : 12); left-- > 0;)
        text += pieces[random() % (round % 2 == 0 ? 3 : std::size(pieces))];
    return text;
}

}  // namespace

TEST(LogIndexTest, IsTheIndexThatTheRulesMakeHoweverItIsFilled)
{
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round) {
        const std::size_t count = round < 60 ? static_cast<std::size_t>(round) : random() % 1500;
        const unsigned keys = 1 + random() % (round % 3 == 0 ? 3 : 2000);
        std::vector<std::string> texts;
        while (texts.size() < count)
            texts.push_back(RandomText(round, keys, random));
        if (round % 5 < 2)
            std::sort(texts.begin(), texts.end());
        LiteralIndex literal;
        for (std::uint32_t row = 0; row < count; ++row)
            literal.Add(row, OV::FromUtf8(texts[row]));
        auto filled = OneByOne(texts);
        for (const auto& index : {filled, AtOnce(texts)}) {
            ASSERT_EQ(index.GetSize(), count);
            ASSERT_EQ(index.GetData(true), literal.Data(0, 0xFFFFFFFF, true, nullptr)) << count;
            for (std::uint32_t pos = 0; pos < count; pos += 1 + count / 50)
                ASSERT_EQ(index.GetValueAt(pos), literal.items[pos].first);
        }
        for (int probe = 0; probe < 12; ++probe) {
            const OV::UniString key =
                probe == 0 ? u"" : OV::FromUtf8(RandomText(round, keys + 2, random));
            ASSERT_EQ(filled.Find(key), literal.Search(key));
            ASSERT_EQ(filled.FindFirst(key), literal.FindFirst(key));
            ASSERT_EQ(filled.FindLast(key), literal.FindLast(key));
        }
    }
}

TEST(LogIndexTest, AFilterGivesItsRowsInTheOrderOfTheIndex)
{
    std::mt19937 random(3);
    for (int round = 0; round < 60; ++round) {
        const std::size_t count = random() % 200;
        LiteralIndex literal;
        StringIndex index(0);
        for (std::uint32_t row = 0; row < count; ++row) {
            const auto text = OV::ToText(static_cast<int>(random() % 9));
            // Rows come twice, and far apart.
            const std::uint32_t number = round % 2 == 0 ? row / 2 : row * 40'000'000U;
            literal.Add(number, text);
            index.Add(number, Text(text));
        }
        Rows filter;
        for (std::size_t i = random() % 80; i-- > 0;)
            filter.push_back(round % 2 == 0 ? random() % 120 : (random() % 120) * 40'000'000U);
        index.SetFilteredRows(filter);
        OV::Array<std::uint32_t> positions;
        for (const std::uint32_t row : filter)
            for (std::uint32_t pos = 0; pos < literal.items.size(); ++pos)
                if (literal.items[pos].second == row) {
                    positions.push_back(pos);
                    break;
                }
        ASSERT_EQ(index.GetFilteredPositions(), positions);
        for (const bool ascending : {true, false})
            for (const auto& [from, to] :
                 {std::pair(0U, 0xFFFFFFFFU), {3U, 17U}, {9U, 2U}, {150U, 400U}})
                ASSERT_EQ(index.GetData(from, to, ascending),
                          literal.Data(from, to, ascending, &filter));
        std::stop_source stopped;
        stopped.request_stop();
        {
            const OV::InterruptionScope scope(stopped.get_token());
            ASSERT_TRUE(index.GetData(true).empty());
        }
        index.ResetFilter();
        const OV::InterruptionScope scope(stopped.get_token());
        ASSERT_EQ(index.GetData(false), literal.Data(0, 0xFFFFFFFF, false, nullptr))
            << "only a filtered index asks whether it is interrupted";
    }
}

TEST(LogIndexTest, CompositeKeysAreFoundByTheirBeginning)
{
    CompositeStringIndex index({1, 4});
    EXPECT_EQ(index.GetType(), LogIndex::Composite);
    EXPECT_EQ(index.GetIndexedFields(), (OV::Array<std::uint32_t>{1, 4}));
    EXPECT_EQ(index.FindFirstPart(u"a/"), 0u);
    index.AddComposite(5, {u"anna", u"Send"});
    index.AddComposite(6, {u"zoe", u"Join"});
    index.AddComposite(7, {u"anna", u"Join"});
    index.AddComposite(8, {u"anna", u"Send"});
    EXPECT_EQ(index.GetUniqueKeys(),
              (OV::Array<OV::UniString>{u"anna/Join/", u"anna/Send/", u"zoe/Join/"}));
    EXPECT_EQ(index.FindFirstPart(u"anna/"), 0u);
    EXPECT_EQ(index.FindLastPart(u"anna/"), 2u);
    EXPECT_EQ(index.FindLastPart(u"zoe/"), 2u) << "one short of the last item";
    EXPECT_EQ(index.GetPositionAt(3), 6u);
    EXPECT_EQ(index.GetPositionAt(4), 0xFFFFFFFFu);
    CompositeStringIndex same({1, 4});
    same.AddRows(4, [](std::uint32_t row, OV::Array<OV::StringView>& parts) {
        const OV::StringView users[] = {"anna", "zoe", "anna", "anna"};
        const OV::StringView actions[] = {"Send", "Join", "Join", "Send"};
        parts = {users[row], actions[row]};
    });
    EXPECT_EQ(same.GetUniqueKeys(), index.GetUniqueKeys());
}

/// A host's own index, with the signatures that it is given. It turns texts around, and stops.
class HostIndex : public StringIndex {
public:
    using StringIndex::StringIndex;
    struct Item : IndexItem {
        int Compare(IndexItem*) const override { return 1; }
        int Write(OV::OChannel&) override { return -7003; }
    };
    OV::Ref<IndexItem> Convert(const std::uint32_t& row, const OV::Object& value) override
    {
        if (row == 2)
            stop.request_stop();
        const auto& text = dynamic_cast<const OV::UniStringObject&>(value).Get();
        return OV::Ref<IndexItem, OV::Counter>(
            OV::MakeRef<StringIndexItem>(row, OV::UniString(text.rbegin(), text.rend())));
    }
    OV::Ref<IndexItem> ConvertComposite(const std::uint32_t&, OV::Array<OV::UniString>) override
    {
        return OV::MakeRef<Item>();
    }
    std::stop_source stop;
};

TEST(LogIndexTest, AHostsIndexMakesItsOwnItemsAndStopsWhenItIsAskedTo)
{
    HostIndex index(0);
    const OV::InterruptionScope scope(index.stop.get_token());
    const auto texts = [](std::uint32_t, OV::Array<OV::StringView>& parts) { parts = {"ab"}; };
    EXPECT_THROW(index.AddRows(5, texts), OV::InterruptedException);
    EXPECT_EQ(index.GetSize(), 3u);
    EXPECT_EQ(index.GetUniqueKeys(), OV::Array<OV::UniString>{u"ba"});
    StringIndex plain(0);
    EXPECT_THROW(plain.AddRows(5, texts), OV::InterruptedException);
    // Items without a text are told of, not read as if they had one.
    for (StringIndex* each : {&plain, static_cast<StringIndex*>(&index)}) {
        each->AddComposite(7, {u"x"});
        EXPECT_THROW((void)each->GetUniqueKeys(), OV::NullReferenceException);
    }
}

TEST(LogIndexTest, PlainIndexesKnowNoOrder)
{
    LogIndex index(3);
    std::vector<std::uint32_t> expected;
    for (std::uint32_t row = 0; row < 9; ++row) {
        index.Add(row, Text(u"x"));
        // All count as equal, so each goes right behind the middle, rounded up.
        const std::size_t middle = expected.empty() ? 0 : expected.size() / 2 + 1;
        expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(middle), row);
    }
    EXPECT_EQ(index.GetData(true), expected);
    EXPECT_THROW(index.Add(1, nullptr), OV::NullReferenceException);
    EXPECT_EQ(index.GetIndexedFields(), OV::Array<std::uint32_t>{3});
}

TEST(LogIndexTest, TheStreamHasExactlyItsBytesAndIsTrusted)
{
    using namespace std::string_literals;
    StringIndex index(2);
    OV::MemoryOChannel empty;
    ASSERT_EQ(index.Write(empty), 0);
    EXPECT_EQ(empty.Bytes(), "\2\0\0\0\0\0\0\0"s);
    index.Add(300, Text(u"b"));
    index.Add(1, Text(u"a"));
    OV::MemoryOChannel channel;
    ASSERT_EQ(index.Write(channel), 0);
    const auto bytes = channel.Bytes();
    EXPECT_EQ(bytes, "\2\0\0\0\2\0\0\0\1\0\0\0\2\0\0\0a\0\x2C\1\0\0\2\0\0\0b\0"s);

    StringIndex read(9);
    read.Add(77, Text(u"zz"));
    OV::MemoryIChannel input(bytes);
    ASSERT_EQ(read.Read(input), 0);
    EXPECT_EQ(read.GetData(true), (Rows{77, 1, 300})) << "appended as they come";
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        StringIndex cut(0);
        OV::MemoryIChannel part(OV::StringView(bytes).substr(0, length));
        EXPECT_EQ(cut.Read(part), -7003);
        EXPECT_EQ(cut.GetSize(), length < 8 ? 0u : length < 18 ? 1u : 2u) << length;
    }
    const auto endless = "\0\0\0\0\xFF\xFF\xFF\xFF\1\0\0\0\xFE\xFF\xFF\xFF"s;
    OV::MemoryIChannel hostile(endless);
    EXPECT_EQ(StringIndex(0).Read(hostile), -7003) << "a count takes no memory";
}
