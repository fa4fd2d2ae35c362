#include "arguments.h"

#include <arpa/inet.h>

#include <CLI/CLI.hpp>
#include <charconv>

#include "refusal.h"

namespace tool {

namespace {

constexpr int32_t HIGHEST_PRODUCER = 100;
constexpr int32_t PRODUCER_STEP = 10;

// The words of the refusal, or none. The parser would take a leading zero for a sign of octal digits: it gets none.
std::string read_producer(std::string &text) {
    int32_t producer = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, producer);
    if (error != std::errc{} || stop != end || producer > HIGHEST_PRODUCER || producer % PRODUCER_STEP != 0)
        return in_quotes(text) + " is not a producer: they are 0 and multiples of 10, up to 100";
    text = std::to_string(producer);
    return "";
}

}  // namespace

void add_mac(CLI::App &command, std::string &mac) {
    command.add_option("MAC", mac, "MAC address of the device, in any usual spelling")->required()->type_name("");
}

void add_producer(CLI::App &command, int32_t &producer) {
    command
        .add_option("--producer", producer,
                    "Who says so: 0 (default) or a multiple of 10, negative ones too, up to 100")
        ->type_name("N")
        ->transform(CLI::Validator(read_producer, ""));
}

std::string require_ip(const std::string &typed) {
    in_addr address = {};
    char text[INET_ADDRSTRLEN] = {};
    if (inet_pton(AF_INET, typed.c_str(), &address) != 1 || inet_ntop(AF_INET, &address, text, sizeof text) == nullptr)
        throw Refusal(EXIT_USAGE, in_quotes(typed) + " is not an IPv4 address, such as 192.168.1.20");
    return text;
}

void require_length(const std::string &text, size_t limit, const std::string &what) {
    if (text.size() <= limit) return;
    throw Refusal(EXIT_USAGE, what + " takes at most " + std::to_string(limit) + " bytes, and " + in_quotes(text) +
                                  " has " + std::to_string(text.size()));
}

}  // namespace tool
