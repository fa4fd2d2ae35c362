// How all JSON of the tool is written. For the files that make JSON alone: the parser's header is large.
#ifndef SARN_TOOLS_JSON_TEXT_H
#define SARN_TOOLS_JSON_TEXT_H

#include <nlohmann/json.hpp>
#include <string>

namespace tool {

using Json = nlohmann::ordered_json;

// Plain ASCII, since a terminal may show it; bytes that are not UTF-8 become U+FFFD. Ends in a line feed.
inline std::string dump(const Json &json) {
    static constexpr int INDENT = 2;
    static constexpr bool ASCII_ONLY = true;
    return json.dump(INDENT, ' ', ASCII_ONLY, Json::error_handler_t::replace) + "\n";
}

}  // namespace tool

#endif
