// A saved copy of any bytes: what is wrong is set aside and the store opens without it; what is whole is restored, and
// saved and restored once more it is the same.
#include <map>

#include "fuzz.h"
#include "platform/kora.h"
#include "platform/kora_checksum.h"
#include "platform/kora_image.h"

namespace {

using Values = std::map<std::pair<sarn::Field, int>, std::string>;

int keep(void *values, kora::Place place, kora::Bytes value) {
    static_cast<Values *>(values)->insert_or_assign({place.field, place.row},
                                                    std::string(static_cast<const char *>(value.data), value.size));
    return 0;
}

// Most changes would be stopped by length and checksum.
void repair(std::string &bytes) {
    constexpr size_t LENGTH_AT = 12, CHECKSUM_SIZE = 4, LEAST = 28;
    if (bytes.size() < LEAST) return;
    const auto length = static_cast<uint32_t>(bytes.size());
    std::memcpy(&bytes[LENGTH_AT], &length, sizeof length);
    const uint32_t checksum = kora::checksum(0, bytes.data(), bytes.size() - CHECKSUM_SIZE);
    std::memcpy(&bytes[bytes.size() - CHECKSUM_SIZE], &checksum, CHECKSUM_SIZE);
}

kora::CopyState look_at(const std::string &bytes, Values &values) {
    std::vector<char> copy = exact(bytes);
    kora::Image image;
    image.bytes = reinterpret_cast<uint8_t *>(copy.data());
    image.size = copy.size();
    const kora::CopyState state = kora::state_of(image);
    if (state == kora::CopyState::Whole) require(kora::for_each_value(image, keep, &values) == 0, "not whole");
    image.bytes = nullptr;
    return state;
}

// Opens a new store from the copy that lies there, and leaves another in its place.
void restore_and_save(const QuietStore &store) {
    void *handle = kora_init_ex(nullptr);
    require(handle != nullptr, "no store");
    std::filesystem::remove(store.saved);
    require(kora_save(handle) == 0 && kora_destroy(handle) == 0, "cannot be saved");
    std::filesystem::remove(store.path);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const QuietStore store;
    Input input(data, size);
    const uint8_t how = input.byte();
    std::string bytes = input.rest();
    if ((how & 1) != 0) repair(bytes);
    Values values, restored, again;
    const bool is_whole = look_at(bytes, values) == kora::CopyState::Whole;
    if ((how & 14) != 0) return 0;  // opening takes a thousand times as long

    write_file(store.saved, bytes);
    restore_and_save(store);
    require(is_whole != std::filesystem::exists(store.saved + "~"), "set aside the wrong way round");
    std::filesystem::remove(store.saved + "~");
    const std::string first = content_of(store.saved);
    require(look_at(first, restored) == kora::CopyState::Whole, "the store saves what it would not take");
    for (const auto &[place, value] : restored) require(values.at(place) == value, "another value is restored");
    restore_and_save(store);
    require(look_at(content_of(store.saved), again) == kora::CopyState::Whole && again == restored,
            "the second is another");
    return 0;
}
