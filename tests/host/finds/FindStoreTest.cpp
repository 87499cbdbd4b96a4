#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "host/finds/FindStore.h"

namespace qzmtraw::host {
namespace {

std::vector<Find> SomeFinds(std::size_t count) {
  std::mt19937_64 random(count);
  std::vector<Find> finds;
  for (std::size_t i = 0; i < count; ++i) {
    finds.push_back({random() % 5000, random() % 3, static_cast<std::int32_t>(random() % 320)});
  }
  return finds;
}

std::vector<Find> AllOf(FindStore::Cursor cursor) {
  std::vector<Find> finds;
  while (const auto find = cursor.Next()) finds.push_back(*find);
  return finds;
}

/// 16 finds fit into the least memory, so these make no run, a few, more than are merged at once, and runs that were
/// merged twice.
TEST(FindStoreTest, GivesFindsBackInOrderWhateverTheMemory) {
  for (const std::size_t count : {0U, 1U, 16U, 17U, 100U, 1024U, 1025U, 5000U, 70000U}) {
    std::vector<Find> finds = SomeFinds(count);
    for (const std::size_t memory : {std::size_t{0}, std::size_t{1} << 20U}) {
      FindStore store(memory);
      for (const Find& find : finds) store.Add(find);
      EXPECT_EQ(store.Count(), count);
      store.Sort();
      std::vector<Find> expected = finds;
      std::ranges::sort(expected, ComesBefore);
      EXPECT_EQ(AllOf(FindStore::Cursor(store)), expected) << count << " finds in " << memory << " bytes";
    }
  }
}

TEST(FindStoreTest, CursorsAreIndependent) {
  FindStore store(0);
  for (const Find& find : SomeFinds(10000)) store.Add(find);
  store.Sort();
  FindStore::Cursor ahead(store);
  for (int i = 0; i < 5000; ++i) ahead.Next();
  FindStore::Cursor behind(store);
  for (int i = 0; i < 5000; ++i) behind.Next();
  EXPECT_EQ(ahead.Next(), behind.Next());
}

}  // namespace
}  // namespace qzmtraw::host
