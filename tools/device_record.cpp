#include "device_record.h"

#include <charconv>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include "device_text.h"
#include "mac_text.h"

namespace tool {

namespace {

const char *start_of(const device_info &record, const FieldSpec &field) {
    return reinterpret_cast<const char *>(&record) + field.offset;
}

std::string first_known(const device_info &record, std::initializer_list<const FieldSpec *> fields) {
    for (const FieldSpec *field : fields) {
        const std::string_view text = read_text(record, *field);
        if (!text.empty() && !is_not_readable(text, *field)) return escape_for_terminal(text);
    }
    return NOTHING_KNOWN;
}

// How the library writes an address that nobody has reported.
bool is_no_address(std::string_view text, const FieldSpec &field) {
    return (field.offset == offsetof(device_info, ConnAPMac) && text == NO_MAC) ||
           (field.offset == offsetof(device_info, DeviceIP) && text == "0.0.0.0");
}

std::string time_words(std::string_view seconds) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(seconds.data(), seconds.data() + seconds.size(), value);
    const time_t moment = static_cast<time_t>(value);
    tm parts = {};
    char words[64];
    if (error != std::errc{} || end != seconds.data() + seconds.size() || localtime_r(&moment, &parts) == nullptr ||
        strftime(words, sizeof words, "%Y-%m-%d %H:%M:%S %Z", &parts) == 0)
        return escape_for_terminal(seconds);
    return std::string(words) + " (" + std::string(seconds) + ")";
}

}  // namespace

std::string_view read_text(const device_info &record, const FieldSpec &field) {
    const char *start = start_of(record, field);
    return {start, strnlen(start, field.width)};
}

int32_t read_number(const device_info &record, const FieldSpec &field) {
    int32_t number = 0;
    std::memcpy(&number, start_of(record, field), sizeof number);
    return number;
}

bool is_not_readable(std::string_view text, const FieldSpec &field) {
    if (field.offset == offsetof(device_info, DeviceIP)) return text == SARN_IP_NOT_READABLE;
    return text.size() == field.width && text.find_first_not_of('0') == std::string_view::npos;
}

std::string shown_value(const device_info &record, const FieldSpec &field) {
    if (field.kind == Kind::Number) return std::to_string(read_number(record, field));
    const std::string_view text = read_text(record, field);
    if (text.empty() || is_no_address(text, field)) return NOTHING_KNOWN;
    if (is_not_readable(text, field)) return NOT_READABLE;
    if (field.offset == offsetof(device_info, Timestamp)) return time_words(text);
    return escape_for_terminal(text);
}

bool is_offline(std::string_view state) { return state == "DOWN" || state == "unknown"; }

std::string shown_name(const device_info &record) {
    return first_known(record, {&field_named("DisplayNameCustom"), &field_named("DisplayNameDPI"),
                                &field_named("DeviceHostname"), &field_named("DisplayNameQuorvex")});
}

std::string shown_type(const device_info &record) {
    return first_known(
        record, {&field_named("DeviceTypeCustom"), &field_named("DeviceTypeQuorvex"), &field_named("DeviceTypeDPI")});
}

std::string shown_brand(const device_info &record) {
    return first_known(record, {&field_named("DisplayBrandCustom"), &field_named("DeviceBrand")});
}

std::string shown_model(const device_info &record) {
    return first_known(record, {&field_named("DisplayModelCustom"), &field_named("DeviceModel")});
}

}  // namespace tool
