// Where a bench program keeps its stores, sockets and logs: a folder of its own, on a tmpfs, gone when it ends.
#ifndef SARN_BENCH_FOLDER_H
#define SARN_BENCH_FOLDER_H

#include <string>

namespace bench {

// Inside the folder that BENCH_FOLDER names, whose maker removes it, or else inside one that this process makes and
// removes when it exits.
std::string in_folder(const std::string &name);

}  // namespace bench

#endif
