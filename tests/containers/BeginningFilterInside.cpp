#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "containers/BeginningFilter.h"

namespace qzmtraw {
namespace {

/// The candidates among the positions in front of `end`.
std::vector<std::size_t> CandidatesIn(const BeginningFilter& filter, std::string bytes, std::size_t end) {
  bytes.resize(end + BeginningFilter::kBeginning - 1);
  std::vector<std::size_t> candidates;
  filter.ForEachCandidate(reinterpret_cast<const std::uint8_t*>(bytes.data()), end, [&](std::size_t position) {
    candidates.push_back(position);
    return false;
  });
  return candidates;
}
using Positions = std::vector<std::size_t>;

TEST(BeginningFilter, FindsTheBeginningOfAStringAtEveryPosition) {
  BeginningFilter filter;
  filter.Add("template/database");
  for (std::size_t position = 0; position < 60; ++position) {
    EXPECT_EQ(CandidatesIn(filter, std::string(position, 'x') + "templat", 60), Positions{position});
    EXPECT_EQ(CandidatesIn(filter, std::string(position, 'x') + "templat", position), Positions{});
  }
}

TEST(BeginningFilter, PassesOverAWordThatStandsAlone) {
  BeginningFilter filter;
  filter.Add("template/database");
  EXPECT_EQ(CandidatesIn(filter, "xxxplatxxxxxxxxx", 16), Positions{});
}

TEST(BeginningFilter, WithoutStringsFindsNothing) {
  EXPECT_EQ(CandidatesIn(BeginningFilter(), std::string(100, 'x'), 100), Positions{});
}

TEST(BeginningFilter, StopsWhereItIsToldTo) {
  BeginningFilter filter;
  filter.Add("aaaaaaa");
  const std::string bytes(40, 'a');
  std::size_t calls = 0;
  filter.ForEachCandidate(reinterpret_cast<const std::uint8_t*>(bytes.data()), 30, [&](std::size_t position) {
    EXPECT_EQ(position, calls);
    return ++calls == 5;
  });
  EXPECT_EQ(calls, 5U);
}

TEST(BeginningFilter, MissesNoBeginningAndKeepsTheOrder) {
  const std::array<std::string, 3> strings = {"abcabca", "bbbabab", "ccccccc"};
  BeginningFilter filter;
  for (const std::string& string : strings) filter.Add(string);
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    std::string bytes(random() % 200 + BeginningFilter::kBeginning, 'x');
    for (char& byte : bytes) byte = "abc"[random() % 3];
    const std::size_t end = bytes.size() - BeginningFilter::kBeginning + 1;
    const Positions candidates = CandidatesIn(filter, bytes, end);
    ASSERT_TRUE(std::is_sorted(candidates.begin(), candidates.end()));
    for (std::size_t position = 0; position < end; ++position) {
      const std::string beginning = bytes.substr(position, BeginningFilter::kBeginning);
      if (std::count(strings.begin(), strings.end(), beginning) == 0) continue;
      ASSERT_EQ(std::count(candidates.begin(), candidates.end(), position), 1) << bytes << " at " << position;
    }
  }
}

}  // namespace
}  // namespace qzmtraw
