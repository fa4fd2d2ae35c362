// sarn name, type, model and brand: the owner's own word for a device.
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

struct TextCommand {
    const char *name;
    const FieldSpec *field;
    size_t limit;
    int32_t (*write)(const char *mac, const char *text, int32_t length, int32_t producer);
};

constexpr TextCommand TEXT_COMMANDS[] = {
    {"name", &field_named("DisplayNameCustom"), sizeof display_request::display_name - 1, update_device_displayname},
    {"type", &field_named("DeviceTypeCustom"), sizeof display_request::type - 1, update_device_displaytype},
    {"model", &field_named("DisplayModelCustom"), sizeof display_request::model - 1, update_device_displaymodel},
    {"brand", &field_named("DisplayBrandCustom"), sizeof display_request::brand - 1, update_device_displaybrand},
};

struct TextOptions {
    std::string mac;
    std::string text;
    int32_t producer = 0;
};

ExitCode write_text(const TextCommand &kind, const TextOptions &options) {
    const std::string mac = require_mac(options.mac);
    require_length(options.text, kind.limit, std::string("a ") + kind.name);
    const Session session;
    const auto length = static_cast<int32_t>(options.text.size());
    require_written(session, mac, {.texts = {{kind.field, options.text}}}, [&] {
        require(Call::DisplayText, kind.write(mac.c_str(), options.text.c_str(), length, options.producer),
                std::string("cannot write the ") + kind.name + " of " + mac);
    });
    return EXIT_DONE;
}

}  // namespace

Run setup_text(CLI::App &command) {
    const auto options = std::make_shared<TextOptions>();
    const TextCommand &kind = *std::ranges::find(TEXT_COMMANDS, command.get_name(), &TextCommand::name);
    add_mac(command, options->mac);
    command
        .add_option("TEXT", options->text,
                    "At most " + std::to_string(kind.limit) + " bytes; an empty text takes yours back")
        ->required()
        ->type_name("");
    add_producer(command, options->producer);
    command.footer("A text that begins with a dash goes after `--`.");
    return [options, &kind](Output &) { return write_text(kind, *options); };
}

}  // namespace tool
