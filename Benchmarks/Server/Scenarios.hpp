#pragma once

#include "MeasuredServer.hpp"

#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace Load {

/// What one run of a scenario found; not a number where the server cannot do it.
struct Figure {
    std::string name;
    double value = std::numeric_limits<double>::quiet_NaN();
};
using Figures = std::vector<Figure>;

/// Everything that a scenario needs: the program, and a store of the sample team that it may
/// change. In the store yuki.tanaka has a box of 100,000 mails and omar.haddad one of 40,000.
struct Stage {
    const Program& program;
    std::filesystem::path store;
};

struct Scenario {
    std::string name;
    std::function<Figures(const Stage&)> run;
};

/// A membership asked for at fixed times, alone and beside what takes long.
[[nodiscard]] Figures SmallRequestBeside(const Stage& stage);
/// Common requests to the store of the stage, and to the one that SYCLIENT_LARGE_STORE names, which
/// Tools/large-store/make made for this version; no figures without it.
[[nodiscard]] Figures LargeStoreBesideSmall(const Stage& stage);

/// A change of one of 10,000 members until 500 clients of theirs have it; the store as above.
[[nodiscard]] Figures MemberChange(const Stage& stage);

/// All of them, those that measure a busy server first.
[[nodiscard]] std::vector<Scenario> AllScenarios();

/// Makes the store of a Stage with the older of the programs.
void MakeStore(const Program& program, const std::filesystem::path& store);

}  // namespace Load
