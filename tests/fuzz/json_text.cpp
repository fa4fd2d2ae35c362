// Text into JSON and back, as the library and as the tool write it, against a parser.
#include "fuzz.h"
#include "tools/device_json.h"

namespace {

using nlohmann::json;

bool is_dropped(char byte) {
    const auto value = static_cast<uint8_t>(byte);
    return (value < 0x20 && (value == 0 || std::strchr("\b\t\n\f\r", byte) == nullptr)) || value == 0x96;
}

// The library copies bytes that are no UTF-8: whether they are is left out of the comparison.
std::string without_high_bytes(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return (byte & 0x80) != 0; }, 'x');
    return text;
}

std::string unescape(const std::string &text) {
    std::vector<char> out(text.size());
    char *unescaped = unescapeJSON(exact(text).data(), out.data(), static_cast<uint32_t>(text.size()));
    require((unescaped == nullptr) == text.empty(), "unescapeJSON refuses");
    return {out.begin(), out.end()};
}

void check_library(const std::string &text) {
    const std::string kept = [&] {
        std::string all = text;
        std::erase_if(all, is_dropped);
        return all;
    }();
    std::vector<char> out(2 * text.size() + 1);
    const int32_t result = escapeJSON(exact(text).data(), out.data(), static_cast<uint32_t>(text.size()));
    require((result == SARN_ERR_NO_TEXT) == text.empty(), "escapeJSON refuses");
    const std::string escaped = out.data();
    require(json::parse('"' + without_high_bytes(escaped) + '"') == without_high_bytes(kept), "another text in JSON");
    std::string back = unescape(escaped);
    back.resize(std::min(back.size(), std::strlen(back.c_str())));
    require(back == kept, "another text comes back");
    (void)unescape(text);
    if (text.empty()) return;
    const int32_t count = IsJsonEncodeNeeded(exact(text).data(), static_cast<uint32_t>(text.size() - 1));
    const auto is_special = [](char byte) { return static_cast<uint8_t>(byte) < 0x20 || byte == '"' || byte == '\\'; };
    require(count == std::count_if(text.begin(), text.end(), is_special), "wrong count");
}

void check_tool(Input input) {
    const tool::FieldSpec &field = tool::FIELDS[input.byte() % tool::FIELDS.size()];
    tool::Device device = {7, {}};
    input.rest().copy(reinterpret_cast<char *>(&device.record) + field.offset, field.width);
    const std::string written = tool::json_of(std::vector<tool::Device>{device});
    for (const char byte : written) require(byte == '\n' || (byte >= ' ' && byte < 0x7f), "not plain ASCII");
    const json read = json::parse(written).at(0);
    require(read.size() == tool::FIELDS.size() + 1, "a field is missing");
    const std::string_view text = tool::read_text(device.record, field);
    const json same = json::parse('"' + std::string(text) + '"', nullptr, false);
    if (same.is_string() && text.find('\\') == std::string_view::npos && read[field.name].is_string())
        require(read[field.name] == text, "another text in the tool's JSON");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    check_library(text);
    check_tool({data, size});
    return 0;
}
