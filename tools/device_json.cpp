#include "device_json.h"

#include <nlohmann/json.hpp>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

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

std::string dump(const Json &json) {
    static constexpr int INDENT = 2;
    static constexpr bool ASCII_ONLY = true;
    return json.dump(INDENT, ' ', ASCII_ONLY, Json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string json_of(const Device &device) { return dump(object_of(device)); }

std::string json_of(const std::vector<Device> &devices) {
    Json array = Json::array();
    for (const Device &device : devices) array.push_back(object_of(device));
    return dump(array);
}

}  // namespace tool
