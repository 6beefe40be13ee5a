#pragma once

#include "OVRoot/Resources.hpp"

#include <functional>
#include <vector>

/// The alerts of the library while it lives.
class AlertRecorder : public OV::AlertPresenter {
public:
    AlertRecorder() : former_(SetCurrent(this)) {}
    ~AlertRecorder() override { SetCurrent(former_); }
    int Show(const OV::AlertResource& alert) override
    {
        shown.push_back(alert);
        if (meanwhile)
            meanwhile();
        if (fails)
            throw 1;
        return 1;
    }
    [[nodiscard]] std::vector<int> Numbers() const
    {
        std::vector<int> numbers;
        for (const auto& alert : shown)
            numbers.push_back(alert.number);
        return numbers;
    }

    std::vector<OV::AlertResource> shown;
    std::function<void()> meanwhile;
    bool fails = false;

private:
    OV::AlertPresenter* former_;
};
