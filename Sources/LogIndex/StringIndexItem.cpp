#include "LogIndex/StringIndexItem.hpp"

int StringIndexItem::Compare(IndexItem* other) const
{
    const auto* const text = dynamic_cast<const StringIndexItem*>(other);
    if (text == nullptr)
        return 1;
    const int order = value_->compare(*text->value_);
    return order < 0 ? -1 : order == 0 ? 0 : 1;
}

int StringIndexItem::Write(OV::OChannel& channel)
{
    const int status = IndexItem::Write(channel);
    return status == OV::ChannelOk ? channel.Write(OV::UniStringView(*value_)) : status;
}

int StringIndexItem::Read(OV::IChannel& channel)
{
    OV::UniString value;
    int status = IndexItem::Read(channel);
    if (status == OV::ChannelOk)
        status = channel.Read(value);
    value_ = std::make_shared<const OV::UniString>(std::move(value));
    return status;
}
