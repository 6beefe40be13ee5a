#include "../Fuzz/Targets.hpp"
#include "Support/FileBytes.hpp"

#include <gtest/gtest.h>

#include <filesystem>

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
            EXPECT_NO_THROW(target.run(ReadBytes(entry.path()))) << entry.path();
            ++count;
        }
        EXPECT_GT(count, 10) << target.folder;
    }
}
