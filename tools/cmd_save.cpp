// sarn save: has the platform write the store where it outlasts a restart of the router.
#include <CLI/CLI.hpp>

#include "commands.h"
#include "kora.h"
#include "refusal.h"

// A platform may lack it.
extern "C" __attribute__((weak)) int32_t kora_save(void *handle);

namespace tool {

namespace {

ExitCode save_store() {
    if (kora_save == nullptr) throw Refusal(EXIT_NO_STORE, "cannot save: this platform's store has no such operation");
    void *handle = kora_init_ex(nullptr);
    if (handle == nullptr) throw Refusal(EXIT_NO_STORE, "cannot save: the store cannot be opened");
    const int32_t code = kora_save(handle);
    (void)kora_destroy(handle);
    if (code != 0) throw Refusal(EXIT_NO_STORE, "cannot save: the store refused (code " + std::to_string(code) + ")");
    return EXIT_DONE;
}

}  // namespace

Run setup_save(CLI::App &) {
    return [](Output &) { return save_store(); };
}

}  // namespace tool
