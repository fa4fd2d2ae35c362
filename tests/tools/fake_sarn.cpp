// Stands behind the tool in place of the library: SARN_FAKE says what each call answers, "start=-24 find=0 3=0 7=-12"
// (a number is a row in use and what reading it gives). Every row that can be read holds the same device, whose every
// text tries something. A call that writes keeps nothing, whatever it answers; but a name from its "keeps"-th write on.
#include <cstdlib>

#include "kora.h"
#include "sarn.h"
#include "tests/support/device.h"

namespace {

constexpr int32_t UNTOLD = INT32_MIN;

int32_t answer(const std::string &key, int32_t untold = 0) {
    const std::string script = std::string(" ") + getenv("SARN_FAKE");
    const size_t at = script.find(" " + key + "=");
    return at == std::string::npos ? untold : std::stoi(script.substr(at + key.size() + 2));
}

const char *name = "";
int32_t names_written = 0;

// As the library leaves a record: '0' characters behind each text, and in place of one that it could not read.
device_info hostile_device() {
    device_info device;
    std::memset(&device, '0', sizeof device);
    set_text(device.DisplayNameCustom, name, '0');
    set_text(device.DisplayNameDPI, "\033]0;owned\007\"M\xc3\xbcller\"\n%n%s", '0');
    set_text(device.DeviceDHCPVendor, "\xc0\x80\xff\xc2\x9b\x7f", '0');
    set_text(device.DeviceMAC, "02:00:00:00:00:01", '0');
    std::memcpy(device.Devicestate, "\033[31mUP\r", sizeof device.Devicestate);  // to its last byte
    for (char *text :
         {device.DeviceBrand, device.DeviceModel, device.DeviceTypeDPI, device.DeviceOS, device.DeviceMacVendor})
        *text = '\0';
    set_text(device.Timestamp, "86400", '0');
    device.Producerid = UINT32_MAX;
    return device;
}

}  // namespace

device_type_row Newtypestorage[SARN_DEVICE_TYPE_ROWS];
const char *get_quorvex_device_type(int32_t) { return nullptr; }

int32_t sarn_init() { return answer("start"); }
int32_t sarn_uninit() { return 0; }

int32_t sarn_device_state_info(uint32_t *words, int32_t, uint32_t) {
    for (uint32_t row = 0; row < SARN_ROWS; ++row) {
        if (answer(std::to_string(row), UNTOLD) != UNTOLD) words[row / 32] |= 1u << row % 32;
    }
    return answer("states");
}
int32_t get_total_sarn_entries_used() { return answer("used"); }
int32_t get_device_info_at_index(device_info *record, uint32_t index) {
    *record = hostile_device();
    return answer(std::to_string(index));
}
int32_t check_macaddress_entry(char *) { return answer("find"); }

int32_t update_device_displayname(const char *, const char *text, int32_t, int32_t) {
    if (++names_written >= answer("keeps", INT32_MAX)) name = text;
    return answer("text");
}
int32_t update_device_displaytype(const char *, const char *, int32_t, int32_t) { return answer("text"); }
int32_t update_device_displaymodel(const char *, const char *, int32_t, int32_t) { return answer("text"); }
int32_t update_device_displaybrand(const char *, const char *, int32_t, int32_t) { return answer("text"); }
int32_t sarn_update_pause_list(const char *const *, uint8_t, uint32_t, int32_t) { return answer("pause"); }
int32_t sarn_remove_macaddress_entry(const char *) { return answer("forget"); }
int32_t sarn_update_table_field(const char *, int32_t, const void *, int32_t, int32_t) { return answer("set"); }
int32_t update_device_detail(const device_detail_record *, int32_t) { return answer("detail"); }
int32_t update_connected_device_info(const connected_device_record *, int32_t) { return answer("connection"); }
int32_t update_device_signature(const signature_record *, int32_t) { return answer("signature"); }

int32_t sarn_get_ACL() { return answer("acl"); }
int32_t sarn_set_ACL(uint8_t) { return answer("acl"); }
int32_t get_sarn_upgrade_status(uint8_t *) { return answer("upgrade"); }
int32_t set_sarn_upgrade_status(uint8_t) { return answer("upgrade"); }
int32_t sarn_weekly_refresh_request() { return answer("refresh"); }

void *kora_init_ex(void *) { return answer("open") == 0 ? &Newtypestorage : nullptr; }
int32_t kora_destroy(void *) { return 0; }
int32_t kora_writing_process(void *, int32_t *process) {
    *process = answer("writer");
    return answer("writing");
}
int32_t kora_save(void *) { return answer("save"); }
