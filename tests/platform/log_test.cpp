#include <sys/ioctl.h>

#include "tests/platform/support.h"

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

TEST(Log, ShowsWhatATerminalMayGet) {
    const std::pair<std::string, const char *> cases[] = {
        {"SARN: done \r\n", "SARN: done "},
        {"a\nb\x1b[2J\x7f", "a\\x0ab\\x1b[2J\\x7f"},
        {"%n%s \\x1b", "%n%s \\\\x1b"},
        {"K\xc3\xbc\xed\x95\x9c\xc2\xa0\xf0\x90\x80\x80", "K\xc3\xbc\xed\x95\x9c\xc2\xa0\xf0\x90\x80\x80"},
        {"terse \xc2\x9b", "terse \\xc2\\x9b"},
        {"overlong \xc0\xaf\xe0\x80\xaf\xf0\x80\x80\xaf", "overlong \\xc0\\xaf\\xe0\\x80\\xaf\\xf0\\x80\\x80\\xaf"},
        {"surrogate \xed\xa0\x80, too high \xf4\x90\x80\x80",
         "surrogate \\xed\\xa0\\x80, too high \\xf4\\x90\\x80\\x80"},
        {"stray \x80\xff, cut off \xf0\x9f\x98", "stray \\x80\\xff, cut off \\xf0\\x9f\\x98"},
    };
    for (const auto &[text, shown] : cases) EXPECT_EQ(logged(4, text), std::string("4 sarnapi:12 ") + shown + "\n");
    for (const auto &[size, byte] : {std::pair{1500U, 'x'}, {5000U, 'x'}, {5000U, '\x1b'}}) {
        const std::string line = logged(1, std::string(size, byte));
        EXPECT_TRUE(line.size() <= 4096 && line.find('\n') == line.size() - 1) << line;
        EXPECT_EQ(line.ends_with("...\n"), size > 2048) << line;
    }
}

TEST(Log, ALineIsOneWriteSoThatProcessesDoNotMixTheirsAndIsLostWithoutAReader) {
    const auto log_twice = [] {
        int ends[2];
        char got[100];
        if (pipe2(ends, O_DIRECT) != 0 || dup2(ends[1], STDERR_FILENO) < 0) return 1;
        log_printf(4, nullptr, 1, "whole");
        const ssize_t size = read(ends[0], got, sizeof got);
        close(ends[0]);
        log_printf(4, nullptr, 1, "read by none");
        return size > 0 && std::string_view(got, static_cast<size_t>(size)).ends_with("whole\n") ? 0 : 2;
    };
    EXPECT_EQ(run_process(log_twice), 0);
}

TEST(Log, ControlsAreObeyedAndAnUnusableFileHarmsNothing) {
    std::string folder = testing::TempDir() + "kora-log-XXXXXX", file = mkdtemp(folder.data()) + std::string("/log");
    __log_level = 2;
    EXPECT_EQ(logged(1, "below"), "");
    EXPECT_NE(logged(2, "at"), "");
    __log_to_console = 0;
    __log_to_file = 1;
    EXPECT_EQ(logged(4, "no name"), "");
    __log_file_name = file.c_str();
    for (const int32_t level : {4, 1, 2}) EXPECT_EQ(logged(level, "x"), "");
    const std::string all = content_of(file);
    EXPECT_EQ(all, "4 sarnapi:12 x\n2 sarnapi:12 x\n");
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(file).permissions()) & 7, 0U) << "everyone may read it";
    const std::string target = folder + "/target";
    std::filesystem::rename(file, target);
    const std::pair<const char *, std::function<int()>> others[] = {
        {"a link", [&] { return symlink(target.c_str(), file.c_str()); }},
        {"a second name", [&] { return link(target.c_str(), file.c_str()); }},
        {"a pipe", [&] { return mkfifo(file.c_str(), 0600) == 0 ? open(file.c_str(), O_RDWR | O_NONBLOCK) : -1; }},
        {"another's file",
         [&] {
             return chmod(folder.c_str(), 01777) + rename(target.c_str(), file.c_str()) + chown(file.c_str(), 4321, 0);
         }},
    };
    for (const auto &[what, lay_there] : others) {
        if (geteuid() != 0 && &what == &std::rbegin(others)->first) continue;  // only root gives files away
        EXPECT_GE(lay_there(), 0) << what;
        errno = ENOTTY;
        log_printf(4, nullptr, 1, "to what is not its own");
        EXPECT_EQ(errno, ENOTTY) << what;
        struct stat status = {};
        int unread = 0;
        const int fd = open(file.c_str(), O_RDONLY | O_NONBLOCK);
        EXPECT_TRUE(fstat(fd, &status) == 0 && static_cast<size_t>(status.st_size) <= all.size()) << what;
        EXPECT_TRUE(!S_ISFIFO(status.st_mode) || (ioctl(fd, FIONREAD, &unread) == 0 && unread == 0)) << what;
        std::filesystem::remove(file);
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
