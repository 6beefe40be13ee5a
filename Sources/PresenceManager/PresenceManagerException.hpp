#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

/// Presence cannot be followed; the message is one sentence for people, the cause tells more.
class SYC_API PresenceManagerException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(PresenceManagerException)
};
