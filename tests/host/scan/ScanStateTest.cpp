#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/base/Error.h"
#include "host/scan/SavedScan.h"
#include "tests/host/support/FakeSource.h"
#include "tests/host/support/Sectors.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint64_t kAllBits = std::numeric_limits<std::uint64_t>::max();

class ScanStateTest : public ::testing::Test {
 protected:
  std::unique_ptr<ScanState> Open() { return std::make_unique<ScanState>(path, settings); }

  /// What opening it says.
  std::string Refusal() {
    try {
      Open();
    } catch (const UsageError& error) {
      return std::string("usage: ") + error.what();
    } catch (const Failure& failure) {
      return std::string("failure: ") + failure.what();
    }
    return "";
  }

  void Change(const char* sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
  }

  static std::vector<ReportedFind> FindsOf(const ScanState& state) {
    std::vector<ReportedFind> finds;
    state.ReadFinds([&](const ReportedFind& find) { finds.push_back(find); });
    return finds;
  }

  static bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

  Workspace workspace;
  std::string path = workspace / "state";
  ScanSettings settings = {{"the sector size", "512"}, {"the list of file types", "0-319"}};
};

TEST_F(ScanStateTest, KeepsWhatWasCommitted) {
  const ReportedFind extreme{{kAllBits, kAllBits - 1, 319}, 128};
  {
    const auto state = Open();
    EXPECT_EQ(state->SectorsDone(), 0U);
    state->Add({{7, 100, 3}, 0});
    state->Add(extreme);
    state->Add({{150, 0, 1}, 192});
    state->AddUnreadable({20, 4});
    state->Commit(192, 2.5);
    state->Add({{151, 0, 1}, 192});
  }
  const auto state = Open();
  EXPECT_EQ(state->SectorsDone(), 192U);
  EXPECT_EQ(state->Seconds(), 2.5);
  const std::vector<ReportedFind> finds = FindsOf(*state);
  ASSERT_EQ(finds.size(), 2U) << "those of blocks that weren't done come again";
  EXPECT_EQ(finds[0], (Find{7, 100, 3}));
  EXPECT_EQ(finds[1], extreme);
  EXPECT_EQ(finds[1].blockSector, 128U);
  std::vector<SectorRange> unreadable;
  state->ReadUnreadable([&](const SectorRange& range) { unreadable.push_back(range); });
  EXPECT_EQ(unreadable, (std::vector<SectorRange>{{20, 4}}));
}

TEST_F(ScanStateTest, IsForOneAtATime) {
  const auto state = Open();
  EXPECT_TRUE(Has(Refusal(), "failure: '" + path + "' is in use by another run")) << Refusal();
  state->Add({{7, 100, 3}, 0});
  state->Commit(64, 1);
  EXPECT_TRUE(Has(Refusal(), "is in use by another run"));
}

TEST_F(ScanStateTest, AnotherScanIsRefusedWithAllThatDiffers) {
  Open();
  settings = {{"the sector size", "4096"}, {"the list of file types", "0-319"}, {"the shard", "1/2"}};
  EXPECT_EQ(Refusal(),
            "usage: --resume: '" + path +
                "' belongs to another scan; the sector size was 512 and is 4096; the shard was not known and "
                "is 1/2: give what that scan was begun with, or name another file");
  settings = {{"the sector size", kUnknownSetting}, {"the list of file types", std::string(100, '1')}};
  EXPECT_TRUE(Has(Refusal(), "another scan; the list of file types was 0-319 and is " + std::string(60, '1') + "...: "))
      << Refusal();
}

TEST_F(ScanStateTest, WhatIsNotOursStaysAsItIs) {
  const std::string ours = std::exchange(path, workspace / "database");
  Change("CREATE TABLE setting(name)");
  const std::string database = std::exchange(path, ours);
  for (const Bytes& content : {BytesOf("a"), BytesOf(std::string(5000, 'x')), ReadFile(database)}) {
    WriteFile(path, content);
    EXPECT_TRUE(Has(Refusal(), "usage: --resume: '" + path + "' is not the state of a scan")) << Refusal();
    EXPECT_EQ(ReadFile(path), content);
  }
  EXPECT_EQ(NamesIn(workspace.Path()), (std::vector<std::string>{"database", "state"}));
  path = workspace.Path();
  EXPECT_TRUE(Has(Refusal(), "is no file")) << Refusal();
}

