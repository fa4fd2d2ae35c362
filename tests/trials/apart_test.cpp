// Processes that fork, and two copies of the library.
#include <dlfcn.h>

#include <thread>

#include "tests/support/library_copy.h"
#include "tests/trials/trial.h"

using namespace trial;

class Apart : public TrialTest {};

// The sanitizers' own allocators do not survive a fork beside threads.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Apart, ForksBesideCallsHarmNeitherSide) {
    fill(3);
    EXPECT_EQ(run_process([] {
                  if (sarn_init() != SARN_OK) return 1;
                  std::atomic<bool> is_over{false};
                  std::atomic<int> wrong{0};
                  std::thread writer([&] {
                      while (!is_over) wrong += make(Call::Signature, 1) != SARN_OK;
                  });
                  std::thread remover([&] {
                      while (!is_over) {
                          wrong += make(Call::Offline, 9) != SARN_OK;
                          wrong += !is_expected(Call::Remove, make(Call::Remove, 9));
                      }
                  });
                  for (int i = 0; i < 30 * scale(); ++i) {
                      wrong += run_process([i] {
                                   int failed = make(Call::Read, 1) != SARN_OK;
                                   failed += make(Call::Signature, 20 + i % 20) != SARN_OK;
                                   failed += make(Call::Read, 20 + i % 20) != SARN_OK;
                                   return failed + (sarn_uninit() != SARN_OK);
                               }) != 0;
                      wrong += make(Call::Read, 20 + i % 20) != SARN_OK;
                  }
                  is_over = true;
                  writer.join();
                  remover.join();
                  return wrong.load();
              }),
              0);
    EXPECT_GE(check("after the forks"), 23);
}
#endif

TEST_F(Apart, TwoCopiesOfTheLibraryInOneProcess) {
    const LibraryCopy copy(SARN_LIBRARY);
    EXPECT_EQ(run_process([&] {
                  void *other = dlopen(copy.name.c_str(), RTLD_NOW | RTLD_LOCAL);
                  if (other == nullptr || sarn_init() != SARN_OK) return 1;
                  const auto start = reinterpret_cast<decltype(&sarn_init)>(dlsym(other, "sarn_init"));
                  const auto report =
                      reinterpret_cast<decltype(&update_device_signature)>(dlsym(other, "update_device_signature"));
                  const auto read =
                      reinterpret_cast<decltype(&get_device_info_by_mac)>(dlsym(other, "get_device_info_by_mac"));
                  int failed = start() != SARN_OK;
                  for (int i = 0; i < 40; ++i) {
                      const signature_record record = signature_of(i);
                      device_info found;
                      failed += (i % 2 == 0 ? report(&record, 0) : make(Call::Signature, i)) != SARN_OK;
                      failed += (i % 2 == 0 ? make(Call::Read, i) : read(&found, mac_of(i).c_str())) != SARN_OK;
                  }
                  return failed;
              }),
              0);
    EXPECT_EQ(check("two copies"), 40);
}
