#include "SyncraProtocol/Detail/RecordWriter.hpp"

#include "OVRoot/Base64.hpp"

#include <algorithm>

namespace Syncra::Protocol {

void RecordWriter::Value(const OV::String& bytes, AsBase64)
{
    json_.Quote(OV::EncodeBase64(bytes));
}

void RecordWriter::Sorted(OV::Array<OV::String> texts)
{
    std::sort(texts.begin(), texts.end());
    json_.BeginArray();
    for (const auto& text : texts)
        json_.Raw(text);
    json_.EndArray();
}

}  // namespace Syncra::Protocol
