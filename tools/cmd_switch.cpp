// sarn access and upgrade: two switches of the whole router, shown without an argument.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>

#include "commands.h"
#include "json_text.h"
#include "refusal.h"
#include "session.h"

namespace tool {

namespace {

struct Switch {
    const char *name;
    bool (Session::*read)() const;
    int32_t (*write)(uint8_t is_on);
};

constexpr Switch SWITCHES[] = {
    {"access", &Session::is_access_control_on, sarn_set_ACL},
    {"upgrade", &Session::is_upgrade_on, set_sarn_upgrade_status},
};

struct SwitchOptions {
    std::string value;
    bool json = false;
};

ExitCode run_switch(const Switch &kind, const SwitchOptions &options, Output &output) {
    const Session session;
    if (!options.value.empty()) {
        const uint8_t is_on = options.value == "on" ? 1 : 0;
        require(Call::Switch, kind.write(is_on), std::string("cannot turn ") + kind.name + " " + options.value);
        return EXIT_DONE;
    }
    const bool is_on = (session.*kind.read)();
    output.text += options.json ? dump({{kind.name, is_on}}) : is_on ? "on\n" : "off\n";
    return EXIT_DONE;
}

}  // namespace

Run setup_switch(CLI::App &command) {
    const auto options = std::make_shared<SwitchOptions>();
    const Switch &kind = *std::ranges::find(SWITCHES, command.get_name(), &Switch::name);
    CLI::Option *value = command.add_option("STATE", options->value, "on or off; without it, print which it is")
                             ->type_name("")
                             ->check(CLI::IsMember({"on", "off"}).description(""));
    command.add_flag("--json", options->json, "Print an object that holds true or false")->excludes(value);
    return [options, &kind](Output &output) { return run_switch(kind, *options, output); };
}

}  // namespace tool
