#pragma once

#include "OVRoot/SecureWipe.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// A password on its way to a server; wiped at its end, and so is each copy.
class Secret {
public:
    explicit Secret(OV::UniStringView text) : text_(text) {}
    /// Never moved: what a moved text leaves behind is not wiped.
    Secret(const Secret&) = default;
    Secret& operator=(const Secret&) = delete;
    ~Secret() { OV::SecureWipe(text_); }

    [[nodiscard]] const OV::UniString& Text() const noexcept { return text_; }

private:
    OV::UniString text_;
};

}  // namespace Syncra::Server::ManagementTool::Core
