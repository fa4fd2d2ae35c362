#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

std::string logged(int32_t level, const char *text) {
    testing::internal::CaptureStderr();
    log_printf(level, "sarnapi", 12, "%s", text);
    return testing::internal::GetCapturedStderr();
}

class Log : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/kora-log-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
        file = folder + "/log";
        __log_to_console = 1;
        __log_level = 1;
        __log_to_file = 0;
        __log_file_name = file.c_str();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string content() {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::string folder, file;
};

TEST_F(Log, ShowsWhatATerminalMayGet) {
    const struct {
        const char *name, *text, *shown;
    } cases[] = {
        {"plain", "SARN: done", "SARN: done"},
        {"line ends", "SARN: done \r\n", "SARN: done "},
        {"line inside", "a\nb", "a\\x0ab"},
        {"escape sequence", "\x1b[2J\x7f", "\\x1b[2J\\x7f"},
        {"format", "%n%s%d", "%n%s%d"},
        {"its own escape", "\\x1b", "\\\\x1b"},
        {"utf-8", "K\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80", "K\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80"},
        {"c1 control",
         "\xc2\x9b"
         "2J",
         "\\xc2\\x9b2J"},
        {"overlong", "\xc0\xaf\xe0\x80\xaf\xf0\x80\x80\xaf", "\\xc0\\xaf\\xe0\\x80\\xaf\\xf0\\x80\\x80\\xaf"},
        {"surrogate", "\xed\xa0\x80", "\\xed\\xa0\\x80"},
        {"past the last", "\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
        {"cut off", "x\xf0\x9f\x98", "x\\xf0\\x9f\\x98"},
        {"stray", "\x80\xff", "\\x80\\xff"},
    };
    for (const auto &c : cases) EXPECT_EQ(logged(4, c.text), std::string("4 sarnapi:12 ") + c.shown + "\n") << c.name;
}

TEST_F(Log, LongLinesAreCutWhole) {
    for (const auto &[size, byte] : {std::pair{1500, 'x'}, {5000, 'x'}, {5000, '\x1b'}}) {
        const std::string line = logged(1, std::string(static_cast<size_t>(size), byte).c_str());
        EXPECT_LE(line.size(), 4096U) << size;
        EXPECT_EQ(line.substr(line.size() - 4) == "...\n", size > 2048) << size;
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << size;
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
    EXPECT_EQ(logged(4, "first"), "");
    EXPECT_EQ(logged(1, "below"), "");
    EXPECT_EQ(logged(2, "second"), "");
    EXPECT_EQ(content(), "4 sarnapi:12 first\n2 sarnapi:12 second\n");
    EXPECT_EQ(std::filesystem::status(file).permissions() & std::filesystem::perms::others_all,
              std::filesystem::perms::none);
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
        threads.emplace_back([i] {
            for (int n = 0; n < 200; ++n)
                log_printf(1, "t", i, "%s", std::string(300, static_cast<char>('a' + i)).c_str());
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
