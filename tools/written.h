// Reading again what was written: the library does not tell when the store refused a write.
#ifndef SARN_TOOLS_WRITTEN_H
#define SARN_TOOLS_WRITTEN_H

#include <string>
#include <vector>

#include "device_record.h"
#include "session.h"

namespace tool {

struct Written {
    const FieldSpec *field;
    std::string text;
};

// Throws Refusal when the device does not show one of the texts. Says so on standard error when one was stored whole
// and readers see less of it.
void require_written(const Session &session, const std::string &mac, const std::vector<Written> &texts);

}  // namespace tool

#endif
