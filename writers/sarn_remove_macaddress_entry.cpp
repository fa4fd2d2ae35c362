// Forgets a device: resets its row and frees it, unless the device is up.
#include <string.h>

#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/call.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/reset_device_entry.h"
#include "core/store.h"
#include "include/sarn.h"

namespace sarn {

namespace {

constexpr char HANDLER_NAME[] = "sarn_remove_macaddress_entry_handler";

int32_t remove_device(removal_request &request);
MacText read_asked_mac(const removal_request &request);
bool is_up(int32_t row) SARN_REQUIRES(state_lock);
int32_t refusal_of(int32_t row) SARN_REQUIRES(state_lock);
int32_t refusal_in_group(int32_t row) SARN_REQUIRES(state_lock);

int32_t remove_device(removal_request &request) {
    const Exclusive hold(state_lock);
    if (initialised != 1) {
        SARN_LOG(SarnLibraryNotInitialised);
        return SARN_ERR_NOT_INITIALISED;
    }
    if (pass_entry_gate(HANDLER_NAME) != SARN_OK) return SARN_ERR_REBUILD;

    MacText mac = read_asked_mac(request);
    SARN_LOG(RemovalBegins, HANDLER_NAME, __LINE__, mac.text);
    upper_case(mac.text, sizeof request.mac);
    const int32_t row = lowest_row_of(mac.text);
    if (!is_row(row)) return SARN_ERR_NO_ROW;
    const int32_t refusal = read_group([&]() SARN_REQUIRES(state_lock) { return refusal_of(row); });
    if (refusal != SARN_OK) return refusal;

    SARN_LOG(RemovalResets);
    const int32_t reset = reset_device_entry(row, refusal_in_group);
    if (reset != SARN_OK) return reset;
    return pass_entry_gate(HANDLER_NAME) == SARN_OK ? SARN_OK : SARN_ERR_REBUILD;
}

// The caller's length may be more than the request holds.
MacText read_asked_mac(const removal_request &request) {
    MacText mac(request.mac);
    const size_t length = request.length < 0 ? 0 : static_cast<size_t>(request.length);
    if (length < sizeof request.mac) memset(mac.text + length, 0, sizeof mac.text - length);
    return mac;
}

bool is_up(int32_t row) { return holds_word(Field::Sarnsignature_Devicestate, row, "UP"); }

// Another process may have removed the device meanwhile, or seen it come up.
int32_t refusal_of(int32_t row) {
    if (!holds_known_device(row)) return SARN_ERR_NO_ROW;
    return is_up(row) ? SARN_ERR_DEVICE_UP : SARN_OK;
}

int32_t refusal_in_group(int32_t row) { return has_groups() ? refusal_of(row) : SARN_OK; }

}  // namespace

}  // namespace sarn

int32_t sarn_remove_macaddress_entry(const char *mac) {
    if (mac == nullptr || !sarn::mac_sanity_check(mac)) return SARN_ERR_MAC;
    removal_request request = {};
    request.length = static_cast<int32_t>(strnlen(mac, sizeof request.mac));
    memcpy(request.mac, mac, static_cast<size_t>(request.length));
    const sarn::WorkerResult worker = sarn::run_worker(sarn_remove_macaddress_entry_handler, &request);
    if (worker.error != 0) SARN_LOG(RemovalThreadFailed, worker.error);
    return worker.status;
}

void *sarn_remove_macaddress_entry_handler(void *request) {
    return sarn::finish_worker(request, sig_thread_exit_status, sarn::remove_device);
}
