// Runs the tool as a person does, on a library that answers as told (fake_sarn.cpp) and on the real one.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "run_program.h"

namespace {

using nlohmann::json;

struct Row {
    std::string arguments;
    const char *words;  // all that is said, when empty
    int exit_code = 2;
    std::string script = "start=-24";
};

void expect(const std::vector<Row> &rows) {
    setenv("MAC", "2:0:0:0:0:1", 1);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.script + " | " + row.arguments.substr(0, 80));
        const auto [exit_code, out] = run(SARN_TOOL_ON_FAKE, row.arguments, "SARN_FAKE='" + row.script + "'");
        EXPECT_EQ(exit_code, row.exit_code);
        EXPECT_TRUE(row.words[0] == '\0' ? out.empty() : has(out, row.words)) << out;
        const auto is_raw = [](uint8_t c) { return (c < ' ' && c != '\n') || c == 0x7f || c == 0xff; };
        EXPECT_TRUE(std::ranges::none_of(out, is_raw) && !has(out, "\xc2\x9b")) << out;
    }
}

TEST(SarnTool, TellsWhatItReads) {
    int ends[2];
    ASSERT_TRUE(pipe(ends) == 0 && dup2(ends[1], 9) == 9 && close(ends[0]) == 0 && close(ends[1]) == 0);
    expect({
        {"show 2:0:0:0:0:2", "no device with this MAC address (code -1)", 1, "find=9 9=0"},
        {"show 9", "row 9: no device in that row (code -12)", 1, "9=-12"},
        {"show 4", "\\x1b]0;owned\\x07\"M\xc3\xbcller\"\\x0a%n%s", 0, "4=0"},
        {"show 4", " (86400)\n  producer                       -1\n  recogniser's answer            (not readable)\n",
         0, "4=0"},
        {"show 4 | grep -c '^  '", "35\n", 0, "4=0"},
        {"show 4 --json", "\"\\ufffd\\ufffd\\ufffd\\u009b\\u007f\",\n", 0, "4=0"},
        {"show 4 --json", "\"DeviceUUID\": null,\n", 0, "4=0"},
        {"list --json", "[\n  {\n    \"row\": 255,", 0, "0=-12 255=0"},
        {"list --json", "\"row\": 32,", 3, "31=-2 32=0"},
        {"list --wide", "DHCP OPTIONS\n4    \\x1b", 0, "4=0"},
        {"list --state free", "4 free rows: 0, 2-3, 255\n", 0, "0=0 2=0 3=0 255=0"},
        {"list --state free", "1 free row: 7\n", 0, "7=0"},
        {"list", "could not read a row (code -1)", 3, "4=0 states=-1"},
        {"status", "process 1 does not go on", 3, "writer=1 start=-24"},
        {"status", "sarn: cannot open the device list: the store cannot be opened (code -24)\n", 3,
         "open=-1 start=-24"},
        {"types", "ID  TYPE  KEYS\n0", 0, ""},
        {"access", "on\n", 0, "acl=1"},
        {"access", "could not read it (code -21)", 3, "acl=-21"},
        {"upgrade", "refused a read or a write (code 1)", 3, "upgrade=1"},
        {"list >&9", "Broken pipe", 5, "9=0"},
        {"--help >/dev/full", "cannot write the output", 5, ""},
    });
    close(9);
}

TEST(SarnTool, RefusesBeforeTheLibraryIsAsked) {
    const std::string long_text(65, 'x');
    for (const char *row : {"256", "1x", "''", "0001"})
        expect({{"show " + std::string(row), "neither a row (0 to 255) nor a MAC"}});
    for (const char *producer : {"7", "110", "10x"})
        expect({{"name $MAC x --producer " + std::string(producer), "not a producer"}});
    expect({
        {"", "a command is required"},
        {"nonsense", "nonsense"},
        {"show 000000000000", "stands for no device"},
        {"--log-level 9 list", "--log-level"},
        {"list --json=", "not expected"},
        {"name " + long_text.substr(26) + "\xc3\xbcxx x", "x...' is not a MAC address"},
        {"name \"$(printf '\\033[2J\\377')\" x", "'\\x1b[2J\\xff' is not a MAC"},
        {"name 0:0:0:0:0:0 x", "stands for no device"},
        {"name $MAC " + long_text, "a name takes at most 64 bytes"},
        {"type $MAC " + long_text.substr(32), "a type takes at most 32 bytes"},
        {"block $MAC '[]'", "not in brackets"},
        {"set $MAC colour x", "'colour' is not a field"},
        {"set $MAC ssid " + std::string(256, 's'), "ssid takes at most 255 bytes"},
        {"set $MAC ip 10.0.0.256", "not an IPv4 address"},
        {"set $MAC access Block", "allow or block, not 'Block'"},
        {"set $MAC user-agent ''", "cannot be emptied"},
        {"report", "a kind of report is required"},
        {"report connection $MAC --ssid " + long_text.substr(33), "--ssid takes at most 31 bytes"},
        {"report signature $MAC --ip 1.2.3.4", "--state is required"},
        {"report signature $MAC --ip ' 1.2.3.4' --state UP", "not an IPv4 address"},
        {"report signature $MAC --ip 1.2.3.4 --state UP --dhcp-options= --dhcp-vendor v", "with --dhcp-options"},
        {"access maybe", "STATE"},
    });
}

