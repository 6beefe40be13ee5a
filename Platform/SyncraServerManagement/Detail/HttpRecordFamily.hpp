#pragma once

#include "SyncraServerManagement/Detail/RepositoryChannel.hpp"

namespace Syncra::Server::Management::Detail {

/// The records below one path, such as "/roles".
template <class Record>
class HttpRecordFamily final : public RecordFamily<Record> {
public:
    HttpRecordFamily(RepositoryChannel& channel, OV::String path)
        : channel_(channel), path_(std::move(path))
    {}

    OV::Array<Record> List() override { return ListOf(""); }
    Record Get(const OV::UniString& id) override
    {
        return channel_.Ask(Method::Get, PathOf(id), {}, Protocol::FromJson<Record>);
    }
    std::optional<Record> Find(const OV::UniString& name) override { return FindBy("name", name); }
    Record Insert(const Record& record) override { return Insert(ToJson(record)); }
    Record Update(const Record& record) override
    {
        return channel_.Ask(Method::Put, PathOf(record.id), Protocol::DumpJson(ToJson(record)),
                            Protocol::FromJson<Record>);
    }
    void Delete(const OV::UniString& id) override { channel_.Tell(Method::Delete, PathOf(id)); }

    [[nodiscard]] std::optional<Record> FindBy(const char* key, const OV::UniString& value)
    {
        auto found = ListOf('?' + OV::String(key) + '=' + ToPathText(value));
        if (found.empty())
            return std::nullopt;
        return std::move(found.front());
    }
    /// A record with fields that only requests have.
    Record Insert(const nlohmann::json& record)
    {
        return channel_.Ask(Method::Post, path_, Protocol::DumpJson(record),
                            Protocol::FromJson<Record>);
    }
    [[nodiscard]] OV::String PathOf(const OV::UniString& id) const
    {
        return path_ + '/' + ToPathText(id);
    }

private:
    using Method = RepositoryChannel::Method;

    OV::Array<Record> ListOf(const OV::String& query)
    {
        return channel_.Ask(Method::Get, path_ + query, {}, [](const nlohmann::json& json) {
            OV::Array<Record> records;
            for (const auto& item : Protocol::ReadArray(json, "items"))
                records.push_back(Protocol::FromJson<Record>(item));
            return records;
        });
    }

    RepositoryChannel& channel_;
    OV::String path_;
};

}  // namespace Syncra::Server::Management::Detail
