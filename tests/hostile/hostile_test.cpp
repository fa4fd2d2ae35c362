// Hostile texts through every text argument, and back out through records, log, JSON and table.
#include <dlfcn.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "arguments.h"
#include "platform/kora.h"
#include "tools/device_json.h"
#include "tools/text_table.h"

namespace {

struct Range {
    uintptr_t first, end;
};
std::vector<Range> read_only_data;  // of the two libraries
std::atomic<int> log_calls{0}, foreign_formats{0};

std::vector<Range> find_read_only_data() {
    std::vector<Range> ranges;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        Range range;
        char rights[5];
        const bool is_ours =
            line.find("/libsarn.so") != std::string::npos || line.find("/libkora.so") != std::string::npos;
        const int read = std::sscanf(line.c_str(), "%lx-%lx %4s", &range.first, &range.end, rights);
        if (read == 3 && is_ours && rights[1] != 'w') ranges.push_back(range);
    }
    return ranges;
}

class Hostile : public testing::Test {
protected:
    void SetUp() override {
        setenv("KORA_STORE", (folder + "/store.mdb").c_str(), 1);
        read_only_data = find_read_only_data();
        __log_to_console = 0;
        __log_to_file = 1;
        __log_file_name = log.c_str();
        ASSERT_EQ(sarn_init(), SARN_OK);
        put_device();
        signature_record other = signature();
        other.mac[16] = '2';
        ASSERT_EQ(update_device_signature(&other, 0), SARN_OK);
    }
    // The device with no text where a report always writes one.
    void put_device() {
        const auto device = signature_with_options();
        const auto connection = base<connected_device_record>();
        const auto detail = base<device_detail_record>();
        ASSERT_EQ(update_device_signature(&device, 0), SARN_OK);
        ASSERT_EQ(update_connected_device_info(&connection, 0), SARN_OK);
        ASSERT_EQ(update_device_detail(&detail, 0), SARN_OK);
    }
    void TearDown() override {
        (void)sarn_uninit();
        std::filesystem::remove_all(folder);
    }

    tool::Device read_device(uint32_t row) {
        tool::Device device = {row, {}};
        EXPECT_EQ(get_device_info_at_index(&device.record, row), SARN_OK);
        return device;
    }
    void try_one(const Argument &argument, const std::string &text);
    void show(const tool::Device &device);

    std::string folder = std::string(mkdtemp(std::string("/dev/shm/sarn-hostile-XXXXXX").data()));
    std::string log = folder + "/log";
};

std::string text_of(const tool::Device &device, const tool::FieldSpec &field) {
    return std::string(tool::read_text(device.record, field));
}

void Hostile::try_one(const Argument &argument, const std::string &text) {
    FingPostProcessorName = FingPostProcessorType = 0;
    const tool::Device before[] = {read_device(0), read_device(1)};
    const int32_t result = argument.call(text), expected = argument.expected(text);
    EXPECT_EQ(result, expected == ANY_ROW ? std::max(result, 0) : expected);
    const tool::Device after[] = {read_device(0), read_device(1)};
    EXPECT_EQ(get_total_sarn_entries_used(), 2);
    for (const tool::FieldSpec &field : tool::FIELDS) {
        const std::string name = field.name;
        EXPECT_EQ(text_of(after[1], field), text_of(before[1], field)) << "the other device's " << name;
        const auto member = std::find(argument.members.begin(), argument.members.end(), name);
        const bool is_stamp = name == "Timestamp" || name == "Producerid" || name == "DeviceTypeQuorvex";
        if (result != SARN_OK || (member == argument.members.end() && !is_stamp)) {
            EXPECT_EQ(text_of(after[0], field), text_of(before[0], field)) << name;
        } else if (member == argument.members.begin() && member != argument.members.end() && text[0] != '\0') {
            const std::string shown = text_of(after[0], field), whole = text.c_str();
            EXPECT_TRUE(whole.starts_with(shown) && shown.size() + 1 >= std::min(whole.size() + 1, field.width - 1))
                << name;
        }
    }
    if (result == SARN_OK) show(after[0]);
}

void Hostile::show(const tool::Device &device) {
    const std::string json = tool::json_of(device);
    EXPECT_TRUE(is_printable(json));
    EXPECT_EQ(nlohmann::json::parse(json).size(), tool::FIELDS.size() + 1);
    tool::TextTable table = {{{"FIELD", 5}, {"VALUE", 5}}, {}};
    for (const tool::FieldSpec &field : tool::FIELDS)
        table.rows.push_back({{field.name}, {tool::shown_value(device.record, field)}});
    EXPECT_TRUE(is_printable(tool::render(table, 80, false)));
    EXPECT_TRUE(is_printable(tool::render(table, tool::NO_LIMIT, false)));
}

}  // namespace

