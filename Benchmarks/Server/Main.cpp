// Runs the same load against two server programs in turn and prints what it found side by side:
//   server_scenarios OLD NEW [ROUNDS [SCENARIO...]]

#include "Scenarios.hpp"

#include "OVRoot/System.hpp"
#include "Support/TemporaryFolder.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>

namespace {

using namespace Load;
namespace fs = std::filesystem;

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string Text(double value)
{
    if (std::isnan(value))
        return "-";
    char text[32];
    std::snprintf(text, sizeof text, std::abs(value) < 100 ? "%.3g" : "%.0f", value);
    return text;
}

/// Median, and the smallest and the largest of several.
std::string Text(const std::vector<double>& values)
{
    if (values.empty() ||
        std::any_of(values.begin(), values.end(), [](double v) { return v != v; }))
        return "-";
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return Text(Median(values)) +
           (values.size() > 1 ? " (" + Text(*least) + " to " + Text(*most) + ")" : "");
}

std::string LoadAverage()
{
    double loads[1] = {0};
    (void)getloadavg(loads, 1);
    return Text(loads[0]);
}

void CopyStore(const fs::path& from, const fs::path& to)
{
    for (const char* side : {"-wal", "-shm"})
        fs::remove(to.string() + side);
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

void Compare(const Scenario& scenario, const std::vector<const Program*>& programs, int rounds,
             const fs::path& folder)
{
    std::cout << "\n## " << scenario.name << " (load " << LoadAverage() << " before" << std::flush;
    std::vector<std::string> names;
    std::vector<std::vector<std::vector<double>>> found(programs.size());
    for (int round = 0; round < rounds; ++round)
        for (std::size_t which = 0; which < programs.size(); ++which) {
            CopyStore(folder / "made.db", folder / "store.db");
            const auto figures = scenario.run({*programs[which], folder / "store.db"});
            names.resize(figures.size());
            found[which].resize(figures.size());
            for (std::size_t i = 0; i < figures.size(); ++i) {
                names[i] = figures[i].name;
                found[which][i].push_back(figures[i].value);
            }
        }
    std::cout << ", " << LoadAverage() << " after)\n\n| what | old | new |\n|---|---|---|\n";
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::cout << "| " << names[i];
        for (const auto& ofProgram : found)
            std::cout << " | " << (i < ofProgram.size() ? Text(ofProgram[i]) : "-");
        std::cout << " |\n";
    }
    std::cout << std::flush;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::cerr
            << "server_scenarios OLD NEW [ROUNDS [SCENARIO...]]: compares two server programs\n";
        return 2;
    }
    try {
        (void)OV::System::RaiseDescriptorLimit();
        const TemporaryFolder folder;
        const Program older(argv[1]), newer(argv[2]);
        const std::vector<std::string> chosen(argv + std::min(argc, 4), argv + argc);
        MakeStore(older, folder.Path() / "made.db");
        for (const auto& scenario : AllScenarios())
            if (chosen.empty() || std::find_if(chosen.begin(), chosen.end(), [&](const auto& word) {
                                      return scenario.name.find(word) != std::string::npos;
                                  }) != chosen.end())
                Compare(scenario, {&older, &newer}, argc > 3 ? std::atoi(argv[3]) : 3,
                        folder.Path());
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "server_scenarios: " << error.what() << '\n';
        return 1;
    }
}
