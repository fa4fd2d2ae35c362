#include "written.h"

#include "output.h"
#include "refusal.h"

namespace tool {

void require_written(const Session &session, const std::string &mac, const std::vector<Written> &texts) {
    const Device device = session.find_device(mac);
    for (const auto &[field, text] : texts) {
        const size_t seen = field->width - 1;
        if (read_text(device.record, *field) != std::string_view(text).substr(0, seen))
            throw Refusal(EXIT_NO_STORE, "not written: the list still shows another " + std::string(field->label) +
                                             " for " + mac + "; the store may be full");
        if (text.size() > seen)
            print_message("note: stored whole, but readers see only the first " + std::to_string(seen) +
                          " bytes of the " + field->label);
    }
}

}  // namespace tool
