// sarn types: the device types, and the recogniser's keys that lead to each.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "device_text.h"
#include "json_text.h"
#include "sarn.h"
#include "text_table.h"

namespace tool {

namespace {

template <size_t Width>
std::string_view text_of(const char (&member)[Width]) {
    return {member, strnlen(member, Width)};
}

// The keys of each type, in lines of at most `width` columns.
std::vector<std::vector<std::string>> lines_of_keys(size_t width) {
    std::vector<std::vector<std::string>> types;
    std::set<std::string_view> seen;
    for (const device_type_row &row : Newtypestorage) {
        // Of a key that stands there twice the first counts.
        if (!seen.insert(text_of(row.key)).second) continue;
        types.resize(std::max(types.size(), static_cast<size_t>(row.id) + 1));
        std::vector<std::string> &lines = types[static_cast<size_t>(row.id)];
        const std::string key = escape_for_terminal(text_of(row.key));
        if (lines.empty() || lines.back().size() + 1 + key.size() > width) {
            lines.push_back(key);
        } else {
            lines.back() += " " + key;
        }
    }
    return types;
}

std::string words_of_types(const Output &output) {
    static constexpr size_t OTHER_COLUMNS = 29;
    TextTable table = {{{"ID", 2}, {"TYPE", 4}, {"KEYS", 6}}, {}};
    const auto types = lines_of_keys(output.columns - OTHER_COLUMNS);
    for (size_t id = 0; id < types.size(); ++id) {
        const char *type = get_quorvex_device_type(static_cast<int32_t>(id));
        for (const std::string &line : types[id]) {
            const bool is_first = &line == &types[id].front();
            table.rows.push_back({{is_first ? std::to_string(id) : ""},
                                  {is_first && type != nullptr ? escape_for_terminal(type) : ""},
                                  {line}});
        }
    }
    return render(table, output.columns, output.with_colour);
}

std::string json_of_types() {
    Json array = Json::array();
    for (const device_type_row &row : Newtypestorage)
        array.push_back({{"key", text_of(row.key)}, {"type", text_of(row.display)}, {"id", row.id}});
    return dump(array);
}

}  // namespace

Run setup_types(CLI::App &command) {
    const auto as_json = std::make_shared<bool>(false);
    command.add_flag("--json", *as_json, "Print an array of all keys, in the order in which they are looked at");
    return [as_json](Output &output) {
        output.text += *as_json ? json_of_types() : words_of_types(output);
        return EXIT_DONE;
    };
}

}  // namespace tool
