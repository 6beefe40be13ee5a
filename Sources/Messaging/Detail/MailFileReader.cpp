#include "Messaging/Detail/MailFileReader.hpp"

#include "OVRoot/MemoryChannels.hpp"

#include <algorithm>

namespace SYC {

namespace {

using State = MailRecord::State;

/// How a class frame of a mail begins, whatever its version.
constexpr OV::StringView FrameBegin("\x08\0\0\0M\0a\0i\0l\0", 12);
/// Bytes that invite more guesses than this are kept as they are.
constexpr std::size_t MaximumGuesses = std::size_t{1} << 26;

}  // namespace

MailFileContent MailFileReader::Read()
{
    OV::MemoryIChannel channel(bytes_);
    auto places = std::make_shared<MailPlaces>();
    content_.status = channel.Read(remaining_);
    at_ = bytes_.size() - channel.Rest().size();
    for (; remaining_ > 0 && content_.status == OV::ChannelOk; --remaining_) {
        MailRecord record = MailRecord::Read(bytes_.substr(at_));
        if (record.state != State::Complete) {
            ReadRest(std::move(record));
            return std::move(content_);
        }
        const OV::StringView bytes = bytes_.substr(at_, record.size);
        places->Add(*record.mail, bytes,
                    bytes.substr(record.actionsAt, record.actionsEnd - record.actionsAt));
        at_ += record.size;
        content_.mails.push_back(std::move(record.mail));
    }
    if (content_.status != OV::ChannelOk)
        content_.outcome = MailFile::Outcome::Damaged;
    else if (at_ < bytes_.size())
        content_.outcome = MailFile::Outcome::LeftOver;
    if (content_.status == OV::ChannelOk)
        content_.places = std::move(places);
    return std::move(content_);
}

/// `first` stands at `at_` and is not complete.
void MailFileReader::ReadRest(MailRecord first)
{
    if (first.state != State::Damaged) {
        FindPlaces();
        if (IsFeasible()) {
            records_.resize(places_.size() - 1);
            partings_.resize(places_.size() * (spare_ + 1));
            At(records_.size(), 0).readable = 0;
            for (std::size_t place = records_.size(); place-- > 0;)
                PartFrom(place);
            if (At(0, spare_).readable >= 0)
                return TakeBestParting();
        }
    }
    KeepRest(first);
}

void MailFileReader::FindPlaces()
{
    for (auto place = at_; place < bytes_.size();
         place = std::min(bytes_.find(FrameBegin, place + 1), bytes_.size()))
        places_.push_back(place);
    places_.push_back(bytes_.size());
    spare_ = places_.size() - 1 - remaining_;
}

bool MailFileReader::IsFeasible() const noexcept
{
    // Counted in places_.size(), which is at least 1, so that nothing overflows.
    return places_.size() - 1 >= remaining_ &&
           MaximumGuesses / places_.size() / (spare_ + 1) / (spare_ + 1) > 0;
}

MailFileReader::Parting& MailFileReader::At(std::size_t place, std::size_t spare)
{
    return partings_[place * (spare_ + 1) + spare];
}

OV::StringView MailFileReader::Slice(std::size_t place, std::size_t end) const
{
    return bytes_.substr(places_[place], places_[end] - places_[place]);
}

/// All places behind this one are done.
void MailFileReader::PartFrom(std::size_t place)
{
    MailRecord& record = records_[place];
    record = MailRecord::Read(bytes_.substr(places_[place]));
    const bool isReadable = record.state == State::Complete;
    const auto last = std::min(place + 1 + spare_, records_.size());
    for (auto end = place + 1; end <= last; ++end) {
        if (!CanEnd(place, end))
            continue;
        for (auto spare = end - place - 1; spare <= spare_; ++spare) {
            const auto readable = At(end, spare - (end - place - 1)).readable;
            Parting& best = At(place, spare);
            if (readable >= 0 && readable + isReadable > best.readable)
                best = {readable + isReadable, end};
        }
    }
}

bool MailFileReader::CanEnd(std::size_t place, std::size_t end)
{
    MailRecord& record = records_[place];
    switch (record.state) {
    case State::Complete:
        return places_[place] + record.size == places_[end];
    case State::UnreadActions:
        // Actions that end too early may be followed by more mails; behind the last one nothing is.
        return !(record.isCutOff && end == records_.size()) && record.Finish(Slice(place, end));
    case State::UnknownVersion:
        return true;
    case State::Damaged:
        break;
    }
    return false;
}

void MailFileReader::TakeBestParting()
{
    auto spare = spare_;
    for (std::size_t place = 0; place < records_.size();) {
        const auto end = At(place, spare).next;
        MailRecord& record = records_[place];
        if (record.state == State::UnknownVersion) {
            content_.unknown.bytes += Slice(place, end);
            ++content_.unknown.count;
        } else {
            if (record.state == State::UnreadActions)
                (void)record.Finish(Slice(place, end));
            content_.mails.push_back(std::move(record.mail));
        }
        spare -= end - place - 1;
        place = end;
    }
}

/// Nobody can say where this record ends. What is unknown stays with all behind it, as it is.
void MailFileReader::KeepRest(const MailRecord& first)
{
    if (first.state == State::Damaged || (first.state == State::UnreadActions && first.isCutOff)) {
        content_.outcome = MailFile::Outcome::Damaged;
        content_.status = first.status;
        return;
    }
    content_.unknown.bytes = bytes_.substr(at_);
    content_.unknown.count = remaining_;
}

}  // namespace SYC
