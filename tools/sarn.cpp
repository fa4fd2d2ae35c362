// sarn: the device list of the router, for its owner.
#include <CLI/CLI.hpp>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "commands.h"
#include "refusal.h"
#include "sarn.h"

namespace {

using namespace tool;

constexpr Command COMMANDS[] = {
    {"list", "List the devices that the router knows", setup_list},
    {"show", "Show everything that is known of one device", setup_show},
};

constexpr int32_t LOG_ALL = 1;
constexpr int32_t LOG_REFUSALS = 4;
constexpr int32_t LOG_NOTHING = 5;

// Help and version are output like any other: asking for them with nowhere to write is an error too.
ExitCode answer_parser(const CLI::App &app, const CLI::Error &error, Output &output) {
    std::ostringstream out;
    std::ostringstream messages;
    const int code = app.exit(error, out, messages);
    output.text += out.str();
    std::istringstream lines(messages.str());
    for (std::string line; std::getline(lines, line);) print_message(line);
    return code == 0 ? EXIT_DONE : EXIT_USAGE;
}

ExitCode run(int argc, char **argv, Output &output) {
    CLI::App app("The device list of the router", "sarn");
    app.require_subcommand(0, 1);  // a missing one is refused below: the parser would say so of a misspelt one too
    app.set_version_flag("--version", std::string("sarn " SARN_TOOL_VERSION), "Print the version and exit");
    app.footer(EXIT_CODE_HELP);
    __log_level = LOG_REFUSALS;
    app.add_option("--log-level", __log_level,
                   "Library messages to show: 1 all, 2 notices, 4 refusals (default), 5 none")
        ->type_name("N")
        ->check(CLI::Range(LOG_ALL, LOG_NOTHING).description(""));

    std::vector<Run> runs;
    for (const Command &command : COMMANDS) {
        CLI::App *subcommand = app.add_subcommand(command.name, command.help);
        subcommand->fallthrough();
        runs.push_back(command.setup(*subcommand));
    }
    try {
        app.parse(argc, argv);
        for (size_t i = 0; i < runs.size(); ++i) {
            if (app.got_subcommand(COMMANDS[i].name)) return runs[i](output);
        }
    } catch (const CLI::Error &error) {
        return answer_parser(app, error, output);
    } catch (const Refusal &refusal) {
        print_message(refusal.what());
        return refusal.exit_code();
    }
    print_message("a command is required; `sarn --help` lists them");
    return EXIT_USAGE;
}

}  // namespace

int main(int argc, char **argv) try {
    occupy_standard_descriptors();
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is then a failed write, and gets its message
    Output output = describe_standard_output();
    const ExitCode exit_code = run(argc, argv, output);
    return write_output(output) ? exit_code : EXIT_OUTPUT;
} catch (const std::exception &failure) {  // memory is short
    print_message(failure.what());
    return EXIT_OUTPUT;
}
