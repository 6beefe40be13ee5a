#pragma once

#include "OVRoot/UniString.hpp"

#include <cstdint>

/// How the server's names of actions are shown. Names count to the letter.
class ActionNameTranslator {
public:
    /// Safe on any thread.
    [[nodiscard]] static const ActionNameTranslator& GetInstance();

    /// The 1-based item of string list TextList; 0 for an unknown name.
    [[nodiscard]] int GetTextResID(OV::UniStringView name) const;
    /// The number of a picture of the resources; 0 for an unknown name.
    [[nodiscard]] std::int16_t GetIconResID(OV::UniStringView name) const;

    static constexpr int TextList = 32180;
};
