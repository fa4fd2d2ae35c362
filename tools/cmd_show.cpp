// sarn show: everything that is known of one device, one field a line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "device_json.h"
#include "device_record.h"
#include "device_text.h"
#include "mac_text.h"
#include "refusal.h"
#include "session.h"
#include "text_table.h"

namespace tool {

namespace {

struct ShowOptions {
    std::string device;
    bool json = false;
};

// Nothing for a text that is no row.
std::optional<uint32_t> read_row(const std::string &text) {
    uint32_t row = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, row);
    if (error != std::errc{} || stop != end || row >= SARN_ROWS) return std::nullopt;
    return row;
}

Device read_device(const std::string &typed) {
    // A MAC address may be written in digits alone, and is then far longer than a row.
    static constexpr size_t ROW_DIGITS = 3;
    const std::optional<uint32_t> row = typed.size() <= ROW_DIGITS ? read_row(typed) : std::nullopt;
    if (!row && !read_mac(typed))
        throw Refusal(EXIT_USAGE, in_quotes(typed) + " is neither a row (0 to " + std::to_string(SARN_ROWS - 1) +
                                      ") nor a MAC address");
    const std::string mac = row ? "" : require_mac(typed);
    const Session session;
    return row ? session.read_device(*row) : session.find_device(mac);
}

std::vector<FieldSpec> fields_of(Group group) {
    std::vector<FieldSpec> fields;
    for (const FieldSpec &field : FIELDS) {
        if (field.group == group) fields.push_back(field);
    }
    std::ranges::sort(fields, {}, &FieldSpec::place);
    return fields;
}

std::string lines_of(const Device &device, bool with_colour) {
    size_t label_width = 0;
    for (const FieldSpec &field : FIELDS) label_width = std::max(label_width, display_width(field.label));

    std::string out =
        styled("Row " + std::to_string(device.row) + ": " + shown_name(device.record), Style::Title, with_colour) +
        "\n";
    for (size_t group = 0; group < std::size(GROUP_TITLES); ++group) {
        out += "\n" + styled(GROUP_TITLES[group], Style::Title, with_colour) + "\n";
        for (const FieldSpec &field : fields_of(static_cast<Group>(group))) {
            const std::string padding(label_width - display_width(field.label), ' ');
            out += std::string("  ") + field.label + padding + "  " + shown_value(device.record, field) + "\n";
        }
    }
    return out;
}

ExitCode show_device(const ShowOptions &options, Output &output) {
    const Device device = read_device(options.device);
    output.text += options.json ? json_of(device) : lines_of(device, output.with_colour);
    return EXIT_DONE;
}

}  // namespace

Run setup_show(CLI::App &command) {
    const auto options = std::make_shared<ShowOptions>();
    command.add_option("DEVICE", options->device, "MAC address in any usual spelling, or row as `sarn list` shows it")
        ->required()
        ->type_name("");
    command.add_flag("--json", options->json, "Print one object with every field");
    return [options](Output &output) { return show_device(*options, output); };
}

}  // namespace tool
