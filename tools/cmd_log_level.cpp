// sarn log-level: what --log-level may be, and which level holds.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "commands.h"
#include "json_text.h"
#include "log_levels.h"
#include "text_table.h"

namespace tool {

namespace {

ExitCode print_levels(bool as_json, Output &output) {
    TextTable table = {{{"LEVEL", 5}, {"SHOWS", 5}, {"", 0}}, {}};
    Json levels = Json::array();
    const bool is_default = log_level == STORE_FAILURES;
    bool is_marked = is_default;
    for (const LogLevel &level : LOG_LEVELS) {
        const bool holds = !is_marked && level.number >= log_level;
        is_marked |= holds;
        const char *mark = holds ? "<- now" : "";
        table.rows.push_back({{std::to_string(level.number)}, {level.shows}, {mark, Style::Good}});
        levels.push_back({{"level", level.number}, {"shows", level.shows}});
    }
    output.text += as_json ? dump({{"level", is_default ? Json() : Json(log_level)}, {"levels", levels}})
                           : render(table, output.columns, output.with_colour) +
                                 (is_default ? "Now, without --log-level: what goes wrong with the store\n" : "");
    return EXIT_DONE;
}

}  // namespace

Run setup_log_level(CLI::App &command) {
    const auto as_json = std::make_shared<bool>(false);
    command.add_flag("--json", *as_json, "Print an object: the level (null without --log-level), and the levels");
    command.footer("Each process has a level of its own: set it for one run with --log-level.");
    return [as_json](Output &output) { return print_levels(*as_json, output); };
}

}  // namespace tool
