#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "host/finds/JudgedFinds.h"
#include "host/finds/Shortfall.h"
#include "host/types/Registry.h"

namespace qzmtraw::host {
namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

/// What a test looks at of a record.
struct Told {
  Find find;
  std::optional<Find> embeddedIn;
  std::uint64_t length = 0;
  bool isEstimated = false;

  friend bool operator==(const Told&, const Told&) = default;
};

std::ostream& operator<<(std::ostream& out, const Told& told) {
  out << told.find.startSector << ':' << told.find.row << ':' << told.find.size << " takes " << told.length;
  if (told.embeddedIn) out << " in " << told.embeddedIn->startSector << ':' << told.embeddedIn->row;
  return out;
}

std::vector<FindRecord> Records(const std::vector<Find>& finds, const FindJudge& judge,
                                JudgedFinds::Listing listing = JudgedFinds::Listing::kJudged) {
  FindStore store(0);
  for (const Find& find : finds) store.Add(find);
  store.Sort();
  JudgedFinds judged(store, judge, listing);
  std::vector<FindRecord> records;
  while (const auto record = judged.Next()) records.push_back(*record);
  return records;
}

std::vector<Told> Judged(const std::vector<Find>& finds, const FindJudge& judge) {
  std::vector<Told> told;
  for (const FindRecord& record : Records(finds, judge)) {
    told.push_back({record.find, record.embeddedIn, record.plan.length, record.plan.isEstimated});
  }
  return told;
}

/// The same by comparing each with each, in numbers that hold every sum.
std::vector<Told> JudgedOneByOne(const std::vector<Find>& finds, const FindJudge& judge, std::uint64_t deviceSize,
                                 std::uint32_t sectorSize) {
  using Wide = unsigned __int128;
  std::map<std::uint64_t, Find> best;
  for (const Find& find : finds) {
    const auto [place, isNew] = best.try_emplace(find.startSector, find);
    if (!isNew && judge.IsBetter(find, place->second)) place->second = find;
  }
  for (auto& [start, find] : best) {
    const TypeFacts& facts = judge.TypeOf(find).facts;
    if (facts.standing != Standing::kKeyword || facts.size != SizeSource::kTail || find.size == 0) continue;
    std::optional<Find> text;
    for (const Find& other : finds) {
      const TypeInfo& type = judge.TypeOf(other);
      const bool isText = other.startSector == start && type.facts.standing == Standing::kText && other.size > 0 &&
                          other.size != type.greatestSize;
      if (isText && (!text || judge.IsBetter(other, *text))) text = other;
    }
    const auto roundedUp = [&](std::uint64_t size) { return (Wide{size} + sectorSize - 1) / sectorSize; };
    if (!text || roundedUp(text->size) != roundedUp(find.size)) continue;
    if (find.size % sectorSize == 0 || Wide{text->size} + 2 >= find.size) find.size = text->size;
  }
  const auto startOf = [&](const Find& find) { return Wide{find.startSector} * sectorSize; };
  const auto isKnown = [&](const Find& find) {
    return judge.ConfidenceOf(find) >= Confidence::kFromHeader && startOf(find) + find.size <= deviceSize;
  };
  const auto isSurelyFile = [&](const Find& find) {
    const TypeFacts& facts = judge.TypeOf(find).facts;
    const bool isChecked = judge.ConfidenceOf(find) == Confidence::kCheckedEnd || facts.holdsFiles;
    return facts.standing == Standing::kSignature && facts.reach != Reach::kOverruns && isChecked && isKnown(find);
  };
  const auto isOverrun = [&](const Find& find) {
    if (judge.TypeOf(find).facts.reach != Reach::kOverruns || !isKnown(find)) return false;
    return std::ranges::any_of(best, [&](const auto& other) {
      return other.first > find.startSector && startOf(other.second) < startOf(find) + find.size &&
             isSurelyFile(other.second);
    });
  };
  const auto isTrusted = [&](const Find& find) { return isKnown(find) && !isOverrun(find); };
  const auto strength = [&](const Find& find) {
    if (!isTrusted(find)) return 0;
    return judge.ConfidenceOf(find) == Confidence::kCheckedEnd || judge.TypeOf(find).facts.holdsFiles ? 2 : 1;
  };
  const auto endOf = [&](const Find& find) {
    return startOf(find) + (find.size - std::min(find.size - 1, judge.TypeOf(find).facts.excess));
  };
  const auto isInside = [&](const Find& inner, const Find& outer) {
    if (outer.startSector >= inner.startSector || !isTrusted(outer)) return false;
    if (judge.TypeOf(outer).facts.standing < judge.TypeOf(inner).facts.standing) return false;
    if (strength(outer) < strength(inner)) return false;
    return isTrusted(inner) ? endOf(inner) <= endOf(outer) : startOf(inner) < endOf(outer);
  };
  std::map<std::uint64_t, Find> outers;
  for (const auto& [start, find] : best) {
    for (const auto& [otherStart, other] : best) {
      if (!isInside(find, other)) continue;
      const auto [known, isNew] = outers.try_emplace(start, other);
      if (!isNew && endOf(other) > endOf(known->second)) known->second = other;
    }
  }
  std::vector<Told> told;
  for (const auto& [start, find] : best) {
    Told each{find, {}, 0, find.size == 0 || judge.IsSizeDoubtful(find) || isOverrun(find)};
    const bool isInner = outers.contains(start);
    Wide end = startOf(find) + (find.size != 0 ? find.size : kMost);
    if (find.size == 0 && judge.TypeOf(find).hints) end = startOf(find) + judge.TypeOf(find).hints->greatest;
    if (each.isEstimated) {
      bool hasNext = false;
      for (const auto& [otherStart, other] : best) {
        if (otherStart <= start || hasNext) continue;
        const bool isSure = judge.TypeOf(find).facts.standing >= Standing::kKeyword;
        const bool isSureEnd = judge.TypeOf(other).facts.standing >= Standing::kKeyword;
        if (!isInner && (outers.contains(otherStart) || (isSure && !isSureEnd))) continue;
        hasNext = true;
        end = std::min(end, startOf(other));
      }
      if (find.size == 0 && !hasNext && !judge.TypeOf(find).hints) end = startOf(find) + kBlindSize;
      if (isInner) end = std::min(end, endOf(outers.at(start)));
    }
    if (!each.isEstimated) end += ShortfallOf(find.row);
    if (isInner) each.embeddedIn = outers.at(start);
    end = std::min(end, Wide{deviceSize});
    each.length = end > startOf(find) ? static_cast<std::uint64_t>(end - startOf(find)) : 0;
    told.push_back(each);
  }
  return told;
}

class JudgedFindsTest : public ::testing::Test {
 protected:
  static const TypeCatalogue& Catalogue() {
    static const TypeCatalogue kCatalogue = ReadTypeCatalogue(OpenRegistry());
    return kCatalogue;
  }

