// Several places read addresses, each with a rule of its own: what the strict ones take the others take too.
#include "core/address_text.h"

#include <arpa/inet.h>

#include "fuzz.h"
#include "platform/kora.h"
#include "tools/mac_text.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string bytes(reinterpret_cast<const char *>(data), size);
    std::vector<char> open_end = exact(bytes.substr(0, 18));
    if (open_end.size() == 18) (void)checkMacAddr(open_end.data());
    if (open_end.size() == 18) (void)sarn::mac_sanity_check(open_end.data());
    sarn::upper_case(open_end.data(), open_end.size());

    bytes.resize(bytes.find('\0') == std::string::npos ? bytes.size() : bytes.find('\0'));
    std::vector<char> text = exact(bytes + '\0');
    uint8_t six[6] = {}, four[4] = {}, same[4] = {};
    const bool is_mac = kora_string2mac(text.data(), six) == 0;
    const bool is_zero = std::all_of(six, six + 6, [](uint8_t byte) { return byte == 0; });
    const bool is_sane = sarn::mac_sanity_check(text.data());
    require(!is_mac || checkMacAddr(text.data()) == 1, "a MAC of the store does not scan");
    require(!is_mac || is_sane == !is_zero, "a MAC of the store is refused");
    require(!is_sane || bytes.size() > 17 || is_mac, "the store refuses a MAC");
    std::string upper = bytes;
    sarn::upper_case(upper.data(), upper.size());
    const auto typed = tool::read_mac(bytes);
    require(!is_mac || typed == upper, "the tool refuses a MAC");
    require(!typed || kora_string2mac(typed->c_str(), six) == 0, "the tool makes a MAC that the store refuses");

    const bool is_ip = kora_string2ipv4(text.data(), four) == 0;
    if (inet_pton(AF_INET, text.data(), same) == 1)
        require(is_ip && std::memcmp(four, same, sizeof four) == 0, "an address of the system is another to the store");
    (void)valid_digit(text.data());
    const int is_valid = is_valid_ip(text.data());
    require(!is_ip || is_valid == 1, "an address of the store is refused");
    return 0;
}
