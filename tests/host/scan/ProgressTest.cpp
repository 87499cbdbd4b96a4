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
  for (int second = 1; second <= 30; ++second) {
    terminal.str("");
    progress.Update(static_cast<std::uint64_t>(second) * 20 * kMiB, 0, At(100000 + second * 1000));
  }
  EXPECT_NE(terminal.str().find(", 20.0 MiB/s, 20.0 s left,"), std::string::npos) << terminal.str();
}

TEST(ProgressTest, StandstillHasNoTimeLeft) {
  std::ostringstream terminal;
  Progress progress(&terminal, "scanning", kMiB);
  progress.Update(0, 0, At(0));
  progress.Update(0, 0, At(1000));
  EXPECT_NE(terminal.str().find("0 B/s, 0 found"), std::string::npos) << terminal.str();
}

TEST(ProgressTest, CategoriesAreCutToTheWidth) {
  const auto lineOf = [](std::size_t width) {
    std::ostringstream terminal;
    ProgressStream stream(terminal, ProgressStream::Style::kRedrawn, [width] { return width; });
    Progress progress(&stream, "scanning", 100 * kMiB);
    for (const std::int32_t category : {1, 3, 3, 5, 3, 5}) progress.CountFind(category);
    progress.Update(0, 0, At(0));
    progress.Update(25 * kMiB, 6, At(1000));
    return terminal.str().substr(4);
  };
  const std::string head = "scanning 25%, 25.0 MiB of 100.0 MiB, 25.0 MiB/s, 3.0 s left, 6 found";
  const std::string all = head + ": graphics 3, internet and mail 2, documents 1";
  ASSERT_EQ(head.size(), 68U);
  EXPECT_EQ(lineOf(200), all);
  EXPECT_EQ(lineOf(all.size() + 1), all);
  EXPECT_EQ(lineOf(all.size()), head + ": graphics 3, internet and mail 2 \xE2\x80\xA6");
  EXPECT_EQ(lineOf(83), head + ": graphics 3 \xE2\x80\xA6");
  EXPECT_EQ(lineOf(82), head + " \xE2\x80\xA6");
  EXPECT_EQ(lineOf(71), head + " \xE2\x80\xA6");
  EXPECT_EQ(lineOf(70), head);
  EXPECT_EQ(lineOf(40), head.substr(0, 39));
}

TEST(ProgressTest, ProgramsGetObjectsAtMostTwiceASecondAndALastOne) {
  std::ostringstream out;
  {
    ProgressStream stream(out, ProgressStream::Style::kJson, [] { return std::size_t{80}; });
    Progress progress(&stream, "scanning", 1000);
    progress.Update(0, 0, At(0));
    progress.CountFind(3);
    progress.CountFind(-1);
    for (int i = 1; i <= 1100; ++i) progress.Update(static_cast<std::uint64_t>(i / 2), 2, At(i));
    progress.Update(1000, 3, At(1101));
  }
  EXPECT_EQ(out.str(), R"({"type":"progress","phase":"scanning","bytes":0,"total":1000,"bytes_per_second":0,)"
                       R"("seconds_left":null,"finds":0,"finds_by_category":{}})"
                       "\n"
                       R"({"type":"progress","phase":"scanning","bytes":250,"total":1000,"bytes_per_second":500,)"
                       R"("seconds_left":1,"finds":2,"finds_by_category":{"other":1,"graphics":1}})"
                       "\n"
                       R"({"type":"progress","phase":"scanning","bytes":500,"total":1000,"bytes_per_second":500,)"
                       R"("seconds_left":1,"finds":2,"finds_by_category":{"other":1,"graphics":1}})"
                       "\n"
                       R"({"type":"progress","phase":"scanning","bytes":1000,"total":1000,"bytes_per_second":908,)"
                       R"("seconds_left":0,"finds":3,"finds_by_category":{"other":1,"graphics":1}})"
                       "\n");
}

TEST(ProgressTest, WithoutATerminalThereIsANewLineNowAndThen) {
  std::ostringstream out;
  {
    const auto stream = OpenProgress(ProgressMode::kLine, out, false);
    Progress progress(stream.get(), "copying", 100);
    for (int second = 0; second <= 25; ++second)
      progress.Update(static_cast<std::uint64_t>(second), 1, At(second * 1000));
  }
  EXPECT_EQ(out.str(),
            "copying 10%, 10 B of 100 B, 1 B/s, 1:30 left, 1 found\n"
            "copying 20%, 20 B of 100 B, 1 B/s, 1:20 left, 1 found\n");
}

TEST(ProgressTest, WhoIsNotWatchedSaysNothingUnlessAsked) {
  const std::ostringstream out;
  EXPECT_EQ(OpenProgress(ProgressMode::kAuto, out, false), nullptr);
  EXPECT_EQ(OpenProgress(ProgressMode::kNone, out, true), nullptr);
  EXPECT_NE(OpenProgress(ProgressMode::kAuto, out, true), nullptr);
  EXPECT_NE(OpenProgress(ProgressMode::kJson, out, false), nullptr);
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
