#pragma once

#include "Support/FaultPlan.hpp"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

/// One access that is to fail.
struct Fault {
    Access access = Access::None;
    int error = 0;
    bool forGood = false;
    long number = 1;

    [[nodiscard]] std::string Describe() const
    {
        const std::string what = error == FaultPlan::Short ? "is short" : std::strerror(error);
        return std::string(AccessNames[static_cast<std::size_t>(access)]) + ' ' +
               std::to_string(number) + (forGood ? " and later: " : ": ") + what;
    }
};

/// The plan in its file, for the processes that find the file in their environment.
class FaultPlanFile {
public:
    /// Files count whose path begins with `counted`.
    FaultPlanFile(const std::filesystem::path& file, const std::string& counted) : file_(file)
    {
        const int opened = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (opened < 0 || ftruncate(opened, sizeof(FaultPlan)) != 0)
            throw std::runtime_error("no plan of faults can be made");
        plan_ = static_cast<FaultPlan*>(
            mmap(nullptr, sizeof(FaultPlan), PROT_READ | PROT_WRITE, MAP_SHARED, opened, 0));
        close(opened);
        if (plan_ == MAP_FAILED)
            throw std::runtime_error("no plan of faults can be mapped");
        counted.copy(plan_->folder, sizeof plan_->folder - 1);
        Arm({});
    }
    ~FaultPlanFile() { munmap(plan_, sizeof(FaultPlan)); }
    FaultPlanFile(const FaultPlanFile&) = delete;
    FaultPlanFile& operator=(const FaultPlanFile&) = delete;

    /// Counts from nothing. Without an access in it none fails.
    void Arm(const Fault& fault)
    {
        plan_->access = Access::None;
        plan_->count = 0;
        plan_->placed = 0;
        plan_->error = fault.error;
        plan_->forGood = fault.forGood;
        plan_->number = fault.number;
        plan_->access = fault.access;
    }
    [[nodiscard]] long Placed() const { return plan_->placed; }

    /// Whether the programs that are started from now on follow it.
    void PutIntoEnvironment(bool put) const
    {
        for (const auto& [name, value] : {std::pair{"LD_PRELOAD", SYCLIENT_TEST_FAULTS},
                                          std::pair{FaultPlan::Variable, file_.c_str()}})
            put ? setenv(name, value, 1) : unsetenv(name);
    }

private:
    std::filesystem::path file_;
    FaultPlan* plan_;
};
