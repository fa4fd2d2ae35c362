// How LMDB 0.9 lays out its file, for the check of it.
#ifndef KORA_LMDB_PAGES_H
#define KORA_LMDB_PAGES_H

#include <stddef.h>
#include <stdint.h>

namespace kora::lmdb {

inline constexpr uint32_t MAGIC = 0xbeefc0de;
inline constexpr uint32_t DATA_VERSION = 1;
inline constexpr size_t META_PAGES = 2;
inline constexpr size_t NO_PAGE = SIZE_MAX;

enum PageFlag : uint16_t { BRANCH = 0x01, LEAF = 0x02, OVERFLOW = 0x04, META = 0x08 };
inline constexpr uint16_t KIND = 0xff & ~0x10;  // the others are of no meaning on disk

struct PageHeader {
    size_t number;
    uint16_t unused;
    uint16_t flags;
    uint16_t lower;  // of an overflow page: with `upper`, a number of 32 bits, how many pages
    uint16_t upper;
};
inline constexpr size_t HEADER_SIZE = offsetof(PageHeader, upper) + sizeof(uint16_t);

struct Tree {
    uint32_t page_size;  // of the tree of free pages; it stands for the whole file
    uint16_t flags;
    uint16_t depth;
    size_t branch_pages;
    size_t leaf_pages;
    size_t overflow_pages;
    size_t entries;
    size_t root;
};

struct Meta {
    uint32_t magic;
    uint32_t version;
    void *address;
    size_t map_size;
    Tree free_pages;
    Tree values;
    size_t last_page;
    size_t transaction;
};

// Followed by the key; in a leaf then by the value, or by the number of the first overflow page.
struct Node {
    uint32_t number;  // of a leaf: the value's size; of a branch: the lowest 32 bits of the child's page
    uint16_t flags;   // of a branch: the bits above them
    uint16_t key_size;
};
enum NodeFlag : uint16_t { IN_OVERFLOW = 0x01 };

}  // namespace kora::lmdb

#endif
