// Runs the tool as a person does, on a library that answers as told (fake_sarn.cpp) and on the real one.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "run_tool.h"
#include "sarn.h"

namespace {

TEST(SarnTool, ExitCodesAndWords) {
    const struct {
        const char *script, *arguments;
        int exit_code;
        const char *words;
    } rows[] = {
        {"", "--help", 0, "list"},
        {"", "show --help", 0, "DEVICE"},
        {"", "--version", 0, "sarn "},
        {"", "", 2, "a command is required"},
        {"", "nonsense", 2, "nonsense"},
        {"", "list extra", 2, "extra"},
        {"", "show", 2, "DEVICE"},
        {"", "show 256", 2, "neither a row (0 to 255) nor a MAC"},
        {"", "show 1x", 2, "neither a row"},
        {"", "show ''", 2, "neither a row"},
        {"", "show 0001", 2, "neither a row"},
        {"find=9 9=0", "show 2:0:0:0:0:1 --json", 0, "\"row\": 9"},
        {"find=-1", "show 2:0:0:0:0:1", 1, "no device with this MAC address (code -1)"},
        {"find=9 9=0", "show 2:0:0:0:0:2", 1, "no device with this MAC"},
        {"", "--log-level 9 list", 2, "--log-level"},
        {"", "list --log-level 1", 0, "VENDOR CLASS"},
        {"9=0", "list", 0, "  \\x1b]0;owned\\x07\"M\xc3\xbcller\"\\x0a%n%s  "},
        {"start=-24", "list", 3, "the store cannot be opened (code -24)"},
        {"4=0 states=-1", "list", 3, "could not read a row (code -1)"},
        {"writer=1 start=-24", "status", 3, "process 1 does not go on"},
        {"open=-1 start=-24", "status", 3,
         "sarn: cannot open the device list: the store cannot be opened (code -24)\n"},
        {"9=-12", "show 9", 1, "row 9: no device in that row (code -12)"},
        {"9=-2", "show 9", 3, "cannot read row 9"},
        {"", "list --state gone", 2, "--state"},
        {"", "list --json=", 2, "not expected"},
        {"0=0 2=0 3=0 255=0", "list --state free", 0, "4 free rows: 0, 2-3, 255\n"},
        {"", "list --state free", 0, "0 free rows\n"},
        {"acl=1", "access", 0, "on\n"},
        {"acl=-21", "access", 3, "could not read it (code -21)"},
        {"upgrade=1", "upgrade", 3, "refused a read or a write (code 1)"},
        {"", "access on --json", 2, "--json"},
        {"9=0", "list >/dev/full", 5, "cannot write the output"},
        {"", "--help >/dev/full", 5, "cannot write the output"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.script) + " | " + row.arguments);
        const Result result = run_on_fake(row.script, "2>&1 " + std::string(row.arguments));
        EXPECT_EQ(result.exit_code, row.exit_code);
        EXPECT_TRUE(has(result.out, row.words)) << result.out;
    }
}

TEST(SarnTool, ClosedPipeIsNoticed) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const Result result = run_on_fake("9=0", "list 2>&1 >&" + std::to_string(ends[1]));
    close(ends[1]);
    EXPECT_EQ(result.exit_code, 5);
    EXPECT_TRUE(has(result.out, "Broken pipe")) << result.out;
}

TEST(SarnTool, WaitsForAPipeThatDoesNot) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    ASSERT_GT(fcntl(ends[1], F_SETPIPE_SZ, 1), 0);
    std::string script;
    for (int row = 0; row < SARN_ROWS; ++row) script += std::to_string(row) + "=0 ";
    const std::string command = "SARN_FAKE='" + script + "' '" SARN_TOOL_ON_FAKE "' list --json >&";
    FILE *tool = popen((command + std::to_string(ends[1])).c_str(), "r");
    close(ends[1]);
    std::string out;
    char buffer[4096];
    for (pollfd end = {ends[0], POLLIN, 0}; poll(&end, 1, -1) > 0 && (end.revents & POLLIN) != 0;)
        out.append(buffer, static_cast<size_t>(read(ends[0], buffer, sizeof buffer)));
    close(ends[0]);
    EXPECT_EQ(pclose(tool), 0);
    EXPECT_EQ(nlohmann::json::parse(out).size(), size_t{SARN_ROWS});
}

