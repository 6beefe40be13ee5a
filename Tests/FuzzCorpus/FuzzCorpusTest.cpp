#include "../Fuzz/Targets.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

struct Target {
    const char* folder;
    void (*run)(OV::StringView);
};

constexpr Target Targets[] = {
    {"mail_disk", Fuzz::MailDisk},
    {"mail_compact", Fuzz::MailCompact},
    {"mail_message", Fuzz::MailMessage},
    {"photo_stream", Fuzz::PhotoStream},
    {"log_index_stream", Fuzz::LogIndexStream},
    {"log_line_record", Fuzz::LogLineRecord},
    {"log_line_splitter", Fuzz::LogLineSplitter},
    {"statistics_stream", Fuzz::StatisticsStream},
};

}  // namespace

TEST(FuzzCorpusTest, KeepsItsPromisesForEveryInputThatTheFuzzersFound)
{
    const std::filesystem::path root = SYCLIENT_TEST_SOURCE_DIR "/Fuzz/corpus";
    for (const auto& target : Targets) {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(root / target.folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            EXPECT_NO_THROW(target.run(bytes)) << entry.path();
            ++count;
        }
        EXPECT_GT(count, 10) << target.folder;
    }
}
