// sarn forget: takes a device that is not up out of the list.
#include <CLI/CLI.hpp>
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

ExitCode forget_device(const std::string &typed) {
    const std::string mac = require_mac(typed);
    const Session session;
    for (int i = 0; i < WRITE_TRIES; ++i) {
        require(Call::Forget, sarn_remove_macaddress_entry(mac.c_str()), "cannot forget " + mac);
        // The library does not tell when the store refused a write.
        std::string text = mac;
        const int32_t found = check_macaddress_entry(text.data());
        if (found == SARN_ERR_NOT_FOUND) return EXIT_DONE;
        if (found < 0) throw refusal_of(Call::Find, found, "cannot tell whether " + mac + " is forgotten");
    }
    throw Refusal(EXIT_NO_STORE, "not forgotten: " + mac + " is still in the list; the store may be full");
}

}  // namespace

Run setup_forget(CLI::App &command) {
    const auto mac = std::make_shared<std::string>();
    add_mac(command, *mac);
    return [mac](Output &) { return forget_device(*mac); };
}

}  // namespace tool
