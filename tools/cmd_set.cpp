// sarn set: one field of a device, by its name.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>

#include "arguments.h"
#include "commands.h"
#include "mac_text.h"
#include "refusal.h"
#include "session.h"
#include "written.h"

namespace tool {

namespace {

// What the library would pass over without a word is refused here.
enum class Form : uint8_t { Text, TextNotEmpty, Ip, Mac, Access };

struct SettableField {
    const char *name;
    const FieldSpec *field;
    const char *values;  // null: any text
    sarn_field_code code;
    Form form = Form::Text;
};

constexpr SettableField SETTABLE_FIELDS[] = {
    {"name", &field_named("DisplayNameCustom"), nullptr, SARN_FIELD_NAME_CUSTOM},
    {"type", &field_named("DeviceTypeCustom"), nullptr, SARN_FIELD_TYPE_CUSTOM},
    {"brand", &field_named("DisplayBrandCustom"), nullptr, SARN_FIELD_BRAND_CUSTOM},
    {"model", &field_named("DisplayModelCustom"), nullptr, SARN_FIELD_MODEL_CUSTOM},
    {"category", &field_named("DeviceCategory"), nullptr, SARN_FIELD_CATEGORY},
    {"uuid", &field_named("DeviceUUID"), nullptr, SARN_FIELD_UUID},
    {"access", &field_named("AllowOrBlock"), "allow or block", SARN_FIELD_ALLOW_OR_BLOCK, Form::Access},
    {"state", &field_named("Devicestate"), "UP, DOWN, unknown, or a word of your own", SARN_FIELD_STATE},
    {"tag", &field_named("IsTagged"), "untag; ONLINE, OFFLINE or BOTH announce the device's coming, going or both",
     SARN_FIELD_TAG},
    {"ip", &field_named("DeviceIP"), "an IPv4 address", SARN_FIELD_IP, Form::Ip},
    {"interface", &field_named("DeviceConnectionInterface"), nullptr, SARN_FIELD_CONNECTION_INTERFACE},
    {"ssid", &field_named("ConnSSID"), nullptr, SARN_FIELD_SSID},
    {"ap-mac", &field_named("ConnAPMac"), "a MAC address", SARN_FIELD_AP_MAC, Form::Mac},
    {"signal", &field_named("DeviceSignalStrength"), nullptr, SARN_FIELD_SIGNAL_STRENGTH},
    {"link-rate", &field_named("DeviceLinkRate"), nullptr, SARN_FIELD_LINK_RATE},
    {"download", &field_named("DownloadBW"), nullptr, SARN_FIELD_DOWNLOAD_BW},
    {"upload", &field_named("UploadBW"), nullptr, SARN_FIELD_UPLOAD_BW},
    {"dhcp-hostname", &field_named("DeviceDHCPHostname"), "not empty", SARN_FIELD_DHCP_HOSTNAME, Form::TextNotEmpty},
    {"dhcp-vendor", &field_named("DeviceDHCPVendor"), "not empty", SARN_FIELD_DHCP_VENDOR, Form::TextNotEmpty},
    {"dhcp-options", &field_named("DeviceDHCPOptions"), "not empty", SARN_FIELD_DHCP_OPTIONS, Form::TextNotEmpty},
    {"user-agent", &field_named("DeviceHua"), "not empty", SARN_FIELD_HUA, Form::TextNotEmpty},
};
static_assert(std::size(SETTABLE_FIELDS) == SARN_FIELD_UUID, "each field code has its word");

struct SetOptions {
    std::string mac;
    std::string field;
    std::string value;
    int32_t producer = 0;
};

const SettableField &require_field(const std::string &name) {
    const auto field = std::ranges::find(SETTABLE_FIELDS, name, &SettableField::name);
    if (field == std::end(SETTABLE_FIELDS))
        throw Refusal(EXIT_USAGE, in_quotes(name) + " is not a field; `sarn set --help` lists them");
    return *field;
}

std::string require_value(const SettableField &field, const std::string &typed) {
    require_length(typed, SARN_VALUE_MAX - 1, field.name);
    switch (field.form) {
        case Form::Text: return typed;
        case Form::Ip: return require_ip(typed);
        case Form::Mac: return require_mac(typed);
        case Form::TextNotEmpty:
            if (!typed.empty()) return typed;
            throw Refusal(EXIT_USAGE, std::string(field.name) + " cannot be emptied");
        case Form::Access:
            if (typed == "allow" || typed == "block") return typed;
            throw Refusal(EXIT_USAGE, std::string(field.name) + " is allow or block, not " + in_quotes(typed));
    }
    return typed;
}

ExitCode set_field(const SetOptions &options) {
    const std::string mac = require_mac(options.mac);
    const SettableField &field = require_field(options.field);
    const std::string value = require_value(field, options.value);
    const Session session;
    // With its NUL: an empty value has a length too, and an address must bring its end.
    const auto length = static_cast<int32_t>(value.size() + 1);
    const bool may_be_gone = field.code == SARN_FIELD_STATE && is_offline(value);
    require_written(session, mac, {.texts = {{field.field, value}}, .may_be_gone = may_be_gone}, [&] {
        const int32_t answer =
            sarn_update_table_field(mac.c_str(), field.code, value.c_str(), length, options.producer);
        require(Call::SetField, answer, "cannot write the " + options.field + " of " + mac);
    });
    return EXIT_DONE;
}

std::string help_of_fields() {
    static constexpr size_t NAME_WIDTH = 15;
    std::string help = "Fields:\n";
    for (const SettableField &field : SETTABLE_FIELDS) {
        std::string line = "  " + std::string(field.name);
        line.append(NAME_WIDTH - std::string_view(field.name).size(), ' ') += field.field->label;
        help += line + (field.values == nullptr ? "" : std::string(" (") + field.values + ")") + "\n";
    }
    help.pop_back();
    return help;
}

}  // namespace

Run setup_set(CLI::App &command) {
    const auto options = std::make_shared<SetOptions>();
    add_mac(command, options->mac);
    command.add_option("FIELD", options->field, "One of the fields below")->required()->type_name("");
    command
        .add_option("VALUE", options->value,
                    "At most " + std::to_string(SARN_VALUE_MAX - 1) + " bytes; an empty text clears most of them")
        ->required()
        ->type_name("");
    add_producer(command, options->producer);
    command.footer(help_of_fields());
    return [options](Output &) { return set_field(*options); };
}

}  // namespace tool
