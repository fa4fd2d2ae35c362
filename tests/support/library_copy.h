// A library under another name, for a process to load it twice.
#ifndef SARN_TESTS_LIBRARY_COPY_H
#define SARN_TESTS_LIBRARY_COPY_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

// Not beside the stores: where they lie nothing may be loaded in many a container.
struct LibraryCopy {
    explicit LibraryCopy(const char *library) {
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        name = folder + "/copy.so";
        std::filesystem::copy_file(library, name);
    }
    ~LibraryCopy() { std::filesystem::remove_all(folder); }
    std::string folder = testing::TempDir() + "sarn-copy-XXXXXX", name;
};

#endif
