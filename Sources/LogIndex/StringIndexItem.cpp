#include "LogIndex/StringIndexItem.hpp"

#include "OVRoot/FieldStream.hpp"

int StringIndexItem::Compare(IndexItem* other) const
{
    const auto* const text = dynamic_cast<const StringIndexItem*>(other);
    if (text == nullptr)
        return 1;
    const int order = value_.compare(text->value_);
    return order < 0 ? -1 : order == 0 ? 0 : 1;
}

int StringIndexItem::Write(OV::OChannel& channel)
{
    OV::FieldWriter stream(channel);
    stream.Then([this](OV::OChannel& each) { return IndexItem::Write(each); });
    stream(OV::UniString(value_));
    return stream.Status();
}

int StringIndexItem::Read(OV::IChannel& channel)
{
    OV::UniString value;
    OV::FieldReader stream(channel);
    stream.Then([this](OV::IChannel& each) { return IndexItem::Read(each); });
    stream(value);
    own_ = std::make_unique<const OV::UniString>(std::move(value));
    value_ = *own_;
    return stream.Status();
}