TEST(SarnTool, ListSkipsRowsThatVanishAndKeepsTheOthersWhenOneFails) {
    const Result vanished = run_on_fake("0=-12 31=0 32=-12 255=0", "list --json");
    EXPECT_EQ(vanished.exit_code, 0);
    const auto array = nlohmann::json::parse(vanished.out);
    ASSERT_EQ(array.size(), 2u);
    EXPECT_EQ(array[0]["row"], 31);
    EXPECT_EQ(array[1]["row"], 255);

    const Result failed = run_on_fake("3=-2 4=0", "list --json 2>/dev/null");
    EXPECT_EQ(failed.exit_code, 3);
    EXPECT_EQ(nlohmann::json::parse(failed.out).size(), 1u);
    EXPECT_EQ(nlohmann::json::parse(run_on_fake("", "list --json").out), nlohmann::json::array());
}

TEST(SarnTool, NoRawBytesOfAClientReachTheTerminal) {
    for (const char *arguments : {"list", "list --wide", "show 4", "list --json", "show 4 --json"}) {
        const std::string out = run_on_fake("4=0", arguments).out;
        EXPECT_GT(out.size(), 80u) << arguments;
        for (const char c : out) EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= ' ') << arguments;
        for (const char *raw : {"\x7f", "\xff", "\xc2\x9b", "\xc0"}) EXPECT_FALSE(has(out, raw)) << arguments;
    }
}

TEST(SarnTool, ShowsEveryFieldOfTheRecord) {
    EXPECT_EQ(run_on_fake("4=0", "show 4 | grep -c '^  '").out, "35\n");
    const std::string out = run_on_fake("4=0", "show 4").out;
    for (const char *part : {"\\x1b]0;owned\\x07\"M\xc3\xbcller\"\\x0a%n%s", "\xe7\x8c\xab", "02:00:00:00:00:01",
                             "  -1\n", "1970-01-0", "(86400)", "(not readable)"})
        EXPECT_TRUE(has(out, part)) << part << "\n" << out;
}

TEST_F(ToolOnStore, ShowsWhatAProducerReported) {
    __log_level = 4;
    const signature_record report = {"", "kitchen\033[2J", "", "", "", "", "02:aa:bb:cc:dd:ee", "10.0.0.7", "UP"};
    ASSERT_EQ(sarn_init(), SARN_OK);
    ASSERT_EQ(update_device_signature(&report, 20), SARN_OK);
    ASSERT_EQ(sarn_uninit(), SARN_OK);

    EXPECT_EQ(run_tool("list").out,
              "ROW  NAME            MAC                IP        STATE  ACCESS  TYPE  VENDOR CLASS\n"
              "0    kitchen\\x1b[2J  02:AA:BB:CC:DD:EE  10.0.0.7  UP     allow   -     -\n");
    EXPECT_EQ(nlohmann::json::parse(run_tool("show 0 --json").out)["DeviceHostname"], "kitchen\033[2J");
    EXPECT_EQ(run_tool("show 1 2>&1 | grep -c 'no device in that row'").out, "1\n");

    // With its output closed the tool must not take the store for it, nor may the library's messages go there.
    EXPECT_EQ(run_tool("list >&- 2>/dev/null").exit_code, 5);
    for (const char *closed : {"2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
        run_tool("--log-level 1 list " + std::string(closed));
        EXPECT_TRUE(has(run_tool("list").out, "10.0.0.7")) << closed;
    }
}

}  // namespace
