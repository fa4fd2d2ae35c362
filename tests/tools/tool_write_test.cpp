// What the tool writes, and what it refuses to.
#include <nlohmann/json.hpp>
#include <sstream>

#include "mac_text.h"
#include "run_tool.h"

using namespace tool;
using namespace std::string_literals;

namespace {

constexpr char MAC[] = "02:AB:CD:0F:00:01";

TEST(MacText, TakesWhatPeopleTypeAndNothingElse) {
    for (const char *typed : {"02:AB:CD:0F:00:01", "02:ab:cd:0f:00:01", "02-ab-CD-0f-00-01", "02ab.cd0f.0001",
                              "02ABCD0F0001", "02abcd-0f0001", "2:ab:cd:f:0:1", "2-AB-cd-F-0-1"})
        EXPECT_EQ(read_mac(typed), std::string(MAC)) << typed;
    std::istringstream refused(
        "02:ab:cd:0f:00 02:ab:cd:0f:00: 02:ab:cd:0f:00:01: 02:ab:cd:0f:00:01:02 02:ab:cd:0f:00:0g 002:ab:cd:0f:0:01 "
        "02:ab-cd:0f:00:01 2ab.cd0f.0001 02ab.cd0f.00010 02abcd0f001 02abcd0f00011 0x:ab:cd:0f:00:01 "
        "+2:ab:cd:0f:00:01 :::::: ----- 02:ab::0f:00:01 %n%n%n%n%n%n");
    for (std::string typed; refused >> typed;) EXPECT_EQ(read_mac(typed), std::nullopt) << typed;
    for (const std::string &typed :
         {""s, " 02:ab:cd:0f:00:01"s, "02:ab:cd:0f:00:01 "s, "02:ab:cd:0f:00:0\0"s, std::string(10000, '0')})
        EXPECT_EQ(read_mac(typed), std::nullopt) << typed;
}

TEST(SarnTool, RefusesBeforeTheLibraryIsAsked) {
    const std::string too_long_name(65, 'n');
    const struct {
        std::string arguments;
        const char *words;
    } rows[] = {
        {"name MAC", "TEXT is required"},
        {"name nonsense x", "'nonsense' is not a MAC address"},
        {"name " + std::string(10000, '1') + " x", "1...' is not a MAC address"},
        {"name $'\\e[2J\\xff' x", "'\\x1b[2J\\xff' is not a MAC"},
        {"name 0:0:0:0:0:0 x", "stands for no device"},
        {"name MAC " + too_long_name, "a name takes at most 64 bytes"},
        {"type MAC " + too_long_name.substr(0, 33), "a type takes at most 32 bytes"},
        {"model MAC " + too_long_name.substr(0, 33), "a model takes at most 32"},
        {"brand MAC " + too_long_name.substr(0, 33), "a brand takes at most 32"},
        {"name MAC x --producer 7", "not a producer"},
        {"name MAC x --producer 110", "not a producer"},
        {"name MAC x --producer 99999999990", "not a producer"},
        {"name MAC x --producer 1e1", "not a producer"},
        {"block", "MAC is required"},
        {"block MAC '[]'", "not in brackets"},
        {"block '[]'", "MAC"},
        {"block MAC nonsense", "not a MAC address"},
        {"forget MAC --producer 0", "--producer"},
        {"set MAC colour x", "'colour' is not a field"},
        {"set MAC ssid " + std::string(256, 's'), "ssid takes at most 255 bytes"},
        {"set MAC ip 10.0.0.256", "not an IPv4 address"},
        {"set MAC ap-mac 1", "not a MAC address"},
        {"set MAC access Block", "allow or block, not 'Block'"},
        {"set MAC user-agent ''", "cannot be emptied"},
        {"report", "a kind of report is required"},
        {"report nonsense", "nonsense"},
        {"report detail MAC --model " + too_long_name.substr(0, 33), "--model takes at most 32 bytes"},
        {"report connection MAC --ssid " + too_long_name.substr(0, 32), "--ssid takes at most 31 bytes"},
        {"report connection MAC --ap-mac x", "not a MAC address"},
        {"report signature MAC --ip 1.2.3.4", "--state is required"},
        {"report signature MAC --state UP", "--ip is required"},
        {"report signature MAC --ip ' 1.2.3.4' --state UP", "not an IPv4 address"},
        {"report signature MAC --ip 1.2.3.4 --state UP --dhcp-vendor v", "--dhcp-options"},
        {"report signature MAC --ip 1.2.3.4 --state UP --dhcp-options= --dhcp-vendor v", "with --dhcp-options"},
        {"access maybe", "STATE"},
        {"refresh now", "now"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments.substr(0, 80));
        std::string arguments = row.arguments;
        if (const size_t at = arguments.find("MAC"); at != std::string::npos) arguments.replace(at, 3, MAC);
        // The library would answer that the store is gone.
        const Result result = run("bash -c \"$(cat <<'END'\nSARN_FAKE=start=-24 '" SARN_TOOL_ON_FAKE "' " + arguments +
                                  " 2>&1\nEND\n)\"");
        EXPECT_EQ(result.exit_code, 2);
        EXPECT_TRUE(has(result.out, row.words)) << result.out;
    }
}

TEST(SarnTool, CodesOfEachCallInWords) {
    const struct {
        const char *script, *arguments;
        int exit_code;
        const char *words;
    } rows[] = {
        {"text=-2", "name MAC x", 1, "cannot write the name of 02:00:00:00:00:01: no device with this MAC address"},
        {"text=-16", "type MAC x", 3, "no worker thread could be created (code -16)"},
        {"text=0", "brand MAC x", 3, "still shows another brand"},
        {"text=-77", "brand MAC x", 3, "unexpected answer of the library (code -77)"},
        {"find=-1", "block MAC", 1, "cannot find"},
        {"pause=-22", "allow MAC", 4, "cannot allow 02:00:00:00:00:01: nothing to change"},
        {"pause=0", "allow MAC", 3, "still shows another access"},
        {"forget=-17", "forget MAC", 4, "the device is up"},
        {"forget=0 find=0", "forget MAC", 3, "still in the list"},
        {"forget=0 find=-16", "forget MAC", 3, "cannot tell whether"},
        {"forget=0 find=-1", "forget MAC", 0, ""},
        {"set=-12", "set MAC uuid x", 1, "cannot write the uuid of"},
        {"set=0", "set MAC state x", 3, "still shows another state"},
        {"detail=-12", "report detail MAC", 1, "no device"},
        {"detail=0", "report detail MAC --os x", 3, "still shows another"},
        {"signature=-12", "report signature MAC --ip 1.2.3.4 --state UP --producer 30", 1, "got no row"},
        {"signature=-12 used=256", "report signature MAC --ip 1.2.3.4 --state UP", 1, "got no row"},
        {"signature=-12 used=255", "report signature MAC --ip 1.2.3.4 --state UP", 3, "could not keep the device"},
        {"find=-1", "report signature MAC --ip 1.2.3.4 --state UP", 1, "no device"},
        {"find=-1", "report signature MAC --ip 1.2.3.4 --state DOWN", 0, ""},
        {"acl=1", "access on", 3, "cannot turn access on"},
        {"refresh=-18", "refresh", 4, "the Internet is down"},
        {"refresh=19", "refresh", 4, "running already (code 19)"},
        {"save=0", "save", 0, ""},
        {"save=-5", "save", 3, "not saved: the store could not write its copy (code -5)"},
        {"open=-1", "save", 3, "cannot be opened"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.script) + " | " + row.arguments);
        std::string arguments = row.arguments;
        for (size_t at; (at = arguments.find("MAC")) != std::string::npos;) arguments.replace(at, 3, "2:0:0:0:0:1");
        const Result result = run_on_fake(row.script, arguments + " 2>&1");
        EXPECT_EQ(result.exit_code, row.exit_code);
        EXPECT_TRUE(row.words[0] == '\0' ? result.out.empty() : has(result.out, row.words)) << result.out;
    }
}

