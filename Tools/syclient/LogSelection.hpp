#pragma once

#include "Commands.hpp"
#include "Log/LogTable.hpp"
#include "PerformanceData.hpp"
#include "ServerArguments.hpp"

#include <optional>

/// The name under which the logs of a server are cached.
[[nodiscard]] OV::UniString LogCacheName(const AddressArguments& address);

/// Which lines of which server's cached log a command is about.
struct LogSelection {
    AddressArguments address;
    std::string project;
    std::optional<std::string> from;
    std::optional<std::string> to;
    std::string user;
    std::string action;
    std::uint32_t smallestSize = 0;
    int sortColumn = SYC::LogTable::Timestamp;
    bool isDescending = false;

    void AddOptions(CLI::App& command);
    void Resolve(Context& context) { address.Resolve(context, &project); }
    /// Nothing, with a message and an exit code, when there is no such cache or project. `load`
    /// gets the statistics that are cached beside the lines. Throws OV::IllegalArgumentException
    /// for a day that is none.
    [[nodiscard]] std::shared_ptr<const SYC::LogTable> Read(Context& context,
                                                            PerformanceData* load = nullptr) const;
};
