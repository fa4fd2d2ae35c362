#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/kora.h"

extern "C" {
int32_t __log_to_console = 1;
int32_t __log_level = 1;
int32_t __log_to_file = 0;
const char *__log_file_name = nullptr;
}

namespace {

std::string logged(int32_t level, const std::string &text) {
    testing::internal::CaptureStderr();
    log_printf(level, "sarnapi", 12, "%s", text.c_str());
    return testing::internal::GetCapturedStderr();
}

class Log : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        file = folder + "/log";
        __log_to_console = __log_level = 1;
        __log_to_file = 0;
        __log_file_name = file.c_str();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string folder = testing::TempDir() + "kora-log-XXXXXX", file;
};

TEST_F(Log, ShowsWhatATerminalMayGet) {
    const std::string terse = "\xc2\x9b";
    const std::pair<std::string, const char *> cases[] = {
        {"SARN: done \r\n", "SARN: done "},
        {"a\nb", "a\\x0ab"},
        {"\x1b[2J\x7f", "\\x1b[2J\\x7f"},
        {"%n%s%d", "%n%s%d"},
        {"\\x1b", "\\\\x1b"},
        {"K\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80", "K\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80"},
        {terse + "2J", "\\xc2\\x9b2J"},
        {"overlong \xc0\xaf\xe0\x80\xaf\xf0\x80\x80\xaf", "overlong \\xc0\\xaf\\xe0\\x80\\xaf\\xf0\\x80\\x80\\xaf"},
        {"surrogate \xed\xa0\x80", "surrogate \\xed\\xa0\\x80"},
        {"past the last \xf4\x90\x80\x80", "past the last \\xf4\\x90\\x80\\x80"},
        {"stray \x80\xff, cut off \xf0\x9f\x98", "stray \\x80\\xff, cut off \\xf0\\x9f\\x98"},
    };
    for (const auto &[text, shown] : cases) EXPECT_EQ(logged(4, text), std::string("4 sarnapi:12 ") + shown + "\n");
}

TEST_F(Log, LongLinesAreCutWhole) {
    for (const auto &[size, byte] : {std::pair{1500U, 'x'}, {5000U, 'x'}, {5000U, '\x1b'}}) {
        const std::string line = logged(1, std::string(size, byte));
        EXPECT_LE(line.size(), 4096U) << size;
        EXPECT_EQ(line.ends_with("...\n"), size > 2048) << size;
        EXPECT_EQ(line.find('\n'), line.size() - 1) << size;
    }
}

TEST_F(Log, ControlsAreObeyed) {
    __log_level = 2;
    EXPECT_EQ(logged(1, "below"), "");
    EXPECT_NE(logged(2, "at"), "");
    __log_to_console = 0;
    EXPECT_EQ(logged(4, "nowhere"), "");
    EXPECT_FALSE(std::filesystem::exists(file));
    __log_to_file = 1;
    for (const int32_t level : {4, 1, 2}) EXPECT_EQ(logged(level, "x"), "");
    std::string lines[3];
    std::ifstream stream(file);
    for (std::string &line : lines) std::getline(stream, line);
    EXPECT_EQ(lines[0] + lines[1] + lines[2], "4 sarnapi:12 x2 sarnapi:12 x");
    const auto others = std::filesystem::perms::others_all;
    EXPECT_EQ(std::filesystem::status(file).permissions() & others, std::filesystem::perms::none);
}

TEST_F(Log, AnUnusableFileHarmsNothing) {
    __log_to_file = 1;
    std::filesystem::create_symlink(folder + "/target", file);
    errno = ENOTTY;
    log_printf(4, nullptr, 1, "through a link");
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_FALSE(std::filesystem::exists(folder + "/target"));
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    logged(4, "a pipe without a reader");
    __log_file_name = nullptr;
    logged(4, "no name");
}

TEST_F(Log, LinesOfThreadsDoNotMix) {
    __log_to_console = 0;
    __log_to_file = 1;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([text = std::string(300, static_cast<char>('a' + i))] {
            for (int n = 0; n < 200; ++n) log_printf(1, "t", 7, "%s", text.c_str());
        });
    }
    for (std::thread &thread : threads) thread.join();
    std::ifstream stream(file);
    int lines = 0;
    for (std::string line; std::getline(stream, line); ++lines)
        EXPECT_EQ(line.substr(6), std::string(300, line.back()));
    EXPECT_EQ(lines, 800);
}

}  // namespace
