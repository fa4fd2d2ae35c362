// sarn list: every device that the router knows, one a line.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "device_json.h"
#include "device_record.h"
#include "refusal.h"
#include "session.h"
#include "text_table.h"

namespace tool {

namespace {

struct ListOptions {
    bool json = false;
    bool wide = false;
};

struct DeviceColumn {
    Column column;
    bool wide_only;
    std::string (*words)(const Device &device);
    Style (*style)(const Device &device) = nullptr;
};

Style state_style(const Device &device) {
    const std::string_view state = read_text(device.record, field_named("Devicestate"));
    return state == "UP" || state == "up" ? Style::Good : Style::Faint;
}

Style access_style(const Device &device) {
    return read_text(device.record, field_named("AllowOrBlock")) == "block" ? Style::Alert : Style::Plain;
}

constexpr bool WIDE_ONLY = true;
constexpr bool ALWAYS = false;

constexpr DeviceColumn COLUMNS[] = {
    {{"ROW", 3}, ALWAYS, [](const Device &d) { return std::to_string(d.row); }},
    {{"NAME", 10}, ALWAYS, [](const Device &d) { return shown_name(d.record); }},
    {{"MAC", 17}, ALWAYS, [](const Device &d) { return shown_value(d.record, field_named("DeviceMAC")); }},
    {{"IP", 15}, ALWAYS, [](const Device &d) { return shown_value(d.record, field_named("DeviceIP")); }},
    {{"STATE", 7},
     ALWAYS,
     [](const Device &d) { return shown_value(d.record, field_named("Devicestate")); },
     state_style},
    {{"ACCESS", 6},
     ALWAYS,
     [](const Device &d) { return shown_value(d.record, field_named("AllowOrBlock")); },
     access_style},
    {{"TYPE", 4, 1}, ALWAYS, [](const Device &d) { return shown_type(d.record); }},
    {{"BRAND", 5}, WIDE_ONLY, [](const Device &d) { return shown_brand(d.record); }},
    {{"MODEL", 5}, WIDE_ONLY, [](const Device &d) { return shown_model(d.record); }},
    {{"VENDOR CLASS", 6, 2},
     ALWAYS,
     [](const Device &d) { return shown_value(d.record, field_named("DeviceDHCPVendor")); }},
    {{"DHCP OPTIONS", 6},
     WIDE_ONLY,
     [](const Device &d) { return shown_value(d.record, field_named("DeviceDHCPOptions")); }},
};

TextTable table_of(const std::vector<Device> &devices, bool wide) {
    TextTable table;
    table.rows.resize(devices.size());
    for (const DeviceColumn &column : COLUMNS) {
        if (column.wide_only && !wide) continue;
        table.columns.push_back(column.column);
        for (size_t i = 0; i < devices.size(); ++i) {
            const Style style = column.style == nullptr ? Style::Plain : column.style(devices[i]);
            table.rows[i].push_back({column.words(devices[i]), style});
        }
    }
    return table;
}

ExitCode list_devices(const ListOptions &options, Output &output) {
    std::vector<Device> devices;
    ExitCode exit_code = EXIT_DONE;
    const Session session;
    for (const uint32_t row : session.rows_in_use()) {
        try {
            devices.push_back(session.read_device(row));
        } catch (const Refusal &refusal) {
            if (refusal.exit_code() == EXIT_NOT_FOUND) continue;  // freed since the rows were asked for
            print_message(refusal.what());
            exit_code = refusal.exit_code();
        }
    }
    output.text += options.json ? json_of(devices)
                                : render(table_of(devices, options.wide), options.wide ? NO_LIMIT : output.columns,
                                         output.with_colour);
    return exit_code;
}

}  // namespace

Run setup_list(CLI::App &command) {
    const auto options = std::make_shared<ListOptions>();
    command.add_flag("--json", options->json, "Print an array of objects with every field");
    command.add_flag("--wide,-w", options->wide, "Print more columns, and cut no text");
    return [options](Output &output) { return list_devices(*options, output); };
}

}  // namespace tool
