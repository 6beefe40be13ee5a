#pragma once

#include "LogLine/LogRecord.hpp"

#include <unordered_map>

namespace SYC::Detail {

/// Lines that are there already. A log may hold a line several times, so each counts as often as it
/// was added. The name of the project tells no lines apart: it is the one that the project had when
/// the line was fetched.
class KnownRecords {
public:
    void Add(const SYC::LogRecord& record) { ++counts_[Bytes(record)]; }
    /// Whether the record is one of them, which it then is once less.
    [[nodiscard]] bool Take(const SYC::LogRecord& record)
    {
        if (counts_.empty())
            return false;
        const auto found = counts_.find(Bytes(record));
        if (found == counts_.end())
            return false;
        if (--found->second == 0)
            counts_.erase(found);
        return true;
    }

private:
    static OV::String Bytes(SYC::LogRecord record)
    {
        record.project = {};
        OV::String bytes;
        record.AppendTo(bytes);
        return bytes;
    }

    std::unordered_map<OV::String, std::uint32_t> counts_;
};

}  // namespace SYC::Detail
