#include "core/group.h"

#include "core/address_text.h"
#include "core/build_mark.h"
#include "core/mapping_table.h"
#include "core/store.h"

namespace sarn {

bool holds_known_device(int32_t row) {
    if (!has_groups() || is_build_current()) return true;
    uint8_t mac[6];
    return !read_mac(Field::Sarnsignature_DeviceMAC, row, mac) ||
           is_same_mac(mac_bytes_to_text(mac).text, mapping_table[row].MACData);
}

}  // namespace sarn
