// sarn save: has the platform write the store where it outlasts a restart of the router.
#include <CLI/CLI.hpp>

#include "commands.h"
#include "kora.h"
#include "refusal.h"

namespace tool {

namespace {

ExitCode save_store() {
    void *handle = kora_init_ex(nullptr);
    if (handle == nullptr) throw Refusal(EXIT_NO_STORE, "cannot save: the store cannot be opened");
    const int32_t code = kora_save(handle);
    (void)kora_destroy(handle);
    if (code != 0)
        throw Refusal(EXIT_NO_STORE,
                      "not saved: the store could not write its copy (code " + std::to_string(code) + ")");
    return EXIT_DONE;
}

}  // namespace

Run setup_save(CLI::App &) {
    return [](Output &) { return save_store(); };
}

}  // namespace tool
