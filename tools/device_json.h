#ifndef SARN_TOOLS_DEVICE_JSON_H
#define SARN_TOOLS_DEVICE_JSON_H

#include <string>
#include <vector>

#include "device_record.h"

namespace tool {

// Keys are "row" and the members' names. Row and producer are numbers; a text that could not be read is null. Bytes
// that are not UTF-8 become U+FFFD. The output is plain ASCII, since a terminal may show it. Ends in a line feed.
std::string json_of(const Device &device);
std::string json_of(const std::vector<Device> &devices);

// Rows without a device: objects that have "row" alone.
std::string json_of_rows(const std::vector<uint32_t> &rows);

}  // namespace tool

#endif