// In this order, on one device.
TEST_F(ToolOnStore, EachCommandWritesItsFields) {
    const std::string dots(64, '.'), agent(255, 'a');
    const struct {
        std::string arguments;
        std::vector<std::string> told;  // field and what it then holds
    } rows[] = {
        {"report signature MAC --ip 10.0.0.7 --state DOWN --interface lan --category c --dhcp-options 1,3 "
         "--dhcp-vendor 'v 1' --dhcp-hostname host --user-agent agent --producer 20",
         {"DeviceIP=10.0.0.7", "DeviceConnectionInterface=lan", "DeviceCategory=c", "DeviceDHCPOptions=1,3",
          "DeviceDHCPVendor=v 1", "DeviceHostname=host", "DeviceHua=agent"}},
        {"report detail MAC --brand B --model M --type GARAGE --os O --mac-vendor V --producer 40",
         {"DeviceBrand=B", "DeviceModel=M", "DeviceOS=O", "DeviceMacVendor=V", "DeviceTypeDPI=GARAGE",
          "DeviceTypeQuorvex=IoT (Generic)", "DisplayNameQuorvex=B-M"}},
        {"report detail MAC --brand= --type GARAGE --model=", {"DeviceBrand=", "DeviceModel=", "DeviceTypeDPI=GARAGE"}},
        {"report connection MAC --ssid '$(id)' --ap-mac 2.2.2 --signal -40 2>/dev/null || true", {"ConnSSID="}},
        {"report connection MAC --ssid net --ap-mac 020a.0000.0002 --signal=-40 --link-rate 1 --download 2 --upload 3",
         {"ConnSSID=net", "ConnAPMac=02:0A:00:00:00:02", "DeviceSignalStrength=-40", "DeviceLinkRate=1", "DownloadBW=2",
          "UploadBW=3"}},
        {"name 02abcd0f0001 \"Anna's \\\"TV\\\" %n%s\"", {"DisplayNameCustom=Anna's \"TV\" %n%s"}},
        {"name MAC list", {"DisplayNameCustom=list"}},
        {"name MAC -- --json", {"DisplayNameCustom=--json"}},
        {"name MAC '[a,b]'", {"DisplayNameCustom=[a,b]"}},
        {"name MAC " + dots, {"DisplayNameCustom=" + dots.substr(0, 63)}},
        {"name MAC -- --x=", {"DisplayNameCustom=--x="}},
        {"name MAC '' --producer 010", {"DisplayNameCustom="}},
        {"type MAC TV", {"DeviceTypeCustom=TV"}},
        {"model MAC m", {"DisplayModelCustom=m"}},
        {"brand MAC b", {"DisplayBrandCustom=b"}},
        {"block MAC", {"AllowOrBlock=block"}},
        {"allow MAC", {"AllowOrBlock=allow"}},
        {"set MAC ssid " + dots, {"ConnSSID=" + dots.substr(0, 31)}},
        {"set MAC ssid ''", {"ConnSSID="}},
        {"set MAC ap-mac 2-0-0-0-0-3", {"ConnAPMac=02:00:00:00:00:03"}},
        {"set MAC user-agent " + agent, {"DeviceHua=" + agent}},
    };
    const auto check = [&](std::string arguments, const std::vector<std::string> &told) {
        SCOPED_TRACE(arguments);
        if (const size_t at = arguments.find("MAC"); at != std::string::npos) arguments.replace(at, 3, MAC);
        EXPECT_EQ(run_tool(arguments).exit_code, 0);
        const auto device = nlohmann::json::parse(run_tool("show "s + MAC + " --json").out);
        for (const std::string &one : told)
            EXPECT_EQ(device[one.substr(0, one.find('='))], one.substr(one.find('=') + 1)) << one;
    };
    for (const auto &row : rows) check(row.arguments, row.told);
    std::istringstream fields(
        "name DisplayNameCustom n2 type DeviceTypeCustom t2 brand DisplayBrandCustom b2 model DisplayModelCustom m2 "
        "category DeviceCategory c2 uuid DeviceUUID u2 access AllowOrBlock block state Devicestate DOWN "
        "tag IsTagged BOTH ip DeviceIP 10.0.0.8 interface DeviceConnectionInterface i2 signal DeviceSignalStrength 1 "
        "ssid ConnSSID s2 link-rate DeviceLinkRate 2 download DownloadBW 3 upload UploadBW 4 "
        "dhcp-hostname DisplayNameDPI h2 dhcp-vendor DeviceDHCPVendor v2 dhcp-options DeviceDHCPOptions 9 "
        "user-agent DeviceHua a2");
    for (std::string field, key, value; fields >> field >> key >> value;)
        check("set MAC " + field + " " + value, {key + "=" + value});
}