TEST_F(ScanStateTest, AForeignJournalIsNotTakenForOurs) {
  WriteFile(path + "-journal", BytesOf("a diary"));
  EXPECT_TRUE(Has(Refusal(), "-journal' is in the way")) << Refusal();
  EXPECT_EQ(ReadFile(path + "-journal"), BytesOf("a diary"));
  EXPECT_EQ(NamesIn(workspace.Path()), (std::vector<std::string>{"state-journal"}));
}

TEST_F(ScanStateTest, AnEmptyFileIsBegun) {
  WriteFile(path, {});
  EXPECT_EQ(Refusal(), "");
  EXPECT_EQ(Refusal(), "");
}

TEST_F(ScanStateTest, AnEmptySettingIsOne) {
  settings = {{"the shard", ""}};
  EXPECT_EQ(Refusal(), "");
  EXPECT_EQ(Refusal(), "");
  settings = {{"the shard", "1/2"}};
  EXPECT_TRUE(Has(Refusal(), "another scan; the shard was  and is 1/2: ")) << Refusal();
}

TEST_F(ScanStateTest, ALaterFormatIsNotTouched) {
  Open();
  Change("PRAGMA user_version=2");
  const Bytes content = ReadFile(path);
  EXPECT_TRUE(Has(Refusal(), "was written by a later version of this program")) << Refusal();
  EXPECT_EQ(ReadFile(path), content);
}

