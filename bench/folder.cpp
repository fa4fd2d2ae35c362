#include "bench/folder.h"

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include "bench/device.h"

namespace bench {

namespace {

// Children that were forked leave it to the process that made it.
class Folder {
public:
    Folder() {
        char made[] = "/dev/shm/bench-XXXXXX";
        require(mkdtemp(made) != nullptr, "mkdtemp");
        path_ = made;
    }
    ~Folder() {
        std::error_code ignored;
        if (getpid() == maker_) std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
    pid_t maker_ = getpid();
};

}  // namespace

std::string in_folder(const std::string &name) {
    const char *given = getenv("BENCH_FOLDER");
    if (given != nullptr && given[0] != '\0') return std::string(given) + "/" + name;
    static const Folder folder;
    return folder.path() + "/" + name;
}

}  // namespace bench
