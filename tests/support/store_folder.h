// Where tests keep their stores.
#ifndef SARN_TESTS_STORE_FOLDER_H
#define SARN_TESTS_STORE_FOLDER_H

#include <cstdlib>
#include <string>

// A new folder in memory. SARN_TEST_FOLDER names one for all of a run, for who removes what killed tests leave.
inline std::string make_store_folder() {
    const char *parent = std::getenv("SARN_TEST_FOLDER");
    std::string folder = std::string(parent != nullptr ? parent : "/dev/shm") + "/sarn-test-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) std::abort();
    return folder;
}

#endif
