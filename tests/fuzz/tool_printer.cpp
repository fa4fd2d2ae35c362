// Whatever a device calls itself, a terminal gets printable text and a table keeps its width.
#include "fuzz.h"
#include "tools/device_record.h"
#include "tools/device_text.h"
#include "tools/text_table.h"

namespace {

void require_printable(const std::string &text) {
    require(is_printable(text) && text.find('\n') == std::string::npos, "a control byte goes to the terminal");
}

std::string unescape(const std::string &escaped) {
    std::string bytes;
    for (size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != '\\') {
            bytes += escaped[i];
        } else if (escaped[++i] == 'x') {
            bytes += static_cast<char>(std::stoi(escaped.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            bytes += escaped[i];
        }
    }
    return bytes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const size_t width = input.byte() + size_t{1};
    const std::string text = input.text();
    const std::string escaped = tool::escape_for_terminal(text);
    require_printable(escaped);
    require(unescape(escaped) == text, "two texts look the same");
    require(tool::display_width(tool::cut_to_width(escaped, width)) <= width, "wider than it was cut");

    device_info record = {};
    while (!input.is_over()) {
        const tool::FieldSpec &field = tool::FIELDS[input.byte() % tool::FIELDS.size()];
        input.text().copy(reinterpret_cast<char *>(&record) + field.offset, field.width);
    }
    tool::TextTable table = {{{"A", 3}, {"B", 4, 2}, {"C", 5, 1}}, {}};
    for (const tool::FieldSpec &field : tool::FIELDS) {
        const std::string shown = tool::shown_value(record, field);
        require_printable(shown);
        table.rows.push_back({{shown}, {escaped}, {tool::shown_name(record) + tool::shown_type(record)}});
    }
    const std::string lines = tool::render(table, width, false);
    for (size_t start = 0, end; start < lines.size(); start = end + 1) {
        end = lines.find('\n', start);
        const std::string line = lines.substr(start, end - start);
        require_printable(line);
        require(tool::display_width(line) <= std::max<size_t>(width, 3), "a line is wider than the terminal");
    }
    return 0;
}
