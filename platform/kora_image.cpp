#include "kora_image.h"

#include <errno.h>
#include <string.h>
#include <sys/mman.h>

#include "kora.h"
#include "kora_checksum.h"
#include "kora_effects.h"

namespace kora {

using sarn::FieldSpec;
using sarn::Type;

namespace {

constexpr char MAGIC[] = "KORAsave";
constexpr size_t MAGIC_SIZE = sizeof MAGIC - 1;
constexpr uint32_t VERSION = 1;
constexpr size_t VERSION_AT = MAGIC_SIZE;
constexpr size_t LENGTH_AT = VERSION_AT + 4;
constexpr size_t DIGEST_AT = LENGTH_AT + 4;
constexpr size_t HEADER_SIZE = DIGEST_AT + 8;
constexpr size_t CHECKSUM_SIZE = 4;
constexpr size_t COUNT_SIZE = 2;
constexpr uint64_t DIGEST_START = 0xcbf29ce484222325;
constexpr char BEGINNING[] = "\4kora\11beginningn\1\0\0\10";  // "kora", "beginning", n, 1 value: row 0, 8 bytes
constexpr size_t BEGINNING_SIZE = sizeof BEGINNING;           // the NUL is the size's high byte
constexpr size_t BEGINNING_END = HEADER_SIZE + BEGINNING_SIZE + 8;

// What a value can be read as: two types of one kind hold the same bytes.
char kind_of(Type type) {
    switch (type) {
        case Type::Ascii:
        case Type::String:
        case Type::Enum: return 't';
        case Type::Bool:
        case Type::Int:
        case Type::Uint: return 'n';
        case Type::Mac: return 'm';
        case Type::Ipv4: return '4';
    }
    return '\0';
}

void write_number(uint8_t *at, uint64_t number, size_t size) {
    for (size_t i = 0; i < size; ++i) at[i] = static_cast<uint8_t>(number >> (8 * i));
}

uint64_t read_number(const uint8_t *at, size_t size) {
    uint64_t number = 0;
    for (size_t i = 0; i < size; ++i) number |= uint64_t{at[i]} << (8 * i);
    return number;
}

uint64_t digest(uint64_t so_far, const uint8_t *bytes, size_t size) {
    constexpr uint64_t FNV_PRIME = 0x100000001b3;
    for (size_t i = 0; i < size; ++i) so_far = (so_far ^ bytes[i]) * FNV_PRIME;
    return so_far;
}

// Appends, and notes once for all when there is no room.
struct ImageWriter {
    Image &image;
    bool is_full = false;

    void put_bytes(const void *from, size_t size) {
        if (size > IMAGE_MAX - CHECKSUM_SIZE - image.size) {
            is_full = true;
            return;
        }
        memcpy(image.bytes + image.size, from, size);
        image.size += size;
    }
    void put_number(uint64_t value, size_t size) {
        uint8_t all[sizeof value];
        write_number(all, value, size);
        put_bytes(all, size);
    }
    void put_text(const char *value) {
        const size_t length = strlen(value);
        put_number(length, 1);
        put_bytes(value, length);
    }
};

void write_row(ImageWriter &out, Place place, Bytes value) {
    out.put_number(place.row, 1);
    out.put_number(value.size, 2);
    if (kind_of(sarn::spec_of(place.field).type) == 'n') {
        uint32_t number;
        memcpy(&number, value.data, sizeof number);
        out.put_number(number, sizeof number);
    } else {
        out.put_bytes(value.data, value.size);
    }
}

bool is_worth_saving(sarn::Field field, Bytes value) {
    const Bytes reset = reset_value(field);
    const bool is_text = kind_of(sarn::spec_of(field).type) == 't';
    if (!is_text && value.size != reset.size) return false;
    return !is_same(value, reset);
}

int write_field(Walk &walk, sarn::Field field, ImageWriter &out, uint64_t &digested) {
    const FieldSpec &spec = sarn::spec_of(field);
    const size_t start = out.image.size;
    out.put_text(sarn::table_of(field).name);
    out.put_text(spec.name);
    const char kind = kind_of(spec.type);
    out.put_bytes(&kind, 1);
    const size_t count_at = out.image.size;
    out.put_number(0, COUNT_SIZE);
    const size_t values_at = out.image.size;
    uint32_t count = 0;
    for (int32_t row = 0; row < sarn::table_of(field).rows; ++row) {
        Bytes value = {};
        const Place place = {field, static_cast<uint8_t>(row)};
        const int error = find_value(walk, place, value);
        if (error != 0) return error;
        if (!is_worth_saving(field, value)) continue;
        write_row(out, place, value);
        ++count;
    }
    if (out.is_full) return ENOSPC;
    if (count == 0) {
        out.image.size = start;
        return 0;
    }
    write_number(out.image.bytes + count_at, count, COUNT_SIZE);
    if (effect_of(field).is_decided) {
        digested = digest(digested, out.image.bytes + start, count_at - start);
        digested = digest(digested, out.image.bytes + values_at, out.image.size - values_at);
    }
    return 0;
}

int write_beginning(Walk &walk, ImageWriter &out) {
    uint64_t beginning = 0;
    const int error = find_number(walk, BEGUN_KEY, beginning);
    if (error != 0) return error == MDB_NOTFOUND ? 0 : error;
    out.put_bytes(BEGINNING, BEGINNING_SIZE);
    out.put_number(beginning, 8);
    return 0;
}

uint32_t checksum_of(const Image &image) { return checksum(0, image.bytes, image.size - CHECKSUM_SIZE); }

// Takes from the front; once it would have to go past the end, all it takes is empty.
struct ImageReader {
    const uint8_t *next;
    const uint8_t *end;
    bool is_broken = false;

