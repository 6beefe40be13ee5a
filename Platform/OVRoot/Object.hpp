#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <utility>

namespace OV {

/// Base of values whose type is known only when the program runs.
class SYC_API Object {
public:
    virtual ~Object() = default;
};

/// A text as such a value.
class SYC_API UniStringObject final : public Object {
public:
    /// Takes the text over.
    explicit UniStringObject(UniString text) : text_(std::move(text)) {}
    /// Valid as long as the object.
    [[nodiscard]] const UniString& Get() const noexcept { return text_; }

private:
    UniString text_;
};

}  // namespace OV
