#include "text_table.h"

#include <algorithm>

#include "device_text.h"

namespace tool {

namespace {

constexpr size_t GAP = 2;

using Widths = std::vector<size_t>;  // 0: the column is not shown

Widths natural_widths(const TextTable &table) {
    Widths widths;
    for (size_t i = 0; i < table.columns.size(); ++i) {
        size_t width = display_width(table.columns[i].title);
        for (const auto &row : table.rows) width = std::max(width, display_width(row[i].text));
        widths.push_back(width);
    }
    return widths;
}

size_t total_of(const Widths &widths) {
    size_t total = 0;
    for (const size_t width : widths) total += width == 0 ? 0 : width + GAP;
    return total == 0 ? 0 : total - GAP;
}

// One column less for the widest that can spare it; false when none can.
bool cut_widest(const TextTable &table, Widths &widths) {
    size_t *widest = nullptr;
    for (size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] > table.columns[i].least_width && (widest == nullptr || widths[i] > *widest)) widest = &widths[i];
    }
    if (widest != nullptr) --*widest;
    return widest != nullptr;
}

bool drop_one(const TextTable &table, Widths &widths) {
    size_t chosen = widths.size();
    for (size_t i = 0; i < widths.size(); ++i) {
        const size_t order = table.columns[i].drop_order;
        if (widths[i] == 0 || order == 0) continue;
        if (chosen == widths.size() || order < table.columns[chosen].drop_order) chosen = i;
    }
    if (chosen == widths.size()) return false;
    widths[chosen] = 0;
    return true;
}

Widths fitted_widths(const TextTable &table, size_t limit) {
    const Widths natural = natural_widths(table);
    Widths allowed = natural;
    Widths widths = natural;
    while (total_of(widths) > limit) {
        if (cut_widest(table, widths)) continue;
        if (!drop_one(table, allowed)) break;
        widths = allowed;
    }
    return widths;
}

void append_line(std::string &out, const std::vector<Cell> &cells, const Widths &widths, bool with_colour) {
    size_t owed = 0;  // blanks are written only before a text, so that no line ends in them
    for (size_t i = 0; i < cells.size(); ++i) {
        if (widths[i] == 0) continue;
        const std::string text = cut_to_width(cells[i].text, widths[i]);
        if (!text.empty()) {
            out.append(owed, ' ');
            out += styled(text, cells[i].style, with_colour);
            owed = 0;
        }
        owed += widths[i] - display_width(text) + GAP;
    }
    out += '\n';
}

}  // namespace

std::string styled(std::string_view text, Style style, bool with_colour) {
    static constexpr const char *SEQUENCES[] = {"", "\033[1m", "\033[32m", "\033[2m", "\033[31m"};
    if (!with_colour || style == Style::Plain) return std::string(text);
    return SEQUENCES[static_cast<size_t>(style)] + std::string(text) + "\033[0m";
}

std::string render(const TextTable &table, size_t limit, bool with_colour) {
    const Widths widths = fitted_widths(table, limit);
    std::vector<Cell> titles;
    for (const Column &column : table.columns) titles.push_back({column.title, Style::Title});
    std::string out;
    append_line(out, titles, widths, with_colour);
    for (const auto &row : table.rows) append_line(out, row, widths, with_colour);
    return out;
}

}  // namespace tool
