// The arguments and the environment that dnsmasq makes of what a client sends: never past their widths, characters kept
// whole, and a report that the library takes.
#include "producers/dhcp_event.h"

#include "fuzz.h"
#include "producers/client_text.h"

namespace {

template <size_t Width>
void check_text(const char (&field)[Width], const std::string &sent) {
    require(std::memchr(field, '\0', Width) != nullptr, "a text has no end");
    require(sent.starts_with(field), "another text than the client's");
    require(!is_utf8(sent) || is_utf8(field), "half a character");
}

void check_report(const signature_record &report, const std::string &vendor, const std::string &options) {
    static const OwnList list;
    check_text(report.dhcp_vendor, vendor);
    check_text(report.dhcp_options, options);
    device_info shown;
    require(update_device_signature(&report, 20) == SARN_OK, "the library refuses the report");
    require(get_device_info_by_mac(&shown, report.mac) == SARN_OK, "the device is not there");
    require(sarn_dhcp::is_shown(report, shown), "the list shows something else");
    require(sarn_update_table_field(report.mac, SARN_FIELD_STATE, "DOWN", 5, 0) == SARN_OK, "no state");
    require(sarn_remove_macaddress_entry(report.mac) == SARN_OK, "the device stays");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    std::string arguments[5] = {"sarn-dhcp"}, vendor, options, others[3];
    const int count = input.byte() % 6;
    for (int i = 1; i < count; ++i) arguments[i] = input.text();
    vendor = input.text(), options = input.text();
    for (std::string &other : others) other = input.text();
    const char *argv[6] = {};
    for (int i = 0; i < count; ++i) argv[i] = arguments[i].c_str();
    const std::string variables[] = {"DNSMASQ_VENDOR_CLASS=" + vendor, "DNSMASQ_REQUESTED_OPTIONS=" + options,
                                     "DNSMASQ_SUPPLIED_HOSTNAME=" + others[0], "DNSMASQ_INTERFACE=" + others[1],
                                     others[2]};
    const char *environment[std::size(variables) + 1] = {};
    std::transform(std::begin(variables), std::end(variables), environment, [](const auto &v) { return v.c_str(); });

    char shown[32];
    sarn_dhcp::escape_text(others[2].c_str(), shown, sizeof shown);
    for (const char *byte = shown; *byte != '\0'; ++byte) require(*byte >= ' ' && *byte <= '~', "not printable");
    sarn_dhcp::Event event;
    signature_record report;
    if (sarn_dhcp::read_event(count, argv, event) != sarn_dhcp::Verdict::Report) return 0;
    require(sarn_dhcp::fill_report(event, environment, nullptr, report), "no report of a new device");
    check_report(report, vendor.c_str(), options.c_str());
    return 0;
}
