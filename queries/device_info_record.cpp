// One row of the three device tables as a device_info record.
#include "queries/device_info_record.h"

#include <stddef.h>
#include <string.h>

#include "core/address_text.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"

namespace sarn {

namespace {

// Each field goes into the record's member of the same name.
struct RecordMember {
    Field field;
    uint16_t offset;
    uint16_t size;
};

constexpr RecordMember RECORD_MEMBERS[] = {
#define SARN_RECORD_MEMBER(table, name) {Field::table##_##name, offsetof(device_info, name), sizeof(device_info::name)},
    SARN_RECORD_FIELDS(SARN_RECORD_MEMBER)
#undef SARN_RECORD_MEMBER
};

constexpr size_t size_of_all_fields() {
    size_t size = sizeof(device_info::DeviceMAC) + sizeof(device_info::ConnAPMac);
    for (const RecordMember &member : RECORD_MEMBERS) size += member.size;
    return size;
}
static_assert(size_of_all_fields() == sizeof(device_info), "a member is missing, or the record has a gap");

constexpr bool does_fit(const RecordMember &member) {
    switch (spec_of(member.field).type) {
        case Type::Ascii:
        case Type::String:
        case Type::Enum: return member.size <= spec_of(member.field).width;
        case Type::Ipv4: return member.size == IPV4_TEXT_SIZE;
        case Type::Int: return member.size == sizeof(uint32_t);
        default: return false;  // nothing here reads it
    }
}

constexpr bool do_members_fit() {
    for (const RecordMember &member : RECORD_MEMBERS) {
        if (!does_fit(member)) return false;
    }
    return true;
}
static_assert(do_members_fit(), "a member is not as wide as what is read into it, or its type is not read");

// What a reader finds where a read failed, and after the NUL of a text that the store holds as one.
constexpr int FILLER = '0';

void read_text_member(Field field, int32_t row, char *member, uint16_t size) SARN_REQUIRES_SHARED(state_lock) {
    memset(member, FILLER, size);
    (void)read_text(field, row, member, size);
}

void read_ip(Field field, int32_t row, char (&text)[IPV4_TEXT_SIZE]) SARN_REQUIRES_SHARED(state_lock) {
    uint8_t ip[4];
    memset(ip, FILLER, sizeof ip);
    (void)read_ipv4(field, row, ip);
    ipv4_to_text(ip, text);
}

void read_number_member(Field field, int32_t row, char *member) SARN_REQUIRES_SHARED(state_lock) {
    uint32_t value = 0;
    (void)read_uint(field, row, &value);
    memcpy(member, &value, sizeof value);  // not aligned
}

void read_member(const RecordMember &place, int32_t row, device_info &record) SARN_REQUIRES_SHARED(state_lock) {
    char *member = reinterpret_cast<char *>(&record) + place.offset;
    switch (spec_of(place.field).type) {
        case Type::Ipv4: return read_ip(place.field, row, record.DeviceIP);
        case Type::Int: return read_number_member(place.field, row, member);
        default: return read_text_member(place.field, row, member, place.size);
    }
}

void copy_mac_text(char (&member)[18], const MacBytesText &mac) { memcpy(member, mac.text, sizeof member); }

enum class RowRead : uint8_t { Whole, NoMac, Unused, NoApMac };

// Another process may have given the row to another device.
bool is_asked_for(const MacBytesText &mac, int32_t row, Asked asked) SARN_REQUIRES_SHARED(state_lock) {
    return asked == Asked::ForRow || !has_groups() || is_same_mac(mac.text, mapping_table[row].MACData);
}

RowRead read_row(device_info &record, int32_t row, Asked asked) SARN_REQUIRES_SHARED(state_lock) {
    uint8_t bytes[6] = {};
    if (!read_mac(Field::Sarnsignature_DeviceMAC, row, bytes)) return RowRead::NoMac;
    const MacBytesText mac = mac_bytes_to_text(bytes);
    if (is_same_mac(mac.text, NO_DEVICE_MAC) || !is_asked_for(mac, row, asked)) return RowRead::Unused;
    copy_mac_text(record.DeviceMAC, mac);
    for (const RecordMember &member : RECORD_MEMBERS) read_member(member, row, record);
    if (!read_mac(Field::ConnectDeviceinfo_ConnAPMac, row, bytes)) return RowRead::NoApMac;
    copy_mac_text(record.ConnAPMac, mac_bytes_to_text(bytes));
    return RowRead::Whole;
}

}  // namespace

int32_t read_device_info(device_info &record, int32_t row, Asked asked) {
    switch (read_group([&]() SARN_REQUIRES_SHARED(state_lock) { return read_row(record, row, asked); })) {
        case RowRead::NoMac: SARN_LOG(MacUnreadable); return SARN_ERR_NOT_READABLE;
        case RowRead::Unused:
            SARN_LOG(RowUnused);
            return asked == Asked::ForRow ? SARN_ERR_UNUSED_ROW : SARN_ERR_ROW_LOST_DEVICE;
        case RowRead::NoApMac: SARN_LOG(ApMacUnreadable); return SARN_ERR_NOT_READABLE;
        case RowRead::Whole: break;
    }
    return SARN_OK;
}

}  // namespace sarn
