#pragma once

#include "OVRoot/Exception.hpp"

#include <string>

/// What a call ended with: name and message of the exception, or "-" for none.
struct Thrown {
    std::string name = "-", message = "-";

    template <class Call>
    explicit Thrown(Call&& call)
    {
        try {
            call();
        } catch (const OV::Exception& failure) {
            name = failure.GetName();
            message = failure.what();
        }
    }
    /// Whether the message holds the text.
    [[nodiscard]] bool Tells(const std::string& text) const
    {
        return message.find(text) != std::string::npos;
    }
};
