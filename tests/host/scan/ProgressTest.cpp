#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "host/scan/Progress.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint64_t kMiB = 1U << 20U;

Progress::Time At(int milliseconds) { return Progress::Time(std::chrono::milliseconds(milliseconds)); }

TEST(ProgressTest, TellsShareRateAndTimeLeft) {
  std::ostringstream terminal;
  Progress progress(&terminal, "scanning", 100 * kMiB);
  progress.Update(0, 0, At(0));
  progress.Update(25 * kMiB, 3, At(1000));
  EXPECT_EQ(terminal.str(), "\r\x1b[Kscanning 25%, 25.0 MiB of 100.0 MiB, 25.0 MiB/s, 3.0 s left, 3 found");
}

TEST(ProgressTest, DrawsAtMostFiveTimesASecond) {
  std::ostringstream terminal;
  Progress progress(&terminal, "scanning", 100 * kMiB);
  for (int i = 0; i <= 1000; ++i) progress.Update(static_cast<std::uint64_t>(i) * kMiB / 100, 0, At(i));
  const std::string text = terminal.str();
  EXPECT_EQ(std::ranges::count(text, '\r'), 5);
}

TEST(ProgressTest, TheRateForgetsASlowStart) {
  std::ostringstream terminal;
  Progress progress(&terminal, "scanning", 1000 * kMiB);
  for (int second = 0; second <= 100; ++second) progress.Update(0, 0, At(second * 1000));
  for (int second = 1; second <= 10; ++second) {
    terminal.str("");
    progress.Update(static_cast<std::uint64_t>(second) * 50 * kMiB, 0, At(100000 + second * 1000));
  }
  EXPECT_NE(terminal.str().find(", 50.0 MiB/s, 10.0 s left,"), std::string::npos) << terminal.str();
}

TEST(ProgressTest, StandstillHasNoTimeLeft) {
  std::ostringstream terminal;
  Progress progress(&terminal, "scanning", kMiB);
  progress.Update(0, 0, At(0));
  progress.Update(0, 0, At(1000));
  EXPECT_NE(terminal.str().find("0 B/s, 0 found"), std::string::npos) << terminal.str();
}

TEST(ProgressTest, ErasesItsLine) {
  std::ostringstream terminal;
  {
    Progress progress(&terminal, "scanning", kMiB);
    progress.Update(0, 0, At(0));
    progress.Update(1, 0, At(1000));
    terminal.str("");
  }
  EXPECT_EQ(terminal.str(), "\r\x1b[K");
}

TEST(ProgressTest, LeavesNothingWhenNothingWasDrawn) {
  std::ostringstream terminal;
  { Progress(&terminal, "scanning", kMiB).Update(0, 0, At(0)); }
  EXPECT_EQ(terminal.str(), "");
  EXPECT_NO_THROW(Progress(nullptr, "scanning", kMiB).Update(1, 0, At(0)));
}

}  // namespace
}  // namespace qzmtraw::host
