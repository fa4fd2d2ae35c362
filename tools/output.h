// Standard output and standard error: data goes to the one, words for the person to the other.
#ifndef SARN_TOOLS_OUTPUT_H
#define SARN_TOOLS_OUTPUT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// What a command prints. It is written in one go when the command is done, so that a failed write is noticed.
struct Output {
    std::string text;
    size_t columns;  // NO_LIMIT where it goes to no terminal
    bool with_colour;
};

// The store must not be opened as descriptor 0, 1 or 2: what is printed there would be written into it.
void occupy_standard_descriptors();

Output describe_standard_output();

// False, with a message, when not all of it could be written.
bool write_output(const Output &output);

// One line to standard error, after the tool's name. Line feeds and other controls come out escaped.
void print_message(std::string_view message);

}  // namespace tool

#endif
