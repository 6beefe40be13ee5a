#include "LogLine/ActionNameTranslator.hpp"

#include <algorithm>

namespace {

struct Action {
    OV::UniStringView name;
    int text;
    std::int16_t icon;
};

constexpr Action Actions[] = {
    {u"Send", 1, 1500},       {u"GetAll", 2, 1503},         {u"PartialGet", 13, 1503},
    {u"GetChanges", 3, 1503}, {u"Project Backup", 4, 1507}, {u"Project Restore", 5, 1507},
    {u"Logout", 7, 1505},     {u"Login", 6, 1504},          {u"Share", 8, 1506},
    {u"Join", 6, 1504},       {u"Release", 9, 1508},        {u"Unlock", 9, 1508},
    {u"Lock", 11, 1510},      {u"Release All", 10, 1509},   {u"Put Object", 1, 1500},
    {u"Reserve", 11, 1510},   {u"Comment", 12, 1511},
};

const Action* Find(OV::UniStringView name)
{
    const auto* const found = std::find_if(std::begin(Actions), std::end(Actions),
                                           [&](const Action& each) { return each.name == name; });
    return found == std::end(Actions) ? nullptr : found;
}

}  // namespace

const ActionNameTranslator& ActionNameTranslator::GetInstance()
{
    static const ActionNameTranslator instance;
    return instance;
}

int ActionNameTranslator::GetTextResID(OV::UniStringView name) const
{
    const Action* const action = Find(name);
    return action == nullptr ? 0 : action->text;
}

std::int16_t ActionNameTranslator::GetIconResID(OV::UniStringView name) const
{
    const Action* const action = Find(name);
    return action == nullptr ? std::int16_t(0) : action->icon;
}
