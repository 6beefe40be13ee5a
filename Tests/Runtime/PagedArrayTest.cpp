#include "OVRoot/PagedArray.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using Texts = OV::PagedArray<std::string>;

Texts Numbers(int count)
{
    Texts texts;
    for (int number = 0; number < count; ++number)
        texts.push_back(std::to_string(number));
    return texts;
}

}  // namespace

TEST(PagedArrayTest, ACopyIsASnapshotWhateverHappensToTheOther)
{
    void (*const changes[])(Texts&) = {
        [](Texts& texts) { texts.push_back(texts.front()); },
        [](Texts& texts) { texts[texts.size() / 2] = "changed"; },
        [](Texts& texts) { std::reverse(texts.begin(), texts.end()); },
        [](Texts& texts) { texts.clear(); },
    };
    for (const int count : {3, 512, 2000})  // within a page, at the end of one, and of several
        for (const auto change : changes) {
            const Texts before = Numbers(count);
            Texts former = before, latter = former;
            change(former);
            EXPECT_EQ(latter, before);
            EXPECT_FALSE(former == before);
            former = latter;
            change(latter);
            EXPECT_EQ(former, before);
        }
    Texts last = Numbers(3);
    {
        const Texts copy = last;
    }
    last.push_back(last.back());  // which the copy alone shared
    EXPECT_EQ(last, Texts({"0", "1", "2", "2"}));
    for (const int count : {0, 3, 512, 2000}) {
        Texts all = Numbers(count), more = Numbers(700);
        const Texts before = all, appended = more;
        all.append(std::move(more));
        Texts expected = before;
        expected.append(appended.cbegin(), appended.cend());
        EXPECT_EQ(all, expected);
        EXPECT_EQ(before, Numbers(count));
        EXPECT_EQ(appended, Numbers(700)) << "which shared what was appended";
        EXPECT_TRUE(more.empty());
    }
}
