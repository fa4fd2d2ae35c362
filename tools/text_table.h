// Columns of escaped texts, fitted to the width of a terminal.
#ifndef SARN_TOOLS_TEXT_TABLE_H
#define SARN_TOOLS_TEXT_TABLE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

enum class Style : unsigned char { Plain, Title, Good, Faint, Alert };

struct Cell {
    std::string text;  // escaped
    Style style = Style::Plain;
};

struct Column {
    const char *title;
    size_t least_width;     // texts are cut no further than this
    size_t drop_order = 0;  // when cutting is not enough the lowest goes first; 0 stays whatever happens
};

struct TextTable {
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;  // each as long as `columns`
};

inline constexpr size_t NO_LIMIT = static_cast<size_t>(-1);

std::string render(const TextTable &table, size_t limit, bool with_colour);
std::string styled(std::string_view text, Style style, bool with_colour);

}  // namespace tool

#endif