  /// Which row is listed of finds of these rows and sizes at one place.
  std::int32_t Best(const std::vector<std::pair<std::int32_t, std::uint64_t>>& finds) const {
    std::vector<Find> store;
    for (const auto& [row, size] : finds) store.push_back({10, size, row});
    const std::vector<Told> told = Judged(store, judge);
    EXPECT_EQ(told.size(), 1U);
    return told.at(0).find.row;
  }

  FindJudge judge{Catalogue(), std::uint64_t{1} << 40U, 512};
};

TEST_F(JudgedFindsTest, TheMostSpecificRowIsListed) {
  EXPECT_EQ(Best({{6, 5000}, {143, 5000}}), 6) << "docx, zip";
  EXPECT_EQ(Best({{143, 9000}, {147, 5000}}), 147) << "zip, jar";
  EXPECT_EQ(Best({{146, 5513}, {282, 5513}}), 146) << "two names of a cabinet";
  EXPECT_EQ(Best({{68, 5000}, {69, 5000}}), 68) << "camera's JPEG, JPEG";
  EXPECT_EQ(Best({{1, 9216}, {15, 9216}}), 1) << "xls, et";
  EXPECT_EQ(Best({{2, 9216}, {16, 9216}}), 2) << "ppt, dps";
  EXPECT_EQ(Best({{14, 5001}, {92, 5001}}), 92) << "pdf, ai";
  EXPECT_EQ(Best({{17, 992}, {130, 1000}}), 130) << "Maya, 8 bytes short and right";
  EXPECT_EQ(Best({{49, 1681}, {116, 1681}}), 116) << "text, xpm";
  EXPECT_EQ(Best({{49, 11665}, {98, 11664}}), 98) << "text, dxf";
  EXPECT_EQ(Best({{39, 39917}, {49, 39917}}), 39) << "xml, text";
  EXPECT_EQ(Best({{49, 7583}, {260, 7680}}), 260) << "text, html";
  EXPECT_EQ(Best({{260, 9000}, {269, 9000}}), 269) << "html, bookmarks";
  EXPECT_EQ(Best({{24, 22061}, {49, 22061}}), 24) << "rtf, text";
  EXPECT_EQ(Best({{49, 4333}, {121, 1534}}), 49) << "a map's size means nothing, the text's does";
  EXPECT_EQ(Best({{47, 2000}, {260, 2048}}), 260) << "web page in UTF-16";
  EXPECT_EQ(Best({{174, 3644}, {175, 3644}, {176, 3644}}), 175) << "asf, wma, wmv";
  EXPECT_EQ(Best({{174, 3825}, {176, 3825}}), 176);
  EXPECT_EQ(Best({{148, 1823}, {171, 0}}), 148) << "gz, Z";
  EXPECT_EQ(Best({{164, 0}, {297, 0}}), 297) << "ar, library";
  EXPECT_EQ(Best({{243, 0}, {244, 0}}), 244) << "FileMaker 5, 7";
  EXPECT_EQ(Best({{113, 0}, {266, 9216}}), 266);
  EXPECT_EQ(Best({{263, 588}, {285, 588}}), 263) << "icc, icm";
  EXPECT_EQ(Best({{89, 0}, {222, 0}}), 89) << "nothing tells them apart but the row";
  EXPECT_EQ(Best({{90, 2000}, {118, 3000}}), 90) << "cur, tga";
}

TEST_F(JudgedFindsTest, WhereRowsAreEquallySpecificTheOneWithASizeIsListed) {
  EXPECT_EQ(Best({{79, 5000}, {114, 0}}), 79);
  EXPECT_EQ(Best({{79, 0}, {114, 5000}}), 114);
  EXPECT_EQ(Best({{190, 5000}, {220, 0}}), 190);
  EXPECT_EQ(Best({{194, 5000}, {224, 0}}), 194);
}

TEST_F(JudgedFindsTest, ConfidenceFollowsFromHowTheSizeComesAbout) {
  const auto confidence = [this](std::int32_t row, std::uint64_t size) { return judge.ConfidenceOf({10, size, row}); };
  EXPECT_EQ(confidence(157, 0), Confidence::kStartOnly);
  EXPECT_EQ(confidence(144, 1132), Confidence::kFromHeader);
  EXPECT_EQ(confidence(69, 5000), Confidence::kCheckedEnd);
  EXPECT_EQ(confidence(73, 5000), Confidence::kCheckedEnd);
  EXPECT_EQ(confidence(73, 5120), Confidence::kStartOnly) << "in whole sectors: up to the next start";
  EXPECT_EQ(confidence(73, 10485760), Confidence::kStartOnly) << "clipped";
  EXPECT_EQ(confidence(69, 5120), Confidence::kCheckedEnd) << "a walk sees its end";
  EXPECT_EQ(confidence(148, 5000), Confidence::kStartOnly) << "padding";
  for (const std::int32_t row : {67, 119, 121, 189, 301, 313, 318}) {
    EXPECT_EQ(confidence(row, 3000000001), Confidence::kStartOnly) << row;
    EXPECT_TRUE(judge.IsSizeDoubtful({10, 3000000001, row})) << row;
  }
}

TEST_F(JudgedFindsTest, NotesTellWhatIsWrongWithASize) {
  using Notes = std::vector<std::string>;
  const auto notes = [this](const Find& find) { return Records({find}, judge).at(0).notes; };
  EXPECT_EQ(notes({10, 5000, 73}), Notes{});
  EXPECT_EQ(notes({10, 10485760, 73}), (Notes{kNoteClipped, kNoteEstimated}));
  EXPECT_EQ(notes({10, 5120, 73}), (Notes{kNoteNoEnd, kNoteEstimated}));
  EXPECT_EQ(notes({10, 5000, 318}), (Notes{kNoteFarOn, kNoteEstimated}));
  EXPECT_EQ(notes({10, 0, 157}), (Notes{kNoteEstimated}));
  EXPECT_EQ(notes({(std::uint64_t{1} << 31U) - 1, 5000, 144}), (Notes{kNoteTruncated}));
}

TEST_F(JudgedFindsTest, WhatLiesInsideNamesTheOutermost) {
  const Find zip{10, 100001, 143};
  const Find jpeg{20, 5000, 69};
  const Find thumbnail{21, 2000, 69};
  EXPECT_EQ(Judged({zip, jpeg, thumbnail}, judge),
            (std::vector<Told>{{zip, {}, 100001}, {jpeg, zip, 5000}, {thumbnail, zip, 2000}}));
}

TEST_F(JudgedFindsTest, OnlyWhatIsWorthAsMuchHidesOthers) {
  const Find pdf{20, 5001, 14};
  const auto isEmbedded = [&](const Find& outer) { return Judged({outer, pdf}, judge).at(1).embeddedIn.has_value(); };
  EXPECT_TRUE(isEmbedded({10, 100001, 143}));
  EXPECT_FALSE(isEmbedded({10, 100001, 49})) << "text";
  EXPECT_FALSE(isEmbedded({10, 100001, 318})) << "its sizes are not to be relied on";
  EXPECT_FALSE(isEmbedded({10, 102400, 73})) << "its end was not seen";
  EXPECT_FALSE(isEmbedded({10, 100001, 75})) << "a size from a header counts less than an end that was seen";
  EXPECT_TRUE(isEmbedded({10, 100001, 149})) << "but not if files lie in such a file as a rule";
  EXPECT_FALSE(isEmbedded({10, 10120, 143})) << "it ends within the other one";
  EXPECT_TRUE(isEmbedded({10, 10121, 143}));
  EXPECT_FALSE(isEmbedded({10, std::uint64_t{1} << 41U, 149})) << "it goes on beyond the device";
}

TEST_F(JudgedFindsTest, SizesThatAreTooLargeByARuleHideNoNeighbour) {
  // The frames end at sector 18; what is told is 4096 bytes more.
  const Find mp3{10, 8192, 180};
  EXPECT_FALSE(Judged({mp3, {18, 1000, 69}}, judge).at(1).embeddedIn);
  EXPECT_TRUE(Judged({mp3, {14, 1000, 69}}, judge).at(1).embeddedIn);
}

TEST_F(JudgedFindsTest, DoubtfulSizesEndAtTheNextFindThatIsNotEmbedded) {
  const Find font{10, 3000000000, 318};
  const Find zip{30, 10001, 143};
  const Find inner{40, 0, 152};
  const Find text{45, 600, 49};
  const Find open{60, 0, 157};
  EXPECT_EQ(Judged({font, zip, inner, text, open}, judge), (std::vector<Told>{{font, {}, 20 * 512, true},
                                                                              {zip, {}, 10001},
                                                                              {inner, zip, 5 * 512, true},
                                                                              {text, zip, 600},
                                                                              {open, {}, 0x64000000, true}}));
  EXPECT_EQ(Judged({zip, inner}, judge).at(1).length, 10001U - 10 * 512) << "it ends with the outer one";
}

TEST_F(JudgedFindsTest, WhatASizeLeavesOutIsTakenAsWell) {
  const FindRecord wave = Records({{10, 1000, 182}}, judge).at(0);
  EXPECT_EQ(wave.plan.length, 1008U);
  EXPECT_FALSE(wave.plan.isEstimated);
  EXPECT_EQ(wave.notes, (std::vector<std::string>{kNoteShortfall}));
  const std::uint64_t last = (std::uint64_t{1} << 31U) - 1;
  const FindRecord atTheEnd = Records({{last, 510, 148}}, judge).at(0);
  EXPECT_EQ(atTheEnd.plan.length, 512U);
  EXPECT_FALSE(atTheEnd.plan.isTruncated);
  EXPECT_EQ(Records({{10, 1000, 182}}, judge, JudgedFinds::Listing::kAll).at(0).plan.length, 1000U);
}

TEST_F(JudgedFindsTest, AFileInsideOfAPictureTellsThatThePictureHadEnded) {
  const Find picture{10, 100001, 73};
  const Find zip{30, 5001, 143};
  const Find text{20, 600, 49};
  EXPECT_EQ(Judged({picture, text, zip}, judge),
            (std::vector<Told>{{picture, {}, 20 * 512, true}, {text, {}, 600}, {zip, {}, 5001}}));
  const FindRecord record = Records({picture, zip}, judge).at(0);
  EXPECT_EQ(record.confidence, Confidence::kStartOnly);
  EXPECT_EQ(record.notes, (std::vector<std::string>{kNoteNoEnd, kNoteEstimated}));
  const auto isEmbedded = [&](const Find& outer, const Find& inner) {
    return Judged({outer, inner}, judge).at(1).embeddedIn.has_value();
  };
  EXPECT_TRUE(isEmbedded(picture, text)) << "text may be anywhere";
  EXPECT_TRUE(isEmbedded(picture, {30, 600, 118})) << "so may a few bytes";
  EXPECT_TRUE(isEmbedded(picture, {30, 0, 157})) << "and a start without an end";
  EXPECT_TRUE(isEmbedded(picture, {30, 600, 75})) << "a size from a header isn't sure enough";
  EXPECT_FALSE(isEmbedded(picture, {30, 600000, 69})) << "wherever it ends";
  EXPECT_EQ(Judged({picture, {206, 5001, 143}}, judge).at(0).length, 100001U) << "it starts behind the picture";
  EXPECT_EQ(Judged({picture, {205, 5001, 143}}, judge).at(0).length, 195U * 512);
  EXPECT_TRUE(isEmbedded({10, 100001, 69}, {30, 5001, 69})) << "the ends of other kinds aren't missed";
}

TEST_F(JudgedFindsTest, TextEndsNoSignature) {
  const Find font{10, 3000000000, 318};
  EXPECT_EQ(Judged({font, {20, 600, 49}, {30, 600, 118}, {40, 600, 39}}, judge).at(0).length, 30U * 512);
  const Find loose{10, 3000000000, 118};
  EXPECT_EQ(Judged({loose, {20, 600, 49}, {40, 600, 39}}, judge).at(0).length, 10U * 512);
}

TEST_F(JudgedFindsTest, AllFindsAreListedAsTheyAre) {
  const std::vector<Find> finds = {{10, 100001, 143}, {20, 5000, 69}, {20, 3000000000, 318}};
  const std::vector<FindRecord> records = Records(finds, judge, JudgedFinds::Listing::kAll);
  ASSERT_EQ(records.size(), 3U);
  for (std::size_t i = 0; i < finds.size(); ++i) {
    EXPECT_EQ(records[i].find, finds[i]);
    EXPECT_FALSE(records[i].embeddedIn);
    EXPECT_EQ(records[i].plan.length, finds[i].size);
  }
}

TEST_F(JudgedFindsTest, TextWithKeywordsEndsWhereItsTextDoes) {
  const auto sizeWith = [this](const Find& find, std::uint64_t text, std::int32_t row = 49) {
    const std::vector<Told> told = Judged({find, {10, text, row}}, judge);
    EXPECT_EQ(told.at(0).find.row, find.row);
    EXPECT_EQ(told.at(0).length, told.at(0).find.size);
    return told.at(0).find.size;
  };
  const Find page{10, 7680, 260};
  EXPECT_EQ(sizeWith(page, 7583), 7583U);
  EXPECT_EQ(sizeWith(page, 7169), 7169U);
  EXPECT_EQ(sizeWith(page, 7168), 7680U) << "the text ends in the sector before";
  EXPECT_EQ(sizeWith(page, 7681), 7680U) << "the text ends in the sector behind";
  EXPECT_EQ(sizeWith(page, 0), 7680U) << "the text's end wasn't seen";
  EXPECT_EQ(sizeWith(page, 7582, 47), 7582U) << "UTF-16";
  const Find xml{10, 3498, 39};
  EXPECT_EQ(sizeWith(xml, 3497), 3497U);
  EXPECT_EQ(sizeWith(xml, 3496), 3496U);
  EXPECT_EQ(sizeWith(xml, 3495), 3498U) << "the mark was seen behind the text's end";
  EXPECT_EQ(sizeWith(xml, 3500), 3500U);
  EXPECT_EQ(sizeWith({10, 65530, 39}, 65536), 65530U) << "a text of the greatest size goes on";
  EXPECT_EQ(sizeWith({10, 22061, 24}, 22062), 22061U) << "its end isn't a mark's";
  const FindRecord record = Records({page, {10, 7583, 49}, {12, 300, 49}}, judge).at(0);
  EXPECT_EQ(record.confidence, Confidence::kCheckedEnd);
  EXPECT_FALSE(record.plan.isEstimated);
  EXPECT_EQ(record.notes, std::vector<std::string>{});
  EXPECT_TRUE(Records({page, {10, 7583, 49}, {12, 300, 49}}, judge).at(1).embeddedIn);
}

/// Finds close together, at places and of sizes that go beyond every device as well.
std::vector<Find> SomeFinds(unsigned seed, std::size_t count) {
  std::mt19937_64 random(seed);
  // Of every standing, rank and source of sizes.
  constexpr std::array<std::int32_t, 24> kRows = {0,   6,   14,  15,  47,  49,  69,  70,  73,  75,  118, 143,
                                                  144, 148, 149, 152, 157, 180, 194, 207, 260, 282, 295, 318};
  std::vector<Find> finds;
  for (std::size_t i = 0; i < count; ++i) {
    Find find{random() % 200, random() % 8 == 0 ? 0 : 1 + random() % 30000, kRows.at(random() % kRows.size())};
    if (random() % 5 == 0) find.size = (1 + random() % 40) * 512;
    if (random() % 20 == 0) find.startSector = kMost - random() % 3;
    if (random() % 20 == 0) find.size = kMost - random() % 100000;
    if (random() % 40 == 0) find.size = 10485760;
    finds.push_back(find);
  }
  return finds;
}

TEST_F(JudgedFindsTest, ComparingEachWithEachGivesTheSame) {
  for (unsigned seed = 0; seed < 120; ++seed) {
    for (const std::uint64_t deviceSize : {std::uint64_t{60001}, std::uint64_t{1} << 30U, kMost}) {
      const FindJudge random(Catalogue(), deviceSize, 512);
      const std::vector<Find> finds = SomeFinds(seed, 1 + seed % 60);
      ASSERT_EQ(Judged(finds, random), JudgedOneByOne(finds, random, deviceSize, 512)) << seed;
    }
  }
}

TEST_F(JudgedFindsTest, JudgedListsTogetherGiveTheJudgedListOfAll) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    const std::vector<Find> finds = SomeFinds(seed, 60);
    std::vector<std::vector<Find>> shards(1 + seed % 4);
    for (std::size_t i = 0; i < finds.size(); ++i) shards[i * 7 % shards.size()].push_back(finds[i]);
    std::vector<Find> listed;
    for (const std::vector<Find>& shard : shards) {
      for (const Told& told : Judged(shard, judge)) listed.push_back(told.find);
    }
    ASSERT_EQ(Judged(listed, judge), Judged(finds, judge)) << seed;
  }
}

}  // namespace
}  // namespace qzmtraw::host
