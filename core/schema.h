// Every table and field of the store, once: name, type, widest read buffer, value of a row that no one has written.
//
// The row reset walks the device fields in the order given here, a record is read in the order given here, and the
// platform's store layer takes from here what it knows. This header is data alone and includes only <stdint.h>.
#ifndef SARN_CORE_SCHEMA_H
#define SARN_CORE_SCHEMA_H

#include <stdint.h>

namespace sarn {

inline constexpr int32_t ROW_COUNT = 256;

// T(table, number of rows)
#define SARN_TABLES(T)              \
    T(DeviceIdList, ROW_COUNT)      \
    T(Sarnsignature, ROW_COUNT)     \
    T(ConnectDeviceinfo, ROW_COUNT) \
    T(general, 1)                   \
    T(sarngeneral, 1)               \
    T(General, 1)                   \
    T(SarnFWupgrade, 1)             \
    T(FeatureCfg, 1)                \
    T(BRIXNotifyDTN, 1)             \
    T(BRIXNotifyCDUPDATE, 1)        \
    T(BRIXConfig, 1)

enum class Type : uint8_t { Ascii, String, Enum, Bool, Int, Uint, Mac, Ipv4 };

// F(table, field, type, widest read buffer in bytes, reset value). The reset value of a mac or ipv4 is all zero bytes.

// A row is free while its MAC is all zero, so a reset clears these three before anything else.
#define SARN_DEVICE_MAC_FIELDS(F)              \
    F(DeviceIdList, DeviceMAC, Mac, 6, 0)      \
    F(ConnectDeviceinfo, DeviceMAC, Mac, 6, 0) \
    F(Sarnsignature, DeviceMAC, Mac, 6, 0)

#define SARN_DEVICE_DATA_FIELDS(F)                             \
    F(Sarnsignature, SARNSignatureUpdateStatus, Bool, 1, 0)    \
    F(Sarnsignature, DeviceDHCPOptions, Ascii, 65, "")         \
    F(Sarnsignature, DeviceDHCPVendor, Ascii, 65, "")          \
    F(Sarnsignature, DeviceDHCPHostname, Ascii, 65, "")        \
    F(Sarnsignature, DeviceHua, Ascii, 257, "")                \
    F(Sarnsignature, DeviceConnectionInterface, Ascii, 32, "") \
    F(Sarnsignature, DeviceCategory, Ascii, 32, "")            \
    F(Sarnsignature, AllowOrBlock, Enum, 8, "allow")           \
    F(Sarnsignature, Devicestate, Enum, 8, "unknown")          \
    F(Sarnsignature, IsTagged, Enum, 32, "untag")              \
    F(Sarnsignature, NDNEventStatus, Bool, 1, 0)               \
    F(Sarnsignature, Producerid, Int, 4, 100)                  \
    F(Sarnsignature, DeviceIP, Ipv4, 4, 0)                     \
    F(DeviceIdList, DeviceHostname, Ascii, 64, "")             \
    F(DeviceIdList, DeviceMacVendor, Ascii, 65, "")            \
    F(DeviceIdList, DeviceTypeQuorvex, Ascii, 33, "")          \
    F(DeviceIdList, DeviceTypeCustom, Ascii, 33, "")           \
    F(DeviceIdList, DeviceTypeDPI, Ascii, 32, "")              \
    F(DeviceIdList, DisplayModelCustom, Ascii, 33, "")         \
    F(DeviceIdList, DisplayBrandCustom, Ascii, 33, "")         \
    F(DeviceIdList, DisplayNameCustom, String, 64, "")         \
    F(DeviceIdList, DisplayNameDPI, Ascii, 64, "")             \
    F(DeviceIdList, DisplayNameQuorvex, Ascii, 64, "")         \
    F(DeviceIdList, FingResponsestatus, Ascii, 32, "")         \
    F(DeviceIdList, DeviceModel, Ascii, 33, "")                \
    F(DeviceIdList, DeviceUUID, Ascii, 64, "")                 \
    F(DeviceIdList, DeviceBrand, Ascii, 33, "")                \
    F(DeviceIdList, DeviceOS, Ascii, 32, "")                   \
    F(DeviceIdList, DeviceOSVersion, Ascii, 32, "")            \
    F(DeviceIdList, Timestamp, Ascii, 50, "")                  \
    F(DeviceIdList, Producerid, Int, 4, 100)                   \
    F(ConnectDeviceinfo, ConnAPMac, Mac, 6, 0)                 \
    F(ConnectDeviceinfo, ConnSSID, Ascii, 32, "")              \
    F(ConnectDeviceinfo, DeviceLinkRate, Ascii, 9, "")         \
    F(ConnectDeviceinfo, DeviceSignalStrength, Ascii, 9, "")   \
    F(ConnectDeviceinfo, DownloadBW, Ascii, 9, "")             \
    F(ConnectDeviceinfo, UploadBW, Ascii, 9, "")

// R(table, field): what a record of a device holds beside its two MACs, in the order in which it is read.
#define SARN_RECORD_FIELDS(R)                   \
    R(Sarnsignature, DeviceDHCPOptions)         \
    R(Sarnsignature, DeviceHua)                 \
    R(Sarnsignature, DeviceIP)                  \
    R(Sarnsignature, DeviceConnectionInterface) \
    R(Sarnsignature, DeviceCategory)            \
    R(Sarnsignature, Devicestate)               \
    R(Sarnsignature, DeviceDHCPHostname)        \
    R(Sarnsignature, DeviceDHCPVendor)          \
    R(Sarnsignature, IsTagged)                  \
    R(Sarnsignature, AllowOrBlock)              \
    R(DeviceIdList, DeviceHostname)             \
    R(DeviceIdList, DeviceBrand)                \
    R(DeviceIdList, DeviceModel)                \
    R(DeviceIdList, DeviceOS)                   \
    R(DeviceIdList, DeviceMacVendor)            \
    R(DeviceIdList, DeviceOSVersion)            \
    R(DeviceIdList, DeviceTypeCustom)           \
    R(DeviceIdList, DeviceTypeDPI)              \
    R(DeviceIdList, DeviceTypeQuorvex)          \
    R(DeviceIdList, DeviceUUID)                 \
    R(DeviceIdList, DisplayModelCustom)         \
    R(DeviceIdList, DisplayBrandCustom)         \
    R(DeviceIdList, DisplayNameCustom)          \
    R(DeviceIdList, DisplayNameDPI)             \
    R(DeviceIdList, DisplayNameQuorvex)         \
    R(DeviceIdList, FingResponsestatus)         \
    R(DeviceIdList, Producerid)                 \
    R(DeviceIdList, Timestamp)                  \
    R(ConnectDeviceinfo, ConnSSID)              \
    R(ConnectDeviceinfo, DeviceLinkRate)        \
    R(ConnectDeviceinfo, DeviceSignalStrength)  \
    R(ConnectDeviceinfo, DownloadBW)            \
    R(ConnectDeviceinfo, UploadBW)

#define SARN_SINGLE_ROW_FIELDS(F)                     \
    F(general, SARNSyncTimestamp, Ascii, 50, "")      \
    F(general, Internetstatus, Enum, 8, "")           \
    F(sarngeneral, MappingComplete, Enum, 8, "init")  \
    F(sarngeneral, RefreshComplete, Enum, 8, "")      \
    F(sarngeneral, WeeklyRefreshType, Enum, 8, "")    \
    F(General, SARNTableupgradestatus, Bool, 1, 0)    \
    F(SarnFWupgrade, FWStatusswitch, Enum, 8, "INIT") \
    F(FeatureCfg, NDNEnable, Bool, 1, 0)              \
    F(FeatureCfg, ACLEnable, Bool, 1, 0)              \
    F(BRIXNotifyDTN, Index, Int, 4, 0)                \
    F(BRIXNotifyCDUPDATE, IndexCD, Uint, 4, 0)        \
    F(BRIXConfig, FeatureId, Uint, 4, 0)              \
    F(BRIXConfig, NewDeviceIndex, Uint, 4, 0)         \
    F(BRIXConfig, ProcessId, Uint, 4, 0)

#define SARN_FIELDS(F)         \
    SARN_DEVICE_MAC_FIELDS(F)  \
    SARN_DEVICE_DATA_FIELDS(F) \
    SARN_SINGLE_ROW_FIELDS(F)

// The states that count as offline; any other text does not.
inline constexpr char OFFLINE_STATES[][8] = {"DOWN", "unknown"};

enum class Table : uint8_t {
#define SARN_TABLE_ID(table, rows) table,
    SARN_TABLES(SARN_TABLE_ID)
#undef SARN_TABLE_ID
};

enum class Field : uint8_t {
#define SARN_FIELD_ID(table, field, type, width, reset) table##_##field,
    SARN_FIELDS(SARN_FIELD_ID)
#undef SARN_FIELD_ID
};

// Fixed-width arrays instead of pointers: the tables need no relocation and stay in pages that all processes share.
struct TableSpec {
    char name[19];
    int32_t rows;
};

struct ResetValue {
    char text[8] = {};
    int32_t number = 0;