    const uint8_t *take_bytes(size_t size) {
        if (static_cast<size_t>(end - next) < size) {
            is_broken = true;
            next = end;
            return nullptr;
        }
        const uint8_t *from = next;
        next += size;
        return from;
    }
    uint64_t take_number(size_t size) {
        const uint8_t *from = take_bytes(size);
        return from != nullptr ? read_number(from, size) : 0;
    }
    Bytes take_sized(size_t width) {
        const auto size = static_cast<size_t>(take_number(width));
        const uint8_t *from = take_bytes(size);
        return {from, from != nullptr ? size : 0};
    }
};

bool find_named(Bytes table, Bytes name, sarn::Field &out_field) {
    char names[2][UINT8_MAX + 1] = {};
    if (table.size > 0) memcpy(names[0], table.data, table.size);
    if (name.size > 0) memcpy(names[1], name.data, name.size);
    return find_field(names[0], names[1], out_field);
}

int put_value(Place place, char kind, Bytes value, PutValue put, void *context) {
    if (kind == 'n') {
        if (value.size != NUMBER_SIZE) return 0;
        const auto number = static_cast<uint32_t>(read_number(static_cast<const uint8_t *>(value.data), NUMBER_SIZE));
        return put(context, place, {&number, sizeof number});
    }
    if (kind != 't') return value.size == reset_value(place.field).size ? put(context, place, value) : 0;
    const size_t length = strnlen(static_cast<const char *>(value.data), value.size);
    return length <= KORA_TEXT_MAX ? put(context, place, {value.data, length}) : 0;
}

}  // namespace

int for_each_value(const Image &image, PutValue put, void *context) {
    ImageReader in{image.bytes + HEADER_SIZE, image.bytes + image.size - CHECKSUM_SIZE};
    while (in.next != in.end) {
        const Bytes table = in.take_sized(1);
        const Bytes name = in.take_sized(1);
        const char kind = static_cast<char>(in.take_number(1));
        const uint64_t count = in.take_number(COUNT_SIZE);
        sarn::Field field = {};
        const bool is_known = find_named(table, name, field) && kind_of(sarn::spec_of(field).type) == kind;
        for (uint64_t i = 0; i < count && !in.is_broken; ++i) {
            const auto row = static_cast<uint8_t>(in.take_number(1));
            const Bytes value = in.take_sized(2);
            if (in.is_broken || !is_known || row >= sarn::table_of(field).rows) continue;
            const int error = put_value({field, row}, kind, value, put, context);
            if (error != 0) return error;
        }
        if (in.is_broken) return EINVAL;
    }
    return 0;
}

Image::~Image() {
    if (bytes != nullptr) munmap(bytes, IMAGE_MAX);
}

bool allocate(Image &image) {
    void *pages = mmap(nullptr, IMAGE_MAX, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pages == MAP_FAILED) return false;
    image.bytes = static_cast<uint8_t *>(pages);
    return true;
}

int write_image(Walk &walk, Image &out_image) {
    ImageWriter out{out_image};
    uint64_t digested = DIGEST_START;
    out.put_bytes(MAGIC, MAGIC_SIZE);
    out.put_number(VERSION, 4);
    out.put_number(0, DIGEST_AT - LENGTH_AT);
    out.put_number(0, HEADER_SIZE - DIGEST_AT);
    int error = write_beginning(walk, out);
    if (error != 0) return error;
    for (int32_t i = 0; i < sarn::FIELD_COUNT; ++i) {
        error = write_field(walk, static_cast<sarn::Field>(i), out, digested);
        if (error != 0) return error;
    }
    write_number(out_image.bytes + LENGTH_AT, out_image.size + CHECKSUM_SIZE, 4);
    write_number(out_image.bytes + DIGEST_AT, digested, 8);
    out_image.size += CHECKSUM_SIZE;
    write_number(out_image.bytes + out_image.size - CHECKSUM_SIZE, checksum_of(out_image), CHECKSUM_SIZE);
    return 0;
}

CopyState state_of(const Image &image) {
    if (image.size < MAGIC_SIZE || memcmp(image.bytes, MAGIC, MAGIC_SIZE) != 0) return CopyState::Foreign;
    if (image.size < HEADER_SIZE + CHECKSUM_SIZE) return CopyState::Damaged;
    if (read_number(image.bytes + LENGTH_AT, 4) != image.size) return CopyState::Damaged;
    if (read_number(image.bytes + image.size - CHECKSUM_SIZE, CHECKSUM_SIZE) != checksum_of(image))
        return CopyState::Damaged;
    if (read_number(image.bytes + VERSION_AT, 4) != VERSION) return CopyState::Newer;
    const PutValue ignore = [](void *, Place, Bytes) { return 0; };
    return for_each_value(image, ignore, nullptr) == 0 ? CopyState::Whole : CopyState::Damaged;
}

uint64_t digest_of(const Image &image) { return read_number(image.bytes + DIGEST_AT, 8); }

uint64_t beginning_of(const Image &image) {
    const bool is_told = image.size >= BEGINNING_END + CHECKSUM_SIZE &&
                         memcmp(image.bytes + HEADER_SIZE, BEGINNING, BEGINNING_SIZE) == 0;
    return is_told ? read_number(image.bytes + BEGINNING_END - 8, 8) : FROM_A_COPY;
}

}  // namespace kora