// Before the platform's own, which still writes the line.
void log_printf(int32_t level, const char *file, int32_t line, const char *format, ...) {
    static const auto write_line = reinterpret_cast<decltype(&log_printf)>(dlsym(RTLD_NEXT, "log_printf"));
    const auto at = reinterpret_cast<uintptr_t>(format);
    const auto is_inside = [at](const Range &range) { return at >= range.first && at < range.end; };
    if (std::none_of(read_only_data.begin(), read_only_data.end(), is_inside)) ++foreign_formats;
    ++log_calls;
    char message[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    write_line(level, file, line, "%s", message);
}

TEST_F(Hostile, TextsChangeTheirOwnFieldAlone) {
    ASSERT_EQ(hostile_texts().size(), 40U);
    std::vector<Argument> all = signature_arguments();
    for (const auto &more : {record_arguments(), other_arguments()}) all.insert(all.end(), more.begin(), more.end());
    for (const Argument &argument : all) {
        put_device();
        for (size_t i = 0; i < hostile_texts().size(); ++i) {
            SCOPED_TRACE(argument.name + ", text " + std::to_string(i));
            try_one(argument, hostile_texts()[i]);
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(log_calls, 10'000);
    EXPECT_EQ(foreign_formats, 0) << "formats that do not lie in the libraries' read-only data";
    std::stringstream lines;
    lines << std::ifstream(log).rdbuf();
    const std::string written = lines.str();
    EXPECT_TRUE(is_printable(written));
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), log_calls) << "a text made a line of its own";
}

TEST_F(Hostile, PureTextCallsStayWithinTheirTexts) {
    for (const std::string &text : hostile_texts()) {
        const auto size = static_cast<uint32_t>(text.size());
        EXPECT_EQ(checkMacAddr(page.put(within(text, 18))), 0) << text;
        EXPECT_EQ(valid_digit(page.put(text + '\0')), text.empty()) << text;
        EXPECT_EQ(is_valid_ip(page.put(text + '\0')), 0) << text;
        EXPECT_EQ(get_quorvex_device_id(page.put(within(text, 64)), 1), 0) << text;
        EXPECT_GE(IsJsonEncodeNeeded(page.put(text + '\0'), size), 1) << text;
        std::string out(2 * text.size() + 1, '#');
        EXPECT_EQ(escapeJSON(page.put(text), out.data(), size), text.empty() ? SARN_ERR_NO_TEXT : SARN_OK) << text;
        if (text.empty()) continue;
        out = out.c_str();
        std::string back(out.size() + 1, '\0');
        if (!out.empty()) (void)unescapeJSON(page.put(out), back.data(), static_cast<uint32_t>(out.size()));
        // Bytes that are no UTF-8 are copied: whether a parser takes those is its affair.
        const auto plain = [](std::string bytes) {
            std::replace_if(
                bytes.begin(), bytes.end(), [](char byte) { return (byte & 0x80) != 0; }, 'x');
            return bytes;
        };
        EXPECT_EQ(nlohmann::json::parse('"' + plain(out) + '"'), plain(back.c_str())) << text;
    }
}

TEST_F(Hostile, WhoIsNotInTheGroupIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    constexpr gid_t GROUP = 4321, OTHER_GROUP = 4322;
    ASSERT_EQ(sarn_uninit(), SARN_OK);
    for (const char *name : {"", "/store.mdb", "/store.mdb-lock", "/store.mdb-writer"})
        ASSERT_EQ(chown((folder + name).c_str(), 0, GROUP), 0) << name;
    ASSERT_EQ(chmod(folder.c_str(), 02770), 0);
    const auto start_in = [](gid_t group) {
        const pid_t child = fork();
        if (child == 0) {
            const bool is_other = setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(group) == 0;
            if (!is_other) _exit(100);
            const int32_t started = sarn_init();
            _exit(started == SARN_ERR_STORE_OPEN && kora_init_ex(nullptr) == nullptr ? 1
                  : started == SARN_OK                                               ? 0
                                                                                     : 101);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(start_in(OTHER_GROUP), 1) << "refused";
    EXPECT_EQ(start_in(GROUP), 0) << "a member of the group";
    ASSERT_EQ(sarn_init(), SARN_OK);
}
