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

constexpr char NOT_REBUILT[] = "the device list could not be built again from the store";
constexpr char NO_DEVICE[] = "no device with this MAC address";

constexpr Meaning MEANINGS[] = {
    {Call::Start, SARN_ERR_STORE_OPEN, EXIT_NO_STORE, "the store cannot be opened"},
    {Call::Start, SARN_ERR_CLEANUP, EXIT_NO_STORE, "the clean-up of offline devices failed"},
    {Call::Start, SARN_ERR_ALREADY_INITIALISED, EXIT_NO_STORE, "the library is already initialised"},
    {Call::States, SARN_ERR_UNREADABLE, EXIT_NO_STORE, "the store could not read a row"},
    {Call::States, SARN_ERR_REBUILD, EXIT_NO_STORE, NOT_REBUILT},
    {Call::Find, SARN_ERR_NOT_FOUND, EXIT_NOT_FOUND, NO_DEVICE},
    {Call::Find, SARN_ERR_REBUILD, EXIT_NO_STORE, NOT_REBUILT},
    {Call::ReadRow, SARN_ERR_UNUSED_ROW, EXIT_NOT_FOUND, "no device in that row"},
    {Call::ReadRow, SARN_ERR_ROW_RANGE, EXIT_USAGE, "rows are 0 to 255"},
    {Call::ReadRow, SARN_ERR_NOT_READABLE, EXIT_NO_STORE, "the store could not read a MAC address of the row"},
    {Call::DisplayText, SARN_ERR_UNKNOWN_DEVICE, EXIT_NOT_FOUND, NO_DEVICE},
    {Call::Pause, SARN_ERR_NOT_READY, EXIT_NO_STORE, "the library is not initialised"},
    {Call::Pause, SARN_ERR_NOTHING_CHANGED, EXIT_WRONG_STATE, "nothing to change, that is how it is already"},
    {Call::Forget, SARN_ERR_NO_ROW, EXIT_NOT_FOUND, NO_DEVICE},
    {Call::Forget, SARN_ERR_DEVICE_UP, EXIT_WRONG_STATE, "the device is up; it can be forgotten once it is gone"},
    {Call::SetField, SARN_ERR_NO_ROW, EXIT_NOT_FOUND, NO_DEVICE},
    {Call::SetField, SARN_ERR_FIELD_CODE, EXIT_USAGE, "the library does not know the field"},
    {Call::SetField, SARN_ERR_LENGTH, EXIT_USAGE, "the library refused the length of the value"},
    {Call::Report, SARN_ERR_NO_ROW, EXIT_NOT_FOUND, NO_DEVICE},
    {Call::Signature, SARN_ERR_NO_ROW, EXIT_NOT_FOUND,
     "the device is not in the list and got no row: the list is full, or the producer may not add to it"},
    {Call::Signature, SARN_ERR_IP, EXIT_USAGE, "the library refused the IP address"},
    {Call::ReadAccess, SARN_ERR_ACL_READ, EXIT_NO_STORE, "the store could not read it"},
    {Call::Switch, SARN_STORE_FAILED, EXIT_NO_STORE, "the store refused a read or a write"},
    {Call::Refresh, SARN_ERR_INTERNET_DOWN, EXIT_WRONG_STATE, "the Internet is down, or not known to be there"},
    {Call::Refresh, SARN_REFRESH_RUNNING, EXIT_WRONG_STATE, "a refresh is running already"},
    // Last, since the first that fits counts. Some of these numbers have more meanings; here is what is left once the
    // library is open and the arguments were checked.
    {Call::Any, SARN_ERR_NOT_INITIALISED, EXIT_NO_STORE, "the library is not initialised"},
    {Call::Any, SARN_ERR_PRODUCER, EXIT_USAGE, "the library refused the producer"},
    {Call::Any, SARN_ERR_MAC, EXIT_USAGE, "the library refused the MAC address"},
    {Call::Any, SARN_ERR_REBUILD, EXIT_NO_STORE,
     "the device list could not be built again from the store, or no worker thread could be created"},
};

const Meaning *find_meaning(Call call, int32_t code) {
    for (const Meaning &row : MEANINGS) {
        if ((row.call == call || row.call == Call::Any) && row.code == code) return &row;
    }
    return nullptr;
}

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80; }

}  // namespace

Refusal refusal_of(Call call, int32_t code, const std::string &attempt) {
    const std::string number = " (code " + std::to_string(code) + ")";
    const Meaning *meaning = find_meaning(call, code);
    if (meaning == nullptr) return {EXIT_NO_STORE, attempt + ": unexpected answer of the library" + number};
    return {meaning->exit_code, attempt + ": " + (meaning->words + number)};
}

int32_t require(Call call, int32_t answer, const std::string &attempt) {
    if (answer < 0 || find_meaning(call, answer) != nullptr) throw refusal_of(call, answer, attempt);
    return answer;
}

std::string in_quotes(std::string_view argument) {
    static constexpr size_t SHOWN = 40;
    size_t length = argument.size();
    if (length > SHOWN) {
        length = SHOWN;
        while (length > 0 && is_continuation(argument[length])) --length;
    }
    return "'" + std::string(argument.substr(0, length)) + (length < argument.size() ? "...'" : "'");
}

}  // namespace tool
