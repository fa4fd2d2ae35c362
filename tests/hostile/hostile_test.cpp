// Texts without an end, each right before a page that cannot be read: who reads past one does not live to tell.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/support/device.h"
#include "tests/support/store_folder.h"

namespace {

constexpr char MAC[] = "02:00:00:00:00:01";

class Hostile : public testing::Test {
protected:
    void SetUp() override {
        setenv("KORA_STORE", (folder + "/store.mdb").c_str(), 1);
        __log_to_console = 0;
        void *pages = mmap(nullptr, 2 * PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        end = static_cast<char *>(pages) + PAGE;
        ASSERT_EQ(mprotect(end, PAGE, PROT_NONE), 0);
        ASSERT_EQ(sarn_init(), SARN_OK);
        const signature_record device = signature_of(MAC, "DOWN");
        ASSERT_EQ(update_device_signature(&device, 0), SARN_OK);
    }
    void TearDown() override {
        (void)sarn_uninit();
        munmap(end - PAGE, 2 * PAGE);
        std::filesystem::remove_all(folder);
    }
    char *endless(size_t size) { return static_cast<char *>(std::memset(end - size, 'A', size)); }
    template <class Record>
    const Record *endless() {
        auto *record = reinterpret_cast<Record *>(endless(sizeof(Record)));
        std::memcpy(record->mac, MAC, sizeof MAC);
        return record;
    }

    static constexpr size_t PAGE = 4096;
    char *end = nullptr;
    std::string folder = make_store_folder();
};

TEST_F(Hostile, NobodyReadsPastATextWithoutAnEnd) {
    const auto with_ip = [](const signature_record *record) {
        std::memcpy(const_cast<char *>(record->ip), "10.0.0.1", 9);
        return record;
    };
    const auto pause = [](const char *mac) { return sarn_update_pause_list(&mac, 0, 1, 0); };
    device_info record;
    const struct {
        const char *name;
        std::function<int32_t()> call;
        int32_t expected;
    } cases[] = {
        {"signature", [&] { return update_device_signature(with_ip(endless<signature_record>()), 0); },
         SARN_ERR_UNTERMINATED},
        {"its address", [&] { return update_device_signature(endless<signature_record>(), 0); }, SARN_ERR_IP},
        {"connection", [&] { return update_connected_device_info(endless<connected_device_record>(), 0); },
         SARN_ERR_UNTERMINATED},
        {"detail", [&] { return update_device_detail(endless<device_detail_record>(), 0); }, SARN_ERR_UNTERMINATED},
        {"field", [&] { return sarn_update_table_field(MAC, SARN_FIELD_UUID, endless(256), 256, 0); }, SARN_OK},
        {"access point", [&] { return sarn_update_table_field(MAC, SARN_FIELD_AP_MAC, endless(17), 17, 0); },
         SARN_ERR_MAC},
        {"state", [&] { return sarn_update_table_field(MAC, SARN_FIELD_STATE, endless(1), 1, 0); }, SARN_OK},
        {"field's MAC", [&] { return sarn_update_table_field(endless(18), SARN_FIELD_UUID, "x", 1, 0); }, SARN_ERR_MAC},
        {"name", [&] { return update_device_displayname(MAC, endless(64), 64, 0); }, SARN_OK},
        {"type", [&] { return update_device_displaytype(MAC, endless(32), 32, 0); }, SARN_OK},
        {"model", [&] { return update_device_displaymodel(MAC, endless(32), 32, 0); }, SARN_OK},
        {"brand", [&] { return update_device_displaybrand(MAC, endless(32), 32, 0); }, SARN_OK},
        {"name's MAC", [&] { return update_device_displayname(endless(18), "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {"removal", [&] { return sarn_remove_macaddress_entry(endless(18)); }, SARN_ERR_MAC},
        {"query", [&] { return get_device_info_by_mac(&record, endless(18)); }, SARN_ERR_MAC},
        {"pause", [&] { return pause(endless(18)); }, SARN_ERR_MAC},
        {"look-up", [&] { return check_update_mapping_table(endless(18), SARN_PRODUCER_LOOKUP_ONLY); },
         SARN_ERR_LOOKUP_ONLY},
        {"entry", [&] { return check_macaddress_entry(endless(18)); }, SARN_ERR_NOT_FOUND},
        {"scan", [&] { return checkMacAddr(endless(18)); }, 0},
        {"type's id", [&] { return get_quorvex_device_id(endless(64), 1); }, 0},
    };
    for (const auto &c : cases) EXPECT_EQ(c.call(), c.expected) << c.name;
    EXPECT_EQ(get_total_sarn_entries_used(), 1);
}

}  // namespace
