#include "device_json.h"

#include "json_text.h"

namespace tool {

namespace {

Json object_of(const Device &device) {
    Json object = {{"row", device.row}};
    for (const FieldSpec &field : FIELDS) {
        Json &value = object[field.name];
        if (field.kind == Kind::Number) {
            value = read_number(device.record, field);
        } else if (const auto text = read_text(device.record, field); !is_not_readable(text, field)) {
            value = text;
        }
    }
    return object;
}

}  // namespace

std::string json_of(const Device &device) { return dump(object_of(device)); }

std::string json_of(const std::vector<Device> &devices) {
    Json array = Json::array();
    for (const Device &device : devices) array.push_back(object_of(device));
    return dump(array);
}

std::string json_of_rows(const std::vector<uint32_t> &rows) {
    Json array = Json::array();
    for (const uint32_t row : rows) array.push_back({{"row", row}});
    return dump(array);
}

}  // namespace tool
