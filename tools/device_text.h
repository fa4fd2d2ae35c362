// Texts that came over the network, made fit for a terminal, and how much room they take there.
#ifndef SARN_TOOLS_DEVICE_TEXT_H
#define SARN_TOOLS_DEVICE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// Printable UTF-8 stays. Every byte of anything else (controls, bad UTF-8, invisible and direction-changing
// characters) becomes \xHH, and a backslash \\, so that the bytes can be told from the result.
std::string escape_for_terminal(std::string_view text);

// Columns that an escaped text takes.
size_t display_width(std::string_view escaped);

// An escaped text, cut to `width` columns; a cut one ends in an ellipsis.
std::string cut_to_width(std::string_view escaped, size_t width);

}  // namespace tool

#endif
