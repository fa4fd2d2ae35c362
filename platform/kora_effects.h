// What a change of a field sets off besides: the change number of what a rebuild reads, and a save.
#ifndef KORA_EFFECTS_H
#define KORA_EFFECTS_H

#include "core/schema.h"

namespace kora {

enum class Rebuild : uint8_t { No, Reads, ReadsWhenOffline };

struct Effect {
    sarn::Field field;
    Rebuild rebuild;
    bool is_decided;  // by a person or the router, so that it must outlast a power cut
};

inline constexpr Effect EFFECTS[] = {
    {sarn::Field::Sarnsignature_DeviceMAC, Rebuild::Reads, true},  // a new or removed row
    {sarn::Field::ConnectDeviceinfo_DeviceMAC, Rebuild::Reads, false},
    {sarn::Field::Sarnsignature_Devicestate, Rebuild::Reads, false},
    {sarn::Field::DeviceIdList_Timestamp, Rebuild::ReadsWhenOffline, false},
    {sarn::Field::general_SARNSyncTimestamp, Rebuild::Reads, false},
    {sarn::Field::DeviceIdList_DisplayNameCustom, Rebuild::No, true},
    {sarn::Field::DeviceIdList_DeviceTypeCustom, Rebuild::No, true},
    {sarn::Field::DeviceIdList_DisplayModelCustom, Rebuild::No, true},
    {sarn::Field::DeviceIdList_DisplayBrandCustom, Rebuild::No, true},
    {sarn::Field::Sarnsignature_AllowOrBlock, Rebuild::No, true},
    {sarn::Field::Sarnsignature_IsTagged, Rebuild::No, true},
    {sarn::Field::DeviceIdList_DeviceUUID, Rebuild::No, true},
    {sarn::Field::FeatureCfg_ACLEnable, Rebuild::No, true},
    {sarn::Field::FeatureCfg_NDNEnable, Rebuild::No, true},
    {sarn::Field::General_SARNTableupgradestatus, Rebuild::No, true},
    {sarn::Field::SarnFWupgrade_FWStatusswitch, Rebuild::No, true},
};

struct EffectsByField {
    Effect of[sarn::FIELD_COUNT] = {};
};

constexpr EffectsByField index_effects() {
    EffectsByField index;
    for (const Effect &effect : EFFECTS) index.of[static_cast<uint8_t>(effect.field)] = effect;
    return index;
}

inline constexpr EffectsByField EFFECTS_BY_FIELD = index_effects();

constexpr const Effect &effect_of(sarn::Field field) { return EFFECTS_BY_FIELD.of[static_cast<uint8_t>(field)]; }

}  // namespace kora

#endif
