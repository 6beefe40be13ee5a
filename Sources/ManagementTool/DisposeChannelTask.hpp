#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Holds the channel of an import or export and releases it when run; as the end task of a
/// RunAtScopeEnd, on every way out of the scope.
template <class Channel>
class DisposeChannelTask final : public OV::Runnable {
public:
    /// Takes the channel over.
    explicit DisposeChannelTask(std::unique_ptr<Channel> channel) : channel_(std::move(channel)) {}

    /// Releases it; nothing when it has gone already.
    void Run() override { channel_.reset(); }
    /// Throws OV::NullReferenceException once it has run.
    [[nodiscard]] Channel& GetChannel() const
    {
        if (!channel_)
            throw OV::NullReferenceException();
        return *channel_;
    }

private:
    std::unique_ptr<Channel> channel_;
};

/// For an import.
using DisposeXMLIChannelTask = DisposeChannelTask<OV::XMLIChannel>;
/// For an export.
using DisposeXMLOChannelTask = DisposeChannelTask<OV::XMLOChannel>;

}  // namespace Syncra::Server::ManagementTool::Core
