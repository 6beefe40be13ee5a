#pragma once

#include "SyncraProtocol/Detail/RecordReader.hpp"
#include "SyncraProtocol/Detail/RecordWriter.hpp"

/// Records as JSON texts, by the descriptions in ModelRecords.hpp and ManagementRecords.hpp.
namespace Syncra::Protocol {

/// What a server answered. Throws MalformedRecordException for whatever else it may have sent.
template <class Record>
[[nodiscard]] Record ReadAnswer(OV::StringView body)
{
    return RecordReader(body, RecordReader::Sender::Server).Read<Record>();
}

/// The same into a record that says what becomes of its items; they are taken of a damaged text
/// too, as far as it goes.
template <class Record>
void ReadAnswer(OV::StringView body, Record& record)
{
    RecordReader(body, RecordReader::Sender::Server).ReadInto(record);
}

/// One field of an answer, without what follows it: Single<"cursor", OV::UniString>.
template <class Record>
[[nodiscard]] Record ReadHead(OV::StringView body)
{
    return RecordReader(body, RecordReader::Sender::Server).ReadHead<Record>();
}

/// What a client asks: as ReadAnswer, without the fields that the server gives, and with at most
/// so many values.
template <class Record>
[[nodiscard]] Record ReadRequest(OV::StringView body,
                                 std::size_t mostValues = JsonReader::MostValues)
{
    return RecordReader(body, RecordReader::Sender::Client, mostValues).Read<Record>();
}

/// One line of JSON.
template <class Record>
[[nodiscard]] OV::String WriteJson(const Record& record, std::size_t reservedBytes = 0)
{
    RecordWriter writer(reservedBytes);
    writer.Value(record);
    return writer.Take();
}

}  // namespace Syncra::Protocol