    template <uint32_t N>
    constexpr ResetValue(const char (&value)[N]) {
        static_assert(N <= sizeof text);
        for (uint32_t i = 0; i < N; ++i) text[i] = value[i];
    }
    constexpr ResetValue(int32_t value) : number(value) {}
};

struct FieldSpec {
    char name[26];
    Table table;
    Type type;
    uint16_t width;
    ResetValue reset;
};

inline constexpr TableSpec TABLES[] = {
#define SARN_TABLE_SPEC(table, rows) {#table, rows},
    SARN_TABLES(SARN_TABLE_SPEC)
#undef SARN_TABLE_SPEC
};

inline constexpr FieldSpec FIELDS[] = {
#define SARN_FIELD_SPEC(table, field, type, width, reset) {#field, Table::table, Type::type, width, reset},
    SARN_FIELDS(SARN_FIELD_SPEC)
#undef SARN_FIELD_SPEC
};

inline constexpr Field RECORD_FIELDS[] = {
#define SARN_RECORD_FIELD(table, field) Field::table##_##field,
    SARN_RECORD_FIELDS(SARN_RECORD_FIELD)
#undef SARN_RECORD_FIELD
};

#define SARN_COUNT_ONE(...) +1
inline constexpr int32_t DEVICE_MAC_FIELD_COUNT = 0 SARN_DEVICE_MAC_FIELDS(SARN_COUNT_ONE);
inline constexpr int32_t DEVICE_FIELD_COUNT = DEVICE_MAC_FIELD_COUNT SARN_DEVICE_DATA_FIELDS(SARN_COUNT_ONE);
inline constexpr int32_t FIELD_COUNT = 0 SARN_FIELDS(SARN_COUNT_ONE);
#undef SARN_COUNT_ONE

constexpr const FieldSpec &spec_of(Field field) { return FIELDS[static_cast<uint8_t>(field)]; }
constexpr const TableSpec &table_of(Field field) { return TABLES[static_cast<uint8_t>(spec_of(field).table)]; }

}  // namespace sarn

#endif
