// A live store with damaged bytes: the check lets nothing through on which the store then fails.
#include <fcntl.h>
#include <sys/mman.h>

#include "fuzz.h"
#include "platform/kora.h"
#include "platform/kora_check.h"
#include "platform/kora_files.h"

namespace {

constexpr size_t CHANGED = size_t{1} << 19;  // what the few writes below can reach

std::string name_of(int number) { return "name " + std::to_string(number) + std::string(40, 'x'); }

void write_names(void *handle, int first, int count) {
    for (int row = first; row < first + count; ++row)
        (void)kora_set_string(handle, "DeviceIdList", row, "DisplayNameCustom", name_of(row).c_str());
}

// With branches, and with pages that are free.
struct StoreFile : QuietStore {
    StoreFile() {
        setenv("KORA_SAVE", "", 1);
        void *handle = kora_init_ex(nullptr);
        write_names(handle, 0, 200);
        for (int round = 0; round < 8; ++round) write_names(handle, 90, 3);
        require(handle != nullptr && kora_destroy(handle) == 0, "no store");
        fd = open(path.c_str(), O_RDWR);
        void *pages = mmap(nullptr, CHANGED, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        require(pages != MAP_FAILED, "no mapping");
        bytes = static_cast<char *>(pages);
        whole.assign(bytes, CHANGED);
        used = whole.find_last_not_of('\0') + 1;
        require(kora::look_at_file(fd).is_whole, "a whole store is refused");
    }
    int fd;
    char *bytes;
    std::string whole;
    size_t used;
};

void use_store() {
    void *handle = kora_init_ex(nullptr);
    require(handle != nullptr, "the store cannot be opened");
    char text[KORA_TEXT_MAX + 1];
    const auto require_names = [&](int first, int count, const char *what) {
        for (int row = first; row < first + count; ++row) {
            const int32_t result = kora_get_string(handle, "DeviceIdList", row, "DisplayNameCustom", text, sizeof text);
            require(result == 0 && text == name_of(row), what);
        }
    };
    require_names(0, 200, "another value than was written before");
    write_names(handle, 60, 5);
    require_names(60, 5, "not what was written");
    require(kora_destroy(handle) == 0, "cannot be closed");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static StoreFile file;
    for (Input input(data, size); !input.is_over();) {
        const size_t high = input.byte(), middle = input.byte(), low = input.byte();
        const size_t at = (high << 16 | middle << 8 | low) % file.used;
        const std::string change = input.text();
        std::memcpy(file.bytes + at, change.data(), std::min(change.size(), file.used - at));
    }
    const kora::FileLook look = kora::look_at_file(file.fd);
    const bool is_ours = look.is_ours && kora::origin_of(look.format) == kora::Origin::Own;
    if (is_ours && look.is_whole) use_store();
    std::memcpy(file.bytes, file.whole.data(), CHANGED);
    return 0;
}