TEST(SarnTool, TellsWhatWasNotWritten) {
    const std::string signature = "report signature $MAC --ip 1.2.3.4 --state ";
    expect({
        {"name $MAC x", "cannot write the name of 02:00:00:00:00:01: no device with this MAC address", 1, "text=-2"},
        {"type $MAC x", "no worker thread could be created (code -16)", 3, "text=-16"},
        {"brand $MAC x", "unexpected answer of the library (code -77)", 3, "text=-77"},
        {"brand $MAC x", "still shows another brand", 3, ""},
        {"name $MAC x", "", 0, "keeps=3"},  // others wrote the device in between
        {"name $MAC x", "still shows another", 3, "keeps=4"},
        {"report detail $MAC", "still shows an older time", 3, ""},
        {"allow $MAC", "still shows another access", 3, ""},
        {"forget $MAC", "still in the list", 3, ""},
        {"forget $MAC", "cannot tell whether", 3, "find=-16"},
        {"forget $MAC", "", 0, "find=-1"},
        {"set $MAC uuid x", "cannot write the uuid of", 1, "set=-12"},
        {"set $MAC state DOWN", "", 0, "find=-1"},  // a crowded list gives it up
        {"set $MAC state UP", "no device", 1, "find=-1"},
        {"set $MAC state x", "still shows another state", 3, ""},
        {"report detail $MAC", "no device", 1, "detail=-12"},
        {"report detail $MAC --os x", "still shows another", 3, ""},
        {signature + "UP --producer 30", "got no row", 1, "signature=-12"},
        {signature + "UP", "got no row", 1, "signature=-12 used=256"},
        {signature + "UP", "could not keep the device", 3, "signature=-12 used=255"},
        {signature + "UP", "no device", 1, "find=-1"},
        {signature + "DOWN", "", 0, "find=-1"},
        {"access on", "cannot turn access on", 3, "acl=1"},
        {"refresh", "running already (code 19)", 4, "refresh=19"},
        {"save", "not saved: the store could not write its copy (code -5)", 3, "save=-5"},
        {"save", "cannot be opened", 3, "open=-1"},
    });
}

class ToolOnStore : public OnStore {
protected:
    ToolOnStore() { setenv("MAC", "2:0:0:0:0:a", 1); }
    static Result tool(const std::string &arguments) { return run(SARN_TOOL, arguments); }
    static json json_of(const std::string &arguments) { return json::parse(tool(arguments + " --json").out); }
};