TEST_F(ScanStateTest, DamageIsTold) {
  {
    const auto state = Open();
    for (std::uint64_t i = 0; i < 5000; ++i) state->Add({{i, 100, 3}, 0});
    state->Commit(5000, 1);
  }
  const Bytes whole = ReadFile(path);
  for (const std::size_t size : {whole.size() / 2, std::size_t{4096}}) {
    WriteFile(path, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_TRUE(Has(Refusal(), "failure: '" + path + "' is damaged: ")) << size << Refusal();
  }
  for (const char* sql : {"DROP TABLE find", "DELETE FROM progress", "UPDATE progress SET sectors_done='many'"}) {
    WriteFile(path, whole);
    Change(sql);
    EXPECT_TRUE(Has(Refusal(), "' is damaged: ")) << sql << Refusal();
  }
  for (const char* sql : {"UPDATE find SET row=-1", "UPDATE find SET size='x'"}) {
    WriteFile(path, whole);
    Change(sql);
    const auto state = Open();
    EXPECT_THROW(FindsOf(*state), Failure) << sql;
  }
}

TEST(StateKindTest, ComesOfTheFirstBytes) {
  EXPECT_EQ(StateKindOf({}), StateKind::kEmpty);
  Bytes head = BytesOf(std::string_view("SQLite format 3\0", 16));
  EXPECT_EQ(StateKindOf(head), StateKind::kForeign) << "too short";
  head.resize(100);
  EXPECT_EQ(StateKindOf(head), StateKind::kForeign);
  head[68] = 0x51;
  head[69] = 0x7A;
  head[70] = 0x53;
  head[71] = 0x31;
  head[63] = 1;
  EXPECT_EQ(StateKindOf(head), StateKind::kState);
  head[60] = 1;
  EXPECT_EQ(StateKindOf(head), StateKind::kNewer);
  head[0] = 's';
  EXPECT_EQ(StateKindOf(head), StateKind::kForeign);
}

/// A device of 10000 sectors of 512 bytes, and rows 3 and 5.
class SavedScanTest : public ::testing::Test {
 protected:
  std::unique_ptr<SavedScan> Open(std::uint64_t rewind = 0) {
    device = std::make_unique<Device>(source, 512);
    options.state = workspace / "state";
    options.rewind = rewind;
    return std::make_unique<SavedScan>(options, SettingsOf(*device, std::vector<std::int32_t>{3, 5}, {}), rows, *device,
                                       messages);
  }

  Workspace workspace;
  FakeSource source{Bytes(std::size_t{10000} * 512)};
  std::unique_ptr<Device> device;
  RunOptions options;
  Lane rows = {{3}, {5}};
  std::ostringstream messages;
};

TEST_F(SavedScanTest, GoesOnSoMuchBeforeTheBreakInWholeBlocks) {
  EXPECT_EQ(Open()->Start().sector, 0U);
  Open()->Save(6400);
  const auto startOf = [this](std::uint64_t rewind) { return Open(rewind)->Start(); };
  EXPECT_EQ(startOf(0).sector, 6400U);
  EXPECT_EQ(startOf(0).newsFrom, 6400U);
  EXPECT_EQ(startOf(1).sector, 6336U);
  EXPECT_EQ(startOf(64 * 512).sector, 6336U);
  EXPECT_EQ(startOf(64 * 512 + 1).sector, 6272U);
  EXPECT_EQ(startOf(6400 * 512).sector, 0U);
  EXPECT_EQ(startOf(kDefaultRewind).sector, 0U);
  EXPECT_EQ(startOf(kAllBits).sector, 0U);
  EXPECT_EQ(startOf(kDefaultRewind).newsFrom, 6400U);
}

TEST_F(SavedScanTest, WhatIsDoneIsNotDoneAgain) {
  Open()->Save(10000);
  EXPECT_EQ(Open(kDefaultRewind)->Start().sector, 10000U);
}

TEST_F(SavedScanTest, ABreakBeforeTheLastOneTakesNothingBack) {
  Open()->Save(6400);
  Open(kDefaultRewind)->Save(640);
  EXPECT_EQ(Open()->Start().sector, 6400U);
}

TEST_F(SavedScanTest, SavesNotTooOften) {
  options.saveInterval = std::chrono::hours(1);
  Open()->SaveNowAndThen(640);
  EXPECT_EQ(Open()->Start().sector, 0U);
  options.saveInterval = {};
  Open()->SaveNowAndThen(640);
  EXPECT_EQ(Open()->Start().sector, 640U);
}

TEST_F(SavedScanTest, UnreadableSectorsAreKept) {
  source.badOffsets = {3000 * 512};
  source.error = EIO;
  {
    const auto saved = Open();
    Bytes sectors(std::size_t{10} * 512);
    EXPECT_FALSE(device->Read(2995, sectors));
    saved->Save(3200);
  }
  source.badOffsets.clear();
  Open();
  EXPECT_EQ(RangesOf(device->Unreadable()), (std::vector<SectorRange>{{3000, 1}}));
  Bytes sector(512);
  EXPECT_FALSE(device->Read(3000, sector)) << "it isn't tried again";
}

TEST_F(SavedScanTest, NothingIsSavedOfASourceThatIsLost) {
  {
    const auto saved = Open();
    saved->Save(640);
    source.badOffsets = {3000 * 512};
    source.error = ENODEV;
    Bytes sectors(512);
    EXPECT_FALSE(device->Read(3000, sectors));
    saved->Add({{1, 2, 3}, 640});
    saved->Save(1280);
  }
  source.badOffsets.clear();
  EXPECT_EQ(Open()->Start().sector, 640U);
}

TEST_F(SavedScanTest, FindsOfOtherRowsAreDamage) {
  {
    const auto saved = Open();
    saved->Add({{1, 2, 4}, 0});
    saved->Save(640);
  }
  EXPECT_THROW(Open()->ReadFinds([](const Find&) {}), Failure);
}

TEST_F(SavedScanTest, AnotherSourceIsTold) {
  Open();
  Bytes other(std::size_t{10000} * 512);
  other.back() = 1;
  FakeSource changed(other);
  Device otherDevice(changed, 512);
  const std::vector<std::int32_t> chosen = {3, 5};
  try {
    const SavedScan saved(options, SettingsOf(otherDevice, chosen, {}), rows, otherDevice, messages);
    ADD_FAILURE();
  } catch (const UsageError& error) {
    const std::string text = error.what();
    EXPECT_NE(text.find("the mark of the source's end was "), std::string::npos) << text;
    EXPECT_EQ(text.find("beginning"), std::string::npos) << text;
  }
}

TEST(ScanSettingsTest, WhatCannotBeReadIsNotCompared) {
  FakeSource source(Bytes(std::size_t{1000} * 512));
  source.badOffsets = {5 * 512};
  source.error = EIO;
  Device device(source, 512);
  const ScanSettings settings = SettingsOf(device, std::vector<std::int32_t>{0, 1, 2, 5, 7, 8}, {2, 3});
  const auto valueOf = [&](const std::string& name) {
    const auto setting = std::ranges::find(settings, name, &ScanSettings::value_type::first);
    return setting == settings.end() ? "" : setting->second;
  };
  EXPECT_EQ(valueOf("the mark of the source's beginning"), kUnknownSetting);
  EXPECT_EQ(valueOf("the mark of the source's end").size(), 16U);
  EXPECT_EQ(valueOf("the list of file types"), "0-2,5,7-8");
  EXPECT_EQ(valueOf("the shard"), "2/3");
}

}  // namespace
}  // namespace qzmtraw::host
