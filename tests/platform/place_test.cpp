// On file systems of the test's own.
#include <sched.h>
#include <sys/mount.h>

#include "tests/platform/support.h"

namespace {

using Place = StoreTest;

TEST_F(Place, TheDefaultStoreHasTheDefaultCopyHoweverItIsSpelled) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a file system";
    EXPECT_EQ(run_process([&] {
                  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
                      return 2;
                  for (const char *empty : {"/run", "/var/lib"})
                      if (mount("none", empty, "tmpfs", 0, nullptr) != 0) return 3;
                  std::filesystem::create_directory_symlink("/run", folder + "/run");
                  use(folder + "/run/kora/store.mdb");
                  unsetenv("KORA_SAVE");
                  open();
                  return kora_save(handle);
              }),
              0);
}

}  // namespace
