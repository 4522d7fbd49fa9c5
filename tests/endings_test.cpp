// Files that a signal removes.
#include "io/endings.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <thread>

#include "helpers/temp_dir.h"

using namespace tolvane;

TEST(Endings, AFileThatAnotherThreadIsMakingIsRemovedAndOneThatWasForgottenStays) {
  const TempDir dir;
  const std::string path = dir.path("being made"), kept = dir.path("kept");
  const auto end = [&] {
    std::atomic_bool is_there = false;
    make_unfinished_file(kept.c_str(), [&] { return std::ofstream(kept).good(); });
    forget_unfinished_file(kept.c_str());
    std::thread maker([&] {
      make_unfinished_file(path.c_str(), [&] {
        is_there = std::ofstream(path).good();
        usleep(100000);
        return true;
      });
    });
    while (!is_there) usleep(1000);
    raise(SIGTERM);
  };
  EXPECT_EXIT(end(), testing::KilledBySignal(SIGTERM), "");
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_TRUE(std::filesystem::exists(kept));
}
