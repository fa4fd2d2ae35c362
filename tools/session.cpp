#include "session.h"

namespace tool {

namespace {

using Bitmap = uint32_t[SARN_BITMAP_WORDS];

std::vector<uint32_t> rows_of(const Bitmap &words) {
    static constexpr uint32_t BITS_PER_WORD = 32;
    std::vector<uint32_t> rows;
    for (uint32_t row = 0; row < SARN_ROWS; ++row) {
        if ((words[row / BITS_PER_WORD] >> (row % BITS_PER_WORD) & 1u) != 0) rows.push_back(row);
    }
    return rows;
}

std::string attempt_to_read(uint32_t row) { return "cannot read row " + std::to_string(row); }

}  // namespace

Refusal refusal_of_start(int32_t code) { return refusal_of(Call::Start, code, "cannot open the device list"); }

Session::Session() {
    const int32_t code = sarn_init();
    if (code == SARN_OK) return;
    if (code == SARN_ERR_CLEANUP) (void)sarn_uninit();  // it is refused only after the store was opened
    throw refusal_of_start(code);
}

Session::~Session() { (void)sarn_uninit(); }

std::vector<uint32_t> Session::rows_in_state(sarn_state_selector selector) const {
    Bitmap words = {};
    require(Call::States, sarn_device_state_info(words, SARN_BITMAP_WORDS, selector), "cannot read the rows");
    return rows_of(words);
}

bool Session::has_free_row() const {
    return require(Call::States, get_total_sarn_entries_used(), "cannot count the rows") < SARN_ROWS;
}

Device Session::read_device(uint32_t row) const {
    const std::optional<Device> device = read_device_if_used(row);
    if (!device) throw refusal_of(Call::ReadRow, SARN_ERR_UNUSED_ROW, attempt_to_read(row));
    return *device;
}

std::optional<Device> Session::read_device_if_used(uint32_t row) const {
    Device device = {.row = row, .record = {}};
    const int32_t code = get_device_info_at_index(&device.record, row);
    if (code == SARN_ERR_UNUSED_ROW) return std::nullopt;
    require(Call::ReadRow, code, attempt_to_read(row));
    return device;
}

Device Session::find_device(const std::string &mac) const {
    char text[sizeof device_info::DeviceMAC] = {};
    mac.copy(text, sizeof text - 1);
    const std::string attempt = "cannot find " + mac;
    const int32_t row = require(Call::Find, check_macaddress_entry(text), attempt);
    Device device = read_device(static_cast<uint32_t>(row));
    // The row may have gone to another device between the two calls.
    if (read_text(device.record, field_named("DeviceMAC")) != mac)
        throw refusal_of(Call::Find, SARN_ERR_NOT_FOUND, attempt);
    return device;
}

bool Session::is_access_control_on() const {
    return require(Call::ReadAccess, sarn_get_ACL(), "cannot read the access-control switch") != 0;
}

bool Session::is_upgrade_on() const {
    uint8_t status = 0;
    require(Call::Switch, get_sarn_upgrade_status(&status), "cannot read the upgrade switch");
    return status != 0;
}

}  // namespace tool
