#include "refusal.h"

#include "sarn.h"

namespace tool {

namespace {

struct Meaning {
    Call call;
    int32_t code;
    ExitCode exit_code;
    const char *words;
};

constexpr Meaning MEANINGS[] = {
    {Call::Start, SARN_ERR_STORE_OPEN, EXIT_NO_STORE, "the store cannot be opened"},
    {Call::Start, SARN_ERR_CLEANUP, EXIT_NO_STORE, "the clean-up of offline devices failed"},
    {Call::Start, SARN_ERR_ALREADY_INITIALISED, EXIT_NO_STORE, "the library is already initialised"},
    {Call::Enquiry, SARN_ERR_NOT_READY, EXIT_NO_STORE, "the library is not initialised"},
    {Call::Enquiry, SARN_ERR_REBUILD, EXIT_NO_STORE, "the device list could not be built again from the store"},
    {Call::ReadRow, SARN_ERR_UNUSED_ROW, EXIT_NOT_FOUND, "no device in that row"},
    {Call::ReadRow, SARN_ERR_ROW_RANGE, EXIT_USAGE, "rows are 0 to 255"},
    {Call::ReadRow, SARN_ERR_NOT_READABLE, EXIT_NO_STORE,
     "the library is not initialised, or the store cannot read a MAC address of the row"},
    {Call::ReadRow, SARN_ERR_REBUILD, EXIT_NO_STORE,
     "the device list could not be built again from the store, or no worker thread could be created"},
};

}  // namespace

Refusal refusal_of(Call call, int32_t code, const std::string &attempt) {
    const std::string number = " (code " + std::to_string(code) + ")";
    for (const Meaning &meaning : MEANINGS) {
        if (meaning.call == call && meaning.code == code)
            return {meaning.exit_code, attempt + ": " + (meaning.words + number)};
    }
    return {EXIT_NO_STORE, attempt + ": unexpected answer of the library" + number};
}

}  // namespace tool
