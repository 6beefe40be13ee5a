#pragma once

#include "OVRoot/UniString.hpp"

#include <stdexcept>

/// What the fuzzers run, one function a target, and the corpus tests too. Bytes that are refused
/// are fine; a broken promise about accepted ones throws std::logic_error.
namespace Fuzz {

void MailDisk(OV::StringView bytes);
void MailCompact(OV::StringView bytes);
void MailMessage(OV::StringView bytes);
void PhotoStream(OV::StringView bytes);
void LogIndexStream(OV::StringView bytes);
void LogLineRecord(OV::StringView bytes);
void LogLineSplitter(OV::StringView bytes);
void StatisticsStream(OV::StringView bytes);

inline void Promise(bool isKept, const char* promise)
{
    if (!isKept)
        throw std::logic_error(promise);
}

}  // namespace Fuzz
