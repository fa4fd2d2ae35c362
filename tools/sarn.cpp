// sarn: the device list of the router, for its owner.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "kora.h"
#include "log_levels.h"
#include "refusal.h"

namespace {

using namespace tool;

constexpr Command COMMANDS[] = {
    {"list", "List the devices that the router knows", setup_list},
    {"show", "Show everything that is known of one device", setup_show},
    {"name", "Give a device a name", setup_text},
    {"type", "Say what type a device is", setup_text},
    {"brand", "Say what brand a device is", setup_text},
    {"model", "Say what model a device is", setup_text},
    {"block", "Keep devices off the network", setup_pause},
    {"allow", "Let devices onto the network again", setup_pause},
    {"forget", "Take a device that is not up out of the list", setup_forget},
    {"set", "Change one field of a device", setup_set},
    {"report", "Report a device as a producer does", setup_report},
    {"access", "Show or turn the router's access control", setup_switch},
    {"upgrade", "Show or turn the router's upgrade switch", setup_switch},
    {"refresh", "Ask for a refresh of what is known of all devices", setup_refresh},
    {"types", "List the device types, and the recogniser's keys for each", setup_types},
    {"status", "Show how full the list is and where it is kept", setup_status},
    {"save", "Save the list where it outlasts a restart of the router", setup_save},
    {"log-level", "Show what --log-level may be", setup_log_level},
};

constexpr char HELP_FOOTER[] =
    "`sarn COMMAND --help` tells what a command takes. KORA_STORE names the store (default " KORA_DEFAULT_STORE
    ").\n"
    "Exit codes: 0 done, 1 not found, 2 usage, 3 store not available, 4 refused by the state of the device or router,\n"
    "5 output not written, or memory short.";

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

// Last first, as the parser takes them. Behind an option that ends in its equals sign a person means an empty text; the
// parser would take the next argument.
std::vector<std::string> arguments_of(int argc, char **argv) {
    static constexpr size_t SHORTEST = sizeof "--n=" - 1;
    std::vector<std::string> arguments;
    bool may_be_option = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        may_be_option = may_be_option && argument != "--";
        const bool lacks_text = may_be_option && argument.size() >= SHORTEST && argument.starts_with("--") &&
                                argument.find('=') == argument.size() - 1;
        arguments.emplace_back(argument.substr(0, argument.size() - (lacks_text ? 1 : 0)));
        if (lacks_text) arguments.emplace_back();
    }
    std::ranges::reverse(arguments);
    return arguments;
}

ExitCode run(int argc, char **argv, Output &output) {
    CLI::App app("The device list of the router", "sarn");
    app.require_subcommand(0, 1);  // a missing one is refused below: the parser would say so of a misspelt one too
    app.set_version_flag("--version", std::string("sarn " SARN_TOOL_VERSION), "Print the version and exit");
    app.get_formatter()->label("REQUIRED", "(required)");
    app.add_option("--log-level", log_level, "Messages of the library to show; `sarn log-level` lists the levels")
        ->type_name("N")
        ->check(CLI::Range(std::begin(LOG_LEVELS)->number, std::rbegin(LOG_LEVELS)->number).description(""));

    std::vector<Run> runs;
    for (const Command &command : COMMANDS) {
        CLI::App *subcommand = app.add_subcommand(command.name, command.help);
        subcommand->fallthrough();
        runs.push_back(command.setup(*subcommand));
    }
    app.footer(HELP_FOOTER);  // after the subcommands, which would take it over
    try {
        app.parse(arguments_of(argc, argv));
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
    // A closed pipe, or a file that reaches the process's limit, is then a failed write, and gets its message.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Output output = describe_standard_output();
    const ExitCode exit_code = run(argc, argv, output);
    return write_output(output) ? exit_code : EXIT_OUTPUT;
} catch (const std::bad_alloc &) {
    print_message("memory is short");
    return EXIT_OUTPUT;
} catch (const std::exception &failure) {
    print_message(failure.what());
    return EXIT_OUTPUT;
}
