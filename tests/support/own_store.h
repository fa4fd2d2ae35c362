// Where tests keep their stores.
#ifndef SARN_TESTS_OWN_STORE_H
#define SARN_TESTS_OWN_STORE_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// In memory, in a new folder that is gone with this. SARN_TEST_FOLDER names a place for all of a run, for who removes
// what killed tests leave.
struct OwnStore {
    OwnStore() {
        const char *parent = std::getenv("SARN_TEST_FOLDER");
        folder = std::string(parent != nullptr ? parent : "/dev/shm") + "/sarn-test-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        use(folder + "/store.mdb");
    }
    ~OwnStore() { std::filesystem::remove_all(folder); }
    void use(const std::string &name) {
        setenv("KORA_STORE", (path = name).c_str(), 1);
        setenv("KORA_SAVE", (saved = path + ".saved").c_str(), 1);
    }
    std::string folder, path, saved;
};

inline std::string content_of(const std::string &name) {
    std::ostringstream all;
    all << std::ifstream(name).rdbuf();
    return all.str();
}
inline void write_file(const std::string &name, const std::string &content) { std::ofstream(name) << content; }

#endif