TEST_F(ToolOnStore, ForgetsBlocksAndCounts) {
    ASSERT_EQ(run_tool("report signature 2:0:0:0:0:a --ip 10.0.0.1 --state UP").exit_code, 0);
    ASSERT_EQ(run_tool("report signature 2:0:0:0:0:b --ip 10.0.0.2 --state DOWN").exit_code, 0);
    ASSERT_EQ(run_tool("report signature 2:0:0:0:0:c --ip 10.0.0.3 --state idle").exit_code, 0);
    EXPECT_EQ(run_tool("block 2:0:0:0:0:a 2:0:0:0:0:d 2>/dev/null").exit_code, 1);
    EXPECT_FALSE(has(run_tool("list").out, "block")) << "one is unknown, so none is changed";
    EXPECT_EQ(run_tool("block 2:0:0:0:0:a 2:0:0:0:0:b").exit_code, 0);
    EXPECT_EQ(run_tool("block 2:0:0:0:0:a 2>/dev/null").exit_code, 4);
    EXPECT_EQ(run_tool("access on; '" SARN_TOOL "' upgrade on").exit_code, 0);
    EXPECT_EQ(run_tool("upgrade --json").out, "{\n  \"upgrade\": true\n}\n");

    auto status = nlohmann::json::parse(run_tool("status --json").out);
    EXPECT_GT(status["size"], 0);
    status.erase("size");
    EXPECT_EQ(status, nlohmann::json({{"store", folder_ + "/store.mdb"},
                                      {"used", 3},
                                      {"up", 1},
                                      {"offline", 1},
                                      {"free", 253},
                                      {"access", true},
                                      {"upgrade", true},
                                      {"stuck_writer", nullptr}}));
    EXPECT_EQ(nlohmann::json::parse(run_tool("list --state down --json").out)[0]["DeviceMAC"], "02:00:00:00:00:0B");

    EXPECT_EQ(run_tool("forget 2:0:0:0:0:a 2>/dev/null").exit_code, 4);
    EXPECT_EQ(run_tool("forget 2:0:0:0:0:b").exit_code, 0);
    EXPECT_EQ(run_tool("forget 2:0:0:0:0:b 2>/dev/null").exit_code, 1);
    EXPECT_EQ(run_tool("list --state free").out, "254 free rows: 1, 3-255\n");
    EXPECT_EQ(nlohmann::json::parse(run_tool("list --state free --json").out)[0], nlohmann::json({{"row", 1}}));
}

