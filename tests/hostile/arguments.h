// Every text argument of every call, and the texts that are tried on them. Each text lies right before a page that
// cannot be read: who reads past its end does not live to tell.
#ifndef SARN_TESTS_HOSTILE_ARGUMENTS_H
#define SARN_TESTS_HOSTILE_ARGUMENTS_H

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "include/sarn.h"
#include "tests/fuzz/printable.h"

namespace {

using Texts = std::vector<std::string>;

class GuardedPage {
public:
    GuardedPage() {
        void *pages = mmap(nullptr, 2 * SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        end_ = static_cast<char *>(pages) + SIZE;
        if (mprotect(end_, SIZE, PROT_NONE) != 0) std::abort();
    }
    char *put(const std::string &bytes) {
        return std::copy(bytes.begin(), bytes.end(), end_ - bytes.size()) - bytes.size();
    }

private:
    static constexpr size_t SIZE = 4096;
    char *end_;
} page;

// As much as a reader of a text of this width may look at: all of it, or up to its NUL.
std::string within(const std::string &text, size_t width) {
    return text.size() < width ? text + '\0' : text.substr(0, width);
}

const Texts &hostile_texts() {
    static const Texts texts = [] {
        Texts all = {"\033[2J",
                     "\033]0;owned\007",
                     "\x9b"
                     "31m",
                     "\xc2\x9b"
                     "2J",
                     "%n%s",
                     "%s%s%s%n",
                     "%99999d",
                     "%1$*2$n",
                     "\n",
                     "a\r\n4 sarnapi:1 forged",
                     "\"",
                     "\",\"row\":9,\"x\":\"",
                     "\\",
                     "\\u0000",
                     "=",
                     "a=b",
                     "'",
                     "<script>alert(1)</script>",
                     "$(reboot)",
                     "`reboot`;|&",
                     "../../etc/passwd",
                     "\t\b\x7f",
                     "\xff\xfe",
                     "\xc0\xaf",
                     "\xe0\x80\xaf",
                     "\xf0\x80\x80\xaf",
                     "\xed\xa0\x80",
                     "\xf4\x90\x80\x80",
                     "\xe2\x80\xaerev",
                     "cut \xe7\x8c",
                     std::string("a\0b", 3)};
        for (const unsigned size : {0U, 7U, 8U, 17U, 32U, 64U, 255U, 256U, 300U})
            all.emplace_back(size, size % 2 == 0 ? 'A' : '\033');
        return all;
    }();
    return texts;
}

constexpr char MAC[] = "02:00:00:00:00:01";
constexpr int32_t ANY_ROW = 1000;

struct Argument {
    std::string name;
    Texts members;  // that may change; the first one shows the text
    std::function<int32_t(const std::string &)> call, expected;
};

std::function<int32_t(const std::string &)> always(int32_t code) {
    return [code](const std::string &) { return code; };
}

template <class Record, size_t Width>
Argument in_record(const char *name, int32_t (*call)(const Record *, int32_t), char (Record::*member)[Width],
                   Record record, Texts members, int32_t refusal = SARN_OK) {
    return {name, std::move(members),
            [=](const std::string &text) mutable {
                std::memset(record.*member, 0, Width);
                text.copy(record.*member, Width);
                const std::string bytes(reinterpret_cast<const char *>(&record), sizeof record);
                return call(reinterpret_cast<const Record *>(page.put(bytes)), 0);
            },
            [refusal](const std::string &text) {
                if (refusal != SARN_OK) return refusal;
                return strnlen(text.data(), std::min(text.size() + 1, Width)) < Width ? SARN_OK
                                                                                      : int{SARN_ERR_UNTERMINATED};
            }};
}

Argument as_field(int32_t code, Texts members, std::function<int32_t(const std::string &)> expected = nullptr) {
    const auto by_length = [](const std::string &text) {
        return text.empty() || text.size() > SARN_VALUE_MAX ? SARN_ERR_LENGTH : SARN_OK;
    };
    const auto call = [code](const std::string &text) {
        return sarn_update_table_field(MAC, code, page.put(text), static_cast<int32_t>(text.size()), 0);
    };
    return {"field " + std::to_string(code), std::move(members), call, [=](const std::string &text) -> int32_t {
                const int32_t refused = by_length(text);
                return refused != SARN_OK || expected == nullptr ? refused : expected(text);
            }};
}

template <size_t Limit>
Argument as_display(const char *name, int32_t (*call)(const char *, const char *, int32_t, int32_t), Texts members) {
    return {name, std::move(members),
            [call](const std::string &text) {
                const auto length = static_cast<int32_t>(std::min(text.size(), Limit));
                return call(MAC, page.put(within(text, Limit)), length, 0);
            },
            always(SARN_OK)};
}

Argument as_mac(const char *name, std::function<int32_t(char *)> call, int32_t refusal) {
    return {name, {}, [=](const std::string &text) { return call(page.put(within(text, 18))); }, always(refusal)};
}

// Whole 18 bytes, as the calls that write into their argument want them.
Argument as_mac_buffer(const char *name, std::function<int32_t(char *)> call, int32_t refusal) {
    const auto put = [](std::string text) { return text.resize(18), page.put(text); };
    return {name, {}, [=](const std::string &text) { return call(put(text)); }, always(refusal)};
}

template <class Record>
Record base() {
    Record record = {};
    std::memcpy(record.mac, MAC, sizeof MAC);
    return record;
}

signature_record signature() {
    auto record = base<signature_record>();
    std::memcpy(record.ip, "10.0.0.1", 8);
    std::memcpy(record.state, "UP", 2);
    return record;
}

signature_record signature_with_options() {
    signature_record record = signature();
    std::memcpy(record.dhcp_options, "1,3", 3);
    return record;
}

std::vector<Argument> signature_arguments() {
    using R = signature_record;
    const auto call = update_device_signature;
    const R record = signature();
    return {
        in_record("hua", call, &R::hua, record, {"DeviceHua"}),
        in_record("hostname", call, &R::dhcp_hostname, record,
                  {"DeviceDHCPHostname", "DeviceHostname", "DisplayNameDPI"}),
        in_record("vendor", call, &R::dhcp_vendor, signature_with_options(), {"DeviceDHCPVendor", "DeviceDHCPOptions"}),
        in_record("options", call, &R::dhcp_options, record, {"DeviceDHCPOptions"}),
        in_record("interface", call, &R::connection_interface, record, {"DeviceConnectionInterface"}),
        in_record("category", call, &R::category, record, {"DeviceCategory"}),
        in_record("state", call, &R::state, record, {"Devicestate"}),
        in_record("ip", call, &R::ip, record, {}, SARN_ERR_IP),
        in_record("signature's MAC", call, &R::mac, record, {}, SARN_ERR_MAC)};
}

std::vector<Argument> record_arguments() {
    using C = connected_device_record;
    using D = device_detail_record;
    const auto connect = update_connected_device_info;
    const auto detail = update_device_detail;
    const C c = base<C>();
    const D d = base<D>();
    // An access point's text that is none keeps what the row holds.
    Argument access_point = in_record("access point", connect, &C::ap_mac, c, {});
    access_point.expected = always(SARN_OK);
    return {in_record("ssid", connect, &C::ssid, c, {"ConnSSID"}),
            in_record("link rate", connect, &C::link_rate, c, {"DeviceLinkRate"}),
            in_record("download", connect, &C::download_bw, c, {"DownloadBW"}),
            in_record("upload", connect, &C::upload_bw, c, {"UploadBW"}),
            in_record("signal", connect, &C::signal_strength, c, {"DeviceSignalStrength"}),
            in_record("connection's MAC", connect, &C::mac, c, {}, SARN_ERR_MAC),
            access_point,
            in_record("maker", detail, &D::mac_vendor, d, {"DeviceMacVendor", "DisplayNameQuorvex"}),
            in_record("model", detail, &D::model, d, {"DeviceModel", "DisplayNameQuorvex"}),
            in_record("os", detail, &D::os, d, {"DeviceOS"}),
            in_record("brand", detail, &D::brand, d, {"DeviceBrand", "DisplayNameQuorvex"}),
            in_record("type", detail, &D::type, d, {"DeviceTypeDPI", "DeviceTypeQuorvex"}),
            in_record("detail's MAC", detail, &D::mac, d, {}, SARN_ERR_MAC)};
}

std::vector<Argument> other_arguments() {
    std::vector<Argument> all = {
        as_display<64>("name", update_device_displayname, {"DisplayNameCustom"}),
        as_display<32>("own type", update_device_displaytype, {"DeviceTypeCustom"}),
        as_display<32>("own model", update_device_displaymodel, {"DisplayModelCustom"}),
        as_display<32>("own brand", update_device_displaybrand, {"DisplayBrandCustom"}),
        as_mac(
            "name's MAC", [](char *mac) { return update_device_displayname(mac, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE),
        as_mac(
            "post processor's MAC", [](char *mac) { return post_processor_update(mac, "TV", "x", 0); },
            SARN_ERR_POST_PROCESSING),
        as_mac(
            "field's MAC", [](char *mac) { return sarn_update_table_field(mac, 9, "x", 1, 0); }, SARN_ERR_MAC),
        as_mac("removal", sarn_remove_macaddress_entry, SARN_ERR_MAC),
        as_mac(
            "query",
            [](char *mac) {
                device_info record;
                return get_device_info_by_mac(&record, mac);
            },
            SARN_ERR_MAC),
        as_mac(
            "pause",
            [](char *mac) {
                const char *macs[] = {mac};
                return sarn_update_pause_list(macs, 0, 1, 0);
            },
            SARN_ERR_MAC),
        as_mac_buffer(
            "look-up", [](char *mac) { return check_update_mapping_table(mac, 30); }, SARN_ERR_LOOKUP_ONLY),
        as_mac_buffer("entry", check_macaddress_entry, SARN_ERR_NOT_FOUND),
        as_mac_buffer(
            "creation", [](char *mac) { return check_update_mapping_table(mac, 0); }, ANY_ROW)};
    for (int32_t code = SARN_FIELD_HUA; code <= SARN_FIELD_UUID; ++code) {
        // A text that is no address is refused by the one and passed over by the other.
        const bool is_address = code == SARN_FIELD_AP_MAC || code == SARN_FIELD_IP;
        all.push_back(as_field(code, is_address ? Texts{} : CODE_MEMBERS[code - 1],
                               code == SARN_FIELD_AP_MAC ? always(SARN_ERR_MAC) : nullptr));
    }
    return all;
}

}  // namespace

#endif
