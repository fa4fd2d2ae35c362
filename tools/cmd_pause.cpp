// sarn block and allow: whether devices may use the network.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "arguments.h"
#include "commands.h"
#include "mac_text.h"
#include "refusal.h"
#include "session.h"
#include "written.h"

namespace tool {

namespace {

constexpr uint8_t BLOCK = 0;
constexpr uint8_t ALLOW = 1;

struct PauseOptions {
    std::vector<std::string> macs;
    int32_t producer = 0;
};

ExitCode write_access(const std::string &access, const PauseOptions &options) {
    std::vector<std::string> macs;
    for (const std::string &typed : options.macs) macs.push_back(require_mac(typed));
    const Session session;
    // The library passes over a device that it does not know; with one misspelt, none is to be changed.
    for (const std::string &mac : macs) (void)session.find_device(mac);

    std::vector<const char *> list(macs.size());
    std::ranges::transform(macs, list.begin(), [](const std::string &mac) { return mac.c_str(); });
    const uint8_t state = access == "allow" ? ALLOW : BLOCK;
    const int32_t answer =
        sarn_update_pause_list(list.data(), state, static_cast<uint32_t>(list.size()), options.producer);
    require(Call::Pause, answer, "cannot " + access + " " + macs.front() + (macs.size() > 1 ? " and the others" : ""));
    const Wanted wanted = {.texts = {{&field_named("AllowOrBlock"), access}}};
    for (const std::string &mac : macs) require_written(session, mac, wanted, [] {});  // the list is written already
    return EXIT_DONE;
}

// The parser takes a text in brackets for a list, and passes over an empty one without a word.
void require_no_list(const CLI::App &command, const std::vector<std::string> &macs) {
    const auto typed = std::ranges::count(command.parse_order(), command.get_option("MAC"));
    if (static_cast<size_t>(typed) != macs.size())
        throw Refusal(EXIT_USAGE, "MAC addresses are given one by one, not in brackets");
}

}  // namespace

Run setup_pause(CLI::App &command) {
    const auto options = std::make_shared<PauseOptions>();
    command.add_option("MAC", options->macs, "MAC addresses of the devices, in any usual spelling")
        ->required()
        ->type_name("");
    add_producer(command, options->producer);
    return [options, &command](Output &) {
        require_no_list(command, options->macs);
        return write_access(command.get_name(), *options);
    };
}

}  // namespace tool
