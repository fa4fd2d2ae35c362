// Calls in any order against a model: what was written is read, one MAC has one row, and no other device changes.
#include <map>

#include "fuzz.h"
#include "tools/device_record.h"

namespace {

using Texts = std::map<std::string, std::string>;  // by the record's member
const Texts NEW_DEVICE = {{"AllowOrBlock", "allow"}, {"ConnSSID", ""},           {"DeviceDHCPHostname", ""},
                          {"DeviceHostname", ""},    {"DisplayNameDPI", ""},     {"DeviceDHCPOptions", ""},
                          {"DeviceHua", ""},         {"DeviceLinkRate", ""},     {"DisplayNameCustom", ""},
                          {"DeviceTypeCustom", ""},  {"DisplayModelCustom", ""}, {"DisplayBrandCustom", ""}};
std::map<std::string, Texts> model;  // by MAC

// In either case; few, so that calls meet.
std::string spell_mac(uint8_t which) {
    return std::string((which & 8) != 0 ? "02:ab:00:00:00:0" : "02:AB:00:00:00:0") + static_cast<char>('0' + which % 8);
}
std::string key_of(std::string mac) {
    for (char &letter : mac) letter = static_cast<char>(toupper(letter));
    return mac;
}

bool has_end(const auto &field) { return std::memchr(field, '\0', sizeof field) != nullptr; }

void report(Input &input, const std::string &mac) {
    signature_record record = signature_of(mac);
    const std::string host = input.fill(record.dhcp_hostname), options = input.fill(record.dhcp_options);
    const std::string category = input.fill(record.category), hua = input.fill(record.hua);
    const std::string state = input.byte() % 2 == 0 ? "UP" : input.fill(record.state);
    const bool is_ended = has_end(record.dhcp_hostname) && has_end(record.dhcp_options) && has_end(record.category) &&
                          has_end(record.hua) && has_end(record.state);
    require(update_device_signature(&record, 0) == (is_ended ? SARN_OK : SARN_ERR_UNTERMINATED), "report");
    if (!is_ended) return;
    Texts &texts = model.try_emplace(key_of(mac), NEW_DEVICE).first->second;
    if (!host.empty()) texts["DeviceDHCPHostname"] = texts["DeviceHostname"] = texts["DisplayNameDPI"] = host;
    if (!options.empty()) texts["DeviceDHCPOptions"] = options;
    if (!hua.empty()) texts["DeviceHua"] = hua;
    texts["DeviceCategory"] = category;
    texts["Devicestate"] = state;
}

void report_connection(Input &input, const std::string &mac) {
    connected_device_record record = {};
    mac.copy(record.mac, sizeof record.mac);
    const std::string ssid = input.fill(record.ssid), rate = input.fill(record.link_rate);
    const bool is_ended = has_end(record.ssid) && has_end(record.link_rate), is_known = model.contains(key_of(mac));
    require(update_connected_device_info(&record, 0) == (!is_ended  ? SARN_ERR_UNTERMINATED
                                                         : is_known ? SARN_OK
                                                                    : SARN_ERR_NO_ROW),
            "connection");
    if (is_ended && is_known) model[key_of(mac)]["ConnSSID"] = ssid, model[key_of(mac)]["DeviceLinkRate"] = rate;
}

void set_display(Input &input, const std::string &mac) {
    constexpr struct {
        int32_t (*set)(const char *, const char *, int32_t, int32_t);
        const char *member;
        int32_t limit;
    } KINDS[] = {{update_device_displayname, "DisplayNameCustom", 64},
                 {update_device_displaytype, "DeviceTypeCustom", 32},
                 {update_device_displaymodel, "DisplayModelCustom", 32},
                 {update_device_displaybrand, "DisplayBrandCustom", 32}};
    const auto &[set, member, limit] = KINDS[input.byte() % 4];
    const std::string text = input.text().c_str();
    const bool is_known = model.contains(key_of(mac));
    require(set(mac.c_str(), text.c_str(), limit, 0) == (is_known ? SARN_OK : SARN_ERR_UNKNOWN_DEVICE), "display text");
    if (is_known) model[key_of(mac)][member] = text.substr(0, static_cast<size_t>(limit));
}

void pause(Input &input, const std::string &mac) {
    const uint8_t is_allowed = input.byte() % 2;
    const std::string other = spell_mac(input.byte()), access = is_allowed ? "allow" : "block";
    const char *macs[] = {mac.c_str(), other.c_str()};
    bool is_changed = false;
    for (const char *each : macs) {
        const auto device = model.find(key_of(each));
        if (device == model.end() || device->second["AllowOrBlock"] == access) continue;
        is_changed = true, device->second["AllowOrBlock"] = access;
    }
    require(sarn_update_pause_list(macs, is_allowed, 2, 0) == (is_changed ? SARN_OK : SARN_ERR_NOTHING_CHANGED),
            "pause");
}

void remove_device(const std::string &mac) {
    const auto device = model.find(key_of(mac));
    const bool is_known = device != model.end(), is_up = is_known && device->second["Devicestate"] == "UP";
    require(sarn_remove_macaddress_entry(mac.c_str()) == (!is_known ? SARN_ERR_NO_ROW
                                                          : is_up   ? SARN_ERR_DEVICE_UP
                                                                    : SARN_OK),
            "removal");
    if (is_known && !is_up) model.erase(device);
}

void restart(Input &, const std::string &) { require(sarn_uninit() == SARN_OK && sarn_init() == SARN_OK, "restart"); }

void compare_all() {
    uint32_t words[SARN_BITMAP_WORDS] = {};
    size_t rows = 0;
    require(sarn_table_enquiry(words, SARN_BITMAP_WORDS) == SARN_OK, "enquiry");
    for (uint32_t row = 0; row < SARN_ROWS; ++row) rows += words[row / 32] >> row % 32 & 1;
    require(rows == model.size(), "rows and devices differ in number");
    for (const auto &[mac, texts] : model) {
        device_info record;
        require(get_device_info_by_mac(&record, mac.c_str()) == SARN_OK && mac == record.DeviceMAC, "a device is lost");
        for (const tool::FieldSpec &field : tool::FIELDS) {
            const auto written = texts.find(field.name);
            if (written == texts.end()) continue;
            require(tool::read_text(record, field) == written->second.substr(0, field.width - 1), field.name);
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const OwnList list;
    constexpr void (*CALLS[])(Input &, const std::string &) = {
        report, report, report_connection, set_display, pause, restart, [](Input &, const std::string &mac) {
            remove_device(mac);
        }};
    for (Input input(data, size); !input.is_over();) {
        const uint8_t call = input.byte();
        CALLS[call / 16 % std::size(CALLS)](input, spell_mac(call));
        compare_all();
    }
    while (!model.empty()) {
        const std::string mac = model.begin()->first;
        require(sarn_update_table_field(mac.c_str(), SARN_FIELD_STATE, "DOWN", 5, 0) == SARN_OK, "state");
        model.begin()->second["Devicestate"] = "DOWN";
        remove_device(mac);
    }
    return 0;
}
