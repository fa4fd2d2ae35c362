#include "kora_check.h"

#include <errno.h>
#include <string.h>
#include <sys/mman.h>

#include "kora_files.h"
#include "kora_lmdb_pages.h"
#include "kora_walk.h"

namespace kora {

using namespace lmdb;

namespace {

constexpr size_t PAGE_COUNT_MAX = static_cast<size_t>(STORE_SIZE) / 512;
constexpr uint16_t DEPTH_MAX = 16;

struct File {
    const uint8_t *bytes;
    size_t page_size;
    size_t last_page;
    uint8_t is_seen[PAGE_COUNT_MAX / 8];
};

// One walk over one tree; what was found is held against what the tree says about itself.
struct TreeWalk {
    File &file;
    const Tree &tree;
    bool (*check_entry)(TreeWalk &, Bytes key, Bytes value);
    size_t key_size;
    size_t branch_pages = 0;
    size_t leaf_pages = 0;
    size_t overflow_pages = 0;
    size_t entries = 0;
    uint8_t least_key[sizeof(size_t)] = {};  // what the next key must not be below
    bool has_least = false;
    bool is_least_taken = false;  // and not equal either
    bool are_values_whole = true;
    FileLook look = {};  // what the format's entry says
};

const uint8_t *page_at(const File &file, size_t number) { return file.bytes + number * file.page_size; }

template <class Struct>
Struct read_struct(const uint8_t *at) {
    Struct value;
    memcpy(&value, at, sizeof value);
    return value;
}

// Each page has one place, or is free once.
bool take_page(File &file, size_t number) {
    if (number < META_PAGES || number > file.last_page) return false;
    uint8_t &bits = file.is_seen[number / 8];
    const auto bit = static_cast<uint8_t>(1 << number % 8);
    if ((bits & bit) != 0) return false;
    bits = static_cast<uint8_t>(bits | bit);
    return true;
}

// Keys of values compare as bytes, those of free pages as numbers.
int compare_keys(const TreeWalk &walk, const uint8_t *one, const uint8_t *other) {
    if (walk.key_size == sizeof(KeyBytes)) return memcmp(one, other, sizeof(KeyBytes));
    const size_t first = read_struct<size_t>(one), second = read_struct<size_t>(other);
    return first < second ? -1 : first > second;
}

bool raise_least_key(TreeWalk &walk, const uint8_t *key, bool is_taken) {
    if (walk.has_least) {
        const int order = compare_keys(walk, key, walk.least_key);
        if (order < 0 || (order == 0 && walk.is_least_taken)) return false;
    }
    memcpy(walk.least_key, key, walk.key_size);
    walk.has_least = true;
    walk.is_least_taken = is_taken;
    return true;
}

bool check_free_pages(TreeWalk &walk, Bytes, Bytes value) {
    const auto *pages = static_cast<const uint8_t *>(value.data);
    if (value.size < sizeof(size_t) || value.size % sizeof(size_t) != 0) return false;
    const auto count = read_struct<size_t>(pages);
    if (count > value.size / sizeof(size_t) - 1) return false;
    size_t before = SIZE_MAX;
    for (size_t i = 1; i <= count; ++i) {
        const auto number = read_struct<size_t>(pages + i * sizeof(size_t));
        if (number >= before || !take_page(walk.file, number)) return false;
        before = number;
    }
    return true;
}

// Goes on after one that is damaged: whose file it is comes first.
bool check_value(TreeWalk &walk, Bytes key_bytes, Bytes value) {
    const Key key = key_of(read_struct<KeyBytes>(static_cast<const uint8_t *>(key_bytes.data)));
    const auto *bytes = static_cast<const uint8_t *>(value.data);
    const size_t size = value.size < CHECK_SIZE ? 0 : value.size - CHECK_SIZE;
    const bool is_whole = value.size >= CHECK_SIZE && read_struct<uint32_t>(bytes + size) == check_of(key, bytes, size);
    walk.are_values_whole &= is_whole;
    if (key != FORMAT_KEY) return true;
    walk.look.is_format_whole = is_whole;
    if (is_whole) walk.look.format = read_format(bytes, size);
    walk.look.is_ours = is_whole ? origin_of(walk.look.format) != Origin::Foreign : size == sizeof(Format);
    return true;
}

// Only lists of free pages grow so long.
bool find_overflow(TreeWalk &walk, const uint8_t *at, Bytes &value) {
    const auto first = read_struct<size_t>(at);
    const size_t count = (HEADER_SIZE - 1 + value.size) / walk.file.page_size + 1;
    for (size_t i = 0; i < count; ++i) {
        if (first > walk.file.last_page || !take_page(walk.file, first + i)) return false;
    }
    const auto header = read_struct<PageHeader>(page_at(walk.file, first));
    const auto pages = read_struct<uint32_t>(page_at(walk.file, first) + offsetof(PageHeader, lower));
    if (header.number != first || (header.flags & KIND) != OVERFLOW || pages != count) return false;
    walk.overflow_pages += count;
    value.data = page_at(walk.file, first) + HEADER_SIZE;
    return true;
}

bool check_leaf_node(TreeWalk &walk, const Node &node, const uint8_t *key, size_t room) {
    const bool is_in_overflow = node.flags == IN_OVERFLOW;
    Bytes value = {key + node.key_size, node.number};
    if (node.key_size != walk.key_size || (node.flags != 0 && !is_in_overflow)) return false;
    if (room < node.key_size || room - node.key_size < (is_in_overflow ? sizeof(size_t) : value.size)) return false;
    if (is_in_overflow && (walk.key_size != sizeof(size_t) || !find_overflow(walk, key + node.key_size, value)))
        return false;
    ++walk.entries;
    return raise_least_key(walk, key, true) && walk.check_entry(walk, {key, node.key_size}, value);
}

bool check_page(TreeWalk &walk, size_t number, uint16_t depth);

// The first key of a branch is never looked at.
bool check_branch_node(TreeWalk &walk, const Node &node, const uint8_t *key, size_t room, bool is_first,
                       uint16_t depth) {
    size_t child = node.number;
    if constexpr (sizeof(size_t) > sizeof(uint32_t)) child |= static_cast<size_t>(node.flags) << 32;
    if (room < node.key_size) return false;
    if (!is_first && (node.key_size != walk.key_size || !raise_least_key(walk, key, false))) return false;
    return check_page(walk, child, static_cast<uint16_t>(depth - 1));
}

bool check_page(TreeWalk &walk, size_t number, uint16_t depth) {
    if (depth == 0 || !take_page(walk.file, number)) return false;
    const uint8_t *page = page_at(walk.file, number);
    const auto header = read_struct<PageHeader>(page);
    const bool is_leaf = depth == 1;
    if (header.number != number || (header.flags & KIND) != (is_leaf ? LEAF : BRANCH)) return false;
    if (header.lower < HEADER_SIZE || header.lower > header.upper || header.upper > walk.file.page_size) return false;
    const size_t count = (header.lower - HEADER_SIZE) / sizeof(uint16_t);
    if (count < (is_leaf ? 1U : 2U)) return false;
    ++(is_leaf ? walk.leaf_pages : walk.branch_pages);
    for (size_t i = 0; i < count; ++i) {
        const auto at = read_struct<uint16_t>(page + HEADER_SIZE + i * sizeof(uint16_t));
        if (at < header.upper || at + sizeof(Node) > walk.file.page_size) return false;
        const auto node = read_struct<Node>(page + at);
        const uint8_t *key = page + at + sizeof(Node);
        const size_t room = walk.file.page_size - at - sizeof(Node);
        if (!(is_leaf ? check_leaf_node(walk, node, key, room)
                      : check_branch_node(walk, node, key, room, i == 0, depth)))
            return false;
    }
    return true;
}

bool check_tree(TreeWalk &walk) {
    const Tree &tree = walk.tree;
    if (tree.depth > DEPTH_MAX) return false;
    const bool is_empty = tree.root == NO_PAGE;
    if (is_empty != (tree.depth == 0) || (!is_empty && !check_page(walk, tree.root, tree.depth))) return false;
    return walk.branch_pages == tree.branch_pages && walk.leaf_pages == tree.leaf_pages &&
           walk.overflow_pages == tree.overflow_pages && walk.entries == tree.entries;
}

// LMDB checks both meta pages, finds the second by what the first says, and goes by the younger. Transactions write
// them in turn, so an older one that was made the younger by damage is told by its number.
bool read_meta(const uint8_t *bytes, size_t size, Meta &out_meta) {
    Meta metas[META_PAGES];
    for (size_t i = 0; i < META_PAGES; ++i) {
        const auto header = read_struct<PageHeader>(bytes + i * size);
        const auto meta = read_struct<Meta>(bytes + i * size + HEADER_SIZE);
        if ((header.flags & KIND) != META || meta.magic != MAGIC || meta.version != DATA_VERSION) return false;
        if (meta.free_pages.page_size != size) return false;
        metas[i] = meta;
    }
    const size_t younger = metas[0].transaction < metas[1].transaction ? 1 : 0;
    out_meta = metas[younger];
    return out_meta.transaction % META_PAGES == younger &&
           out_meta.transaction - metas[1 - younger].transaction == (out_meta.transaction == 0 ? 0 : 1);
}

FileLook look_at_pages(File &file) {
    constexpr uint16_t KEYS_ARE_NUMBERS = 0x08;
    constexpr uint16_t OF_TREES = 0x7f;  // the other bits are how the file was opened
    Meta meta;
    if (!read_meta(file.bytes, file.page_size, meta)) return {};
    const size_t page_count = STORE_SIZE / file.page_size;
    const bool is_sound =
        meta.map_size == STORE_SIZE && (meta.free_pages.flags & OF_TREES) == KEYS_ARE_NUMBERS && meta.values.flags == 0;
    if (!is_sound || meta.last_page < META_PAGES - 1 || meta.last_page >= page_count) return {};
    file.last_page = meta.last_page;
    TreeWalk values = {file, meta.values, check_value, sizeof(KeyBytes)};
    TreeWalk free_pages = {file, meta.free_pages, check_free_pages, sizeof(size_t)};
    if (!check_tree(values) || !check_tree(free_pages)) return {};
    values.look.is_whole = values.look.is_format_whole && values.are_values_whole;
    return values.look;
}

}  // namespace

FileLook look_at_file(int fd) {
    void *bytes = mmap(nullptr, STORE_SIZE, PROT_READ, MAP_SHARED, fd, 0);
    if (bytes == MAP_FAILED) return FileLook{.error = errno};
    File file = {static_cast<const uint8_t *>(bytes), page_size(), 0, {}};
    FileLook look = look_at_pages(file);
    if (!look.is_format_whole)
        look.is_ours |= memmem(bytes, STORE_SIZE, FORMAT_MAGIC, sizeof FORMAT_MAGIC - 1) != nullptr;
    munmap(bytes, STORE_SIZE);
    return look;
}

}  // namespace kora
