#include "Commands/CommandTest.hpp"

#include "Display/ImageCoding.hpp"
#include "IO/ExclusiveFile.hpp"
#include "Support/TerminalRun.hpp"

#include <regex>

namespace {

using nlohmann::json;

class ProjectsCommandTest : public CommandTest {
protected:
    [[nodiscard]] std::size_t Count(std::vector<std::string> filter = {}) const
    {
        filter.insert(filter.begin(), {"projects", "--json"});
        return json::parse(Run(filter).output).at("projects").size();
    }
};

TEST_F(ProjectsCommandTest, ListsFiltersAndForgets)
{
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    ASSERT_EQ(Run(On("anna.novak", "North Station", {"open"})).code, 0);
    ASSERT_EQ(Run(On("marco.rossi", "Harbour Bridge", {"open", "--take-over"})).code, 0);
    const auto all = json::parse(Run({"projects", "--json"}).output).at("projects");
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].at("user"), "anna.novak");
    EXPECT_EQ(all[2].at("project"), "North Station");
    EXPECT_GT(all[0].at("sizeBytes"), 100);
    EXPECT_GT(all[0].at("lastOpened"), 1'600'000'000);

    const std::filesystem::path bridge = all[0].at("folder").get<std::string>();
    MarkUnsent(bridge);
    const struct {
        std::vector<std::string> filter;
        std::size_t count;
    } filters[] = {
        {{"--user", "marco.rossi"}, 1},
        {{"--server", "127.0.0.1"}, 3},
        {{"--server", "x"}, 0},
        {{"--name", "harbour"}, 2},
        {{"--unsent"}, 1},
    };
    for (const auto& [filter, count] : filters)
        EXPECT_EQ(Count(filter), count) << filter[0];

    const std::string name = bridge.filename();
    EXPECT_EQ(Run({"projects", "forget", name, "--yes"}).code, 1) << "unsent changes";
    EXPECT_EQ(Run({"projects", "forget", name, "--force"}).code, 2) << "nobody to ask";
    EXPECT_EQ(Run({"projects", "forget", "nothing", "--yes"}).code, 3);
    const std::vector<std::string> ask{SYCLIENT_TEST_CLI, "projects", "forget", name, "--force"};
    EXPECT_EQ(TerminalRun(ask, "[y/N]", {"n"}).code, 1);
    EXPECT_EQ(Count(), 3u);
    EXPECT_EQ(TerminalRun(ask, "[y/N]", {"y"}).code, 0);
    EXPECT_FALSE(std::filesystem::exists(bridge));

    server.Kill();
    EXPECT_EQ(Run(On("marco.rossi", "Harbour Bridge",
                     {"mail", "send", "--to", "anna.novak", "--text", "later"}))
                  .code,
              11);
    const std::string marco = json::parse(Run({"projects", "--unsent", "--json"}).output)
                                  .at("projects")
                                  .at(0)
                                  .at("folder");
    EXPECT_EQ(Run({"projects", "forget", marco, "--yes"}).code, 1) << "a mail waits";

    ASSERT_EQ(Run({"options", "set", "--last-used-days", "9"}).code, 0);
    const auto caches = json::parse(Run({"projects", "--json"}).output).at("projects");
    for (const auto& cache : caches) {
        const std::filesystem::path file = cache.at("folder").get<std::string>() + "/CacheInfo.xml";
        WriteBytes(file, std::regex_replace(ReadBytes(file), std::regex("Time>\\d+<"),
                                            "Time>1700000000<"));
    }
    EXPECT_EQ(Run({"projects", "clean"}).code, 0);
    EXPECT_EQ(Count(), 2u) << "only shown";
    EXPECT_EQ(Run({"projects", "clean", "--yes"}).code, 0);
    EXPECT_EQ(Count(), 1u);
    EXPECT_EQ(Count({"--unsent"}), 1u) << "unsent work stays";

    std::ofstream(marco + "/CacheInfo.xml") << "<Cache>";
    const auto damaged = Run({"projects"});
    EXPECT_EQ(damaged.code, 1);
    EXPECT_NE(damaged.errors.find("CacheInfo.xml"), std::string::npos) << "says which file";
    EXPECT_EQ(Run({"projects", "forget", marco, "--yes"}).code, 1) << "nobody knows what it holds";
    EXPECT_EQ(Run({"projects", "forget", marco, "--yes", "--force"}).code, 0);
    EXPECT_EQ(Count(), 0u);
}

TEST_F(ProjectsCommandTest, OptionsMoveTheDataFolderForEveryCommand)
{
    const auto place = folder.Path() / "Pl\xc3\xa4tze";
    EXPECT_EQ(Run({"options", "set", "--folder", "relative"}).code, 2);
    EXPECT_EQ(Run({"options", "set", "--period", "-5"}).code, 2);
    const auto set =
        Run({"options", "set", "--folder", place, "--auto-clean", "on", "--period", "5", "--json"});
    ASSERT_EQ(set.code, 0) << set.errors;
    EXPECT_EQ(Run({"options", "show", "--json"}).output, set.output);
    const auto options = json::parse(set.output);
    EXPECT_EQ(options.at("folder"), place.string());
    EXPECT_EQ(options.at("autoClean"), true);
    EXPECT_EQ(options.at("period"), 5);
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    EXPECT_EQ(Count(), 1u);
    EXPECT_FALSE(std::filesystem::is_empty(place));
    EXPECT_EQ(Count({"--data-folder", folder.Path() / "other"}), 0u);

    const auto file = folder.GetLocation().Appended(u"config").Appended(u"Orvant");
    const auto lock = IO::ExclusiveFile::TryOpen(file.Appended(u"@DataOptions.Lock"));
    ASSERT_TRUE(lock);
    EXPECT_EQ(Run({"options", "set", "--period", "6"}).code, 1);
    EXPECT_EQ(Run({"options", "show", "--json"}).output, set.output);
}

TEST_F(ProjectsCommandTest, PhotoFitsWhateverItIsGiven)
{
    const auto red = NewDisplay::NativeImage::FromPixels(2, 1, {0xFFFF0000, 0xFFFF0000});
    const std::string photo = folder.Path() / "red", out = folder.Path() / "out.png";
    std::ofstream(photo) << NewDisplay::EncodeImage(red, NewDisplay::ImageFormat::Png);
    std::ofstream(folder.Path() / "cut off") << ReadBytes(photo).substr(0, 50);
    const struct {
        std::string file, size;
        std::string out;
        int code;
    } cases[] = {
        {photo, "8x8", out, 0},
        {"", "20000x1", out, 0},
        {photo, "0x8", out, 2},
        {photo, "-1x8", out, 2},
        {photo, "99999999999x1", out, 2},
        {folder.Path() / "cut off", "8x8", out, 1},
        {folder.Path() / "nothing", "8x8", out, 1},
        {photo, "8x8", folder.Path() / "no folder" / "x.png", 1},
    };
    for (const auto& each : cases)
        EXPECT_EQ(
            Run({"photo", each.file, "--size", each.size, "--dimmed", "--out", each.out}).code,
            each.code)
            << each.file << ' ' << each.size;
    ASSERT_EQ(Run({"photo", photo, "--size", "8x8", "--out", out}).code, 0);
    const auto picture = NewDisplay::DecodeImage(ReadBytes(out), u"");
    EXPECT_EQ(picture.GetWidth(), 8);
    EXPECT_EQ(picture.GetPixel(4, 1), 0u);
    EXPECT_EQ(picture.GetPixel(4, 4), 0xFFFF0000);
}

}  // namespace