TEST_F(ToolOnStore, TypesAreAllThereAndTheFirstOfTwoKeysCounts) {
    const auto types = nlohmann::json::parse(run_tool("types --json").out);
    EXPECT_EQ(types.size(), 151u);
    const std::string words = run_tool("types").out;
    for (const auto &row : types) EXPECT_TRUE(has(words, row["key"])) << row;
    EXPECT_LT(words.find("GARAGE"), words.find("Security (Generic)"));
    EXPECT_EQ(words.find("GARAGE"), words.rfind("GARAGE"));
}

TEST_F(ToolOnStore, SavesWhereItIsTold) {
    ASSERT_EQ(run_tool("report signature 2:0:0:0:0:a --ip 10.0.0.1 --state UP").exit_code, 0);
    const Result nowhere = run_tool("save 2>&1");
    EXPECT_EQ(nowhere.exit_code, 3);
    EXPECT_TRUE(has(nowhere.out, "KORA_SAVE")) << nowhere.out;
    const std::string saving_tool = "KORA_SAVE=" + folder_ + "/saved '" SARN_TOOL "'";
    EXPECT_EQ(run(saving_tool + " save").exit_code, 0);
    for (const char *file : {"/store.mdb", "/store.mdb-lock"}) std::filesystem::remove(folder_ + file);
    EXPECT_TRUE(has(run(saving_tool + " list").out, "02:00:00:00:00:0A"));
}

TEST_F(ToolOnStore, LogLevelChoosesWhatIsSaid) {
    EXPECT_EQ(run_tool("name 2:0:0:0:0:9 x 2>&1").out,
              "sarn: cannot write the name of 02:00:00:00:00:09: no device with this MAC address (code -2)\n");
    EXPECT_TRUE(has(run_tool("--log-level 4 name 2:0:0:0:0:9 x 2>&1").out, "sarn: 4 sarnapi:"));
    EXPECT_FALSE(has(run_tool("--log-level 4 name 2:0:0:0:0:9 x 2>&1").out, "sarn: 1 "));
    EXPECT_TRUE(has(run_tool("--log-level 1 list 2>&1").out, "sarn: 1 sarnapi:"));
    EXPECT_EQ(nlohmann::json::parse(run_tool("--log-level 2 log-level --json").out)["level"], 2);
    const std::string levels = run_tool("--log-level 2 log-level").out;
    EXPECT_TRUE(has(levels, "failures  <- now\n") && !has(levels, " \n")) << levels;
    setenv("KORA_STORE", "/proc/none/store.mdb", 1);
    EXPECT_TRUE(has(run_tool("list 2>&1").out, "sarn: KORA: "));
    EXPECT_FALSE(has(run_tool("--log-level 5 list 2>&1").out, "KORA"));
}

}  // namespace