// In this order, on one device: what is typed, and what the device then holds. The tool looks at the rest itself.
TEST_F(ToolOnStore, EachCommandWritesItsFields) {
    const std::string dots(64, '.');
    std::vector<std::pair<std::string, std::string>> rows = {
        {"report signature $MAC --ip 10.0.0.7 --state DOWN --interface lan --category c --dhcp-options 1,3 "
         "--dhcp-vendor 'v 1' --dhcp-hostname host --user-agent agent --producer 20",
         R"("DeviceDHCPVendor": "v 1")"},
        {"report detail $MAC --brand B --model M --type GARAGE --os O --mac-vendor V", R"("DeviceTypeDPI": "GARAGE")"},
        {"report detail $MAC --brand= --model=", R"("DeviceBrand": "")"},
        {"report connection $MAC --ssid s --ap-mac 020a.0000.0002 --signal=-40 --link-rate 1 --download 2 --upload 3",
         "\"UploadBW\": \"3\",\n  \"DownloadBW\": \"2\""},
        {"name 02000000000a \"Anna's \\\"TV\\\" %n%s\"", R"("DisplayNameCustom": "Anna's \"TV\" %n%s")"},
        {"name $MAC list", R"("DisplayNameCustom": "list")"},
        {"name $MAC '[a,b]'", R"("DisplayNameCustom": "[a,b]")"},
        {"name $MAC -- --x=", R"("DisplayNameCustom": "--x=")"},
        {"name $MAC " + dots, R"("DisplayNameCustom": ")" + dots.substr(1) + '"'},
        {"name $MAC '' --producer 010", R"("DisplayNameCustom": "")"},
        {"type $MAC TV --producer 100", R"("DeviceTypeCustom": "TV")"},
        {"model $MAC m", R"("DisplayModelCustom": "m")"},
        {"brand $MAC b", R"("DisplayBrandCustom": "b")"},
        {"set $MAC ssid ''", R"("ConnSSID": "")"},
        {"set $MAC access allow", R"("AllowOrBlock": "allow")"},
        {"set $MAC ap-mac 2-0-0-0-0-3", R"("ConnAPMac": "02:00:00:00:00:03")"},
    };
    std::istringstream fields(
        "name DisplayNameCustom n2 type DeviceTypeCustom t2 brand DisplayBrandCustom b2 model DisplayModelCustom m2 "
        "category DeviceCategory c2 uuid DeviceUUID u2 access AllowOrBlock block state Devicestate DOWN "
        "tag IsTagged BOTH ip DeviceIP 10.0.0.8 interface DeviceConnectionInterface i2 signal DeviceSignalStrength 1 "
        "ssid ConnSSID s2 link-rate DeviceLinkRate 2 download DownloadBW 3 upload UploadBW 4 "
        "dhcp-hostname DisplayNameDPI h2 dhcp-vendor DeviceDHCPVendor v2 dhcp-options DeviceDHCPOptions 9 "
        "user-agent DeviceHua a2");
    for (std::string field, member, value; fields >> field >> member >> value;)
        rows.emplace_back("set $MAC " + field + ' ' + value, '"' + member + "\": \"" + value + '"');
    for (const auto &[arguments, shown] : rows) {
        EXPECT_EQ(tool(arguments).exit_code, 0) << arguments;
        EXPECT_TRUE(has(tool("show $MAC --json").out, shown)) << arguments;
    }
}

TEST_F(ToolOnStore, ForgetsBlocksAndCounts) {
    for (const std::string device : {"a --state UP", "b --state DOWN", "c --state x"})
        ASSERT_EQ(tool("report signature --ip 10.0.0.1 2:0:0:0:0:" + device).exit_code, 0);
    EXPECT_EQ(tool("block $MAC 2:0:0:0:0:d").exit_code, 1);
    EXPECT_FALSE(has(tool("list").out, "block")) << "one is unknown, so none is changed";
    EXPECT_EQ(tool("block $MAC 2:0:0:0:0:b").exit_code, 0);
    EXPECT_EQ(tool("block $MAC").exit_code, 4);
    EXPECT_EQ(tool("upgrade on").exit_code, 0);
    const std::string status = tool("status").out;
    EXPECT_TRUE(has(status, folder + "/store.mdb ("));
    EXPECT_EQ(status.substr(status.find('\n')),
              "\nrows used       3 of 256\n  up            1\n  offline       1\n  other state   1\n"
              "rows free       253\naccess control  off\nupgrade         on\n");
    const json counts = json_of("status");
    EXPECT_TRUE(counts["size"] > 0 && counts["free"] == 253 && counts["stuck_writer"].is_null()) << counts;
    EXPECT_EQ(json_of("list --state down")[0]["DeviceMAC"], "02:00:00:00:00:0B");
    EXPECT_EQ(tool("forget $MAC").exit_code, 4);
    EXPECT_EQ(tool("forget 2:0:0:0:0:b").exit_code, 0);
    EXPECT_EQ(tool("forget 2:0:0:0:0:b").exit_code, 1);
    EXPECT_EQ(json_of("list --state free")[0]["row"], 1);
}

TEST_F(ToolOnStore, ListsAndNeverTakesTheStoreForItsOutput) {
    ASSERT_EQ(tool("report signature $MAC --ip 10.0.0.7 --state UP").exit_code, 0);
    for (const char *closed : {"", "2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
        tool("--log-level 1 list " + std::string(closed));
        EXPECT_EQ(tool("list").out,
                  "ROW  NAME  MAC                IP        STATE  ACCESS  TYPE  VENDOR CLASS\n"
                  "0    -     02:00:00:00:00:0A  10.0.0.7  UP     allow   -     -\n")
            << closed;
    }
    EXPECT_EQ(tool("list >&-").exit_code, 5);
}

TEST_F(ToolOnStore, FitsATerminalAndColoursIt) {
    const std::string report = "report signature $MAC --ip 10.0.0.7 --state UP --dhcp-options 1 --dhcp-vendor ";
    ASSERT_EQ(tool(report + std::string(60, 'v')).exit_code, 0);
    const auto has_on = [](const std::string &columns, const std::string &environment, const std::string &words) {
        const std::string command = "stty cols " + columns + "; " SARN_TOOL " list";
        return has(run("script", "-qec '" + command + "' /dev/null", environment).out, words);
    };
    EXPECT_TRUE(
        has_on("90", "NO_COLOR= TERM=linux", "\x1b[32mUP\x1b[0m     allow   -     " + std::string(28, 'v') + "…\r"));
    for (const char *environment : {"NO_COLOR=1 TERM=linux", "NO_COLOR= TERM=dumb"})
        EXPECT_TRUE(has_on("40", environment, "UP     allow   -     " + std::string(18, 'v') + "…\r"));
}

TEST_F(ToolOnStore, TypesAreAllThereAndTheFirstOfTwoKeysCounts) {
    const std::string words = tool("types").out;
    for (const auto &row : json_of("types")) EXPECT_TRUE(has(words, row["key"])) << row;
    EXPECT_LT(words.find("GARAGE"), words.find("Security (Generic)"));
    EXPECT_EQ(words.find("GARAGE"), words.rfind("GARAGE"));
}

TEST_F(ToolOnStore, LogLevelChoosesWhatIsSaid) {
    EXPECT_EQ(tool("name $MAC x").out,
              "sarn: cannot write the name of 02:00:00:00:00:0A: no device with this MAC address (code -2)\n");
    EXPECT_TRUE(has(tool("--log-level 4 name $MAC x").out, "sarn: 4 sarnapi:"));
    EXPECT_FALSE(has(tool("--log-level 4 name $MAC x").out, "sarn: 1 "));
    EXPECT_TRUE(has(tool("--log-level 1 list").out, "sarn: 1 sarnapi:"));
    EXPECT_TRUE(has(tool("log-level --log-level 2").out, "failures  <- now\n4      "));
    EXPECT_TRUE(has(tool("log-level --log-level 3").out, "<- now\n5      "));
    EXPECT_EQ(json_of("--log-level 2 log-level")["level"], 2);
    setenv("KORA_SAVE", "", 1);
    EXPECT_TRUE(has(tool("save").out, "KORA_SAVE")) << "why the store failed";
    EXPECT_FALSE(has(tool("save --log-level 5").out, "KORA"));
}

TEST_F(ToolOnStore, CompletionOffersWhatTheToolTakes) {
    const auto offered = [](const std::string &typed) {
        const char *script =
            "'PATH=${0%/*}:$PATH; . $1/packaging/completion/sarn; COMP_WORDBREAKS=\" :\" COMP_LINE=$2 "
            "COMP_POINT=${#2}; _sarn; printf %s \"${COMPREPLY[*]}\"' '" SARN_TOOL "' '" SARN_SOURCE "' ";
        return run("bash", std::string("-c ") + script + "'" + typed + "'").out;
    };
    EXPECT_EQ(offered("sarn show "), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder)) << "asking made a store";
    ASSERT_EQ(tool("report signature $MAC --ip 10.0.0.1 --state UP").exit_code, 0);
    EXPECT_EQ(offered("sarn --log-level 4 re"), "report refresh");
    EXPECT_EQ(offered("sarn report detail --b"), "--brand");
    EXPECT_EQ(offered("sarn report detail --model x "), "02:00:00:00:00:0A");
    EXPECT_EQ(offered("sarn report signature --state "), "UP DOWN unknown");
    EXPECT_EQ(offered("sarn block 2:0:0:0:0:b 02:"), "00:00:00:00:0A");
    EXPECT_EQ(offered("sarn set 2:0:0:0:0:a dhcp-v"), "dhcp-vendor");
    EXPECT_EQ(offered("sarn type 2:0:0:0:0:a smart\\ p"), "Smart\\ Phone\\ \\(Generic\\) Smart\\ Plug");
}

}  // namespace
