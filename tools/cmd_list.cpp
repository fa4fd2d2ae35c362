// sarn list: the devices that the router knows, one a line; or the rows that are free.
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
    std::string state;
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
    return state == "UP" ? Style::Good : Style::Faint;
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

std::vector<uint32_t> rows_to_list(const Session &session, const std::string &state) {
    if (state == "up") return session.rows_in_state(SARN_ROWS_UP);
    if (state == "down") return session.rows_in_state(SARN_ROWS_DOWN);
    return session.rows_in_state(SARN_ROWS_IN_USE);
}

ExitCode list_devices(const ListOptions &options, Output &output) {
    std::vector<Device> devices;
    ExitCode exit_code = EXIT_DONE;
    const Session session;
    for (const uint32_t row : rows_to_list(session, options.state)) {
        try {
            // It may have been freed since the rows were asked for.
            if (const auto device = session.read_device_if_used(row)) devices.push_back(*device);
        } catch (const Refusal &refusal) {
            print_message(refusal.what());
            exit_code = refusal.exit_code();
        }
    }
    output.text += options.json ? json_of(devices)
                                : render(table_of(devices, options.wide), options.wide ? NO_LIMIT : output.columns,
                                         output.with_colour);
    return exit_code;
}

// "253 free rows: 3-255"
std::string words_of_free(const std::vector<uint32_t> &rows) {
    std::string words = std::to_string(rows.size()) + (rows.size() == 1 ? " free row" : " free rows");
    for (size_t i = 0; i < rows.size(); ++i) {
        const uint32_t first = rows[i];
        while (i + 1 < rows.size() && rows[i + 1] == rows[i] + 1) ++i;
        words += first == rows.front() ? ": " : ", ";
        words += std::to_string(first) + (rows[i] == first ? "" : "-" + std::to_string(rows[i]));
    }
    return words + "\n";
}

ExitCode list_free_rows(const ListOptions &options, Output &output) {
    const std::vector<uint32_t> rows = Session().rows_in_state(SARN_ROWS_FREE);
    output.text += options.json ? json_of_rows(rows) : words_of_free(rows);
    return EXIT_DONE;
}

}  // namespace

Run setup_list(CLI::App &command) {
    const auto options = std::make_shared<ListOptions>();
    command.add_option("--state", options->state, "Only those that are up or down; or the rows that are free")
        ->type_name("up|down|free")
        ->check(CLI::IsMember({"up", "down", "free"}).description(""));
    command.add_flag("--json", options->json, "Print an array of objects with every field");
    command.add_flag("--wide,-w", options->wide, "Print more columns, and cut no text");
    return [options](Output &output) {
        return options->state == "free" ? list_free_rows(*options, output) : list_devices(*options, output);
    };
}

}  // namespace tool
