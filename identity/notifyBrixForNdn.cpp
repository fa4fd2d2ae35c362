// Tells BRIX which row holds a new device.
#include "identity/new_device_notice.h"

#include "core/group.h"
#include "core/log.h"
#include "core/store.h"

namespace sarn {

namespace {

constexpr int32_t NEW_DEVICE_FEATURE = 1;
constexpr int32_t SARN_PROCESS = 4;

}  // namespace

void log_brix_notice() { SARN_LOG(BrixNotification, "notifyBrixForNdn", __LINE__); }

void write_brix_notice(uint32_t row) {
    (void)write_number(Field::BRIXConfig_FeatureId, SINGLE_ROW, NEW_DEVICE_FEATURE);
    (void)write_number(Field::BRIXConfig_NewDeviceIndex, SINGLE_ROW, static_cast<int32_t>(row));
    (void)write_number(Field::BRIXConfig_ProcessId, SINGLE_ROW, SARN_PROCESS);
}

}  // namespace sarn

void notifyBrixForNdn(uint32_t index) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    log_brix_notice();
    (void)write_group([&]() SARN_REQUIRES(state_lock) {
        write_brix_notice(index);
        return true;
    });
}
