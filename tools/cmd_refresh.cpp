// sarn refresh: asks for a forced refresh of what is known of the devices.
#include <CLI/CLI.hpp>

#include "commands.h"
#include "refusal.h"
#include "session.h"

namespace tool {

Run setup_refresh(CLI::App &) {
    return [](Output &) {
        const Session session;
        require(Call::Refresh, sarn_weekly_refresh_request(), "cannot ask for a refresh");
        return EXIT_DONE;
    };
}

}  // namespace tool
