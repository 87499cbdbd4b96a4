#ifndef QZMTRAW_FUZZ_EXCEPTIONS_H
#define QZMTRAW_FUZZ_EXCEPTIONS_H

/// \file
/// Where what holds for most kinds doesn't hold by design, kind by kind, each with its reason.

#include <cstdint>

namespace qzmtraw::fuzz {

/// A kind whose hits depend on how a device is cut into blocks.
struct DependsOnCut {
  std::int32_t row;
  const char* reason;
};

inline constexpr DependsOnCut kDependOnCut[] = {
    {48, "A text with a mark is sorted by all of its bytes that the block holds."},
    {52, "As row 48."},
    {55, "As row 48."},
    {58, "As row 48."},
    {70, "The walk begins at a sector whose number is worked out from the head's place in the block."},
    {91, "The size counts the two bytes in front of the head, if the block has them."},
    {108, "The page description is looked for where the head says, if the block has it."},
    {174, "A file that is too small leaves its kind to the next one in the block."},
    {175, "As row 174."},
    {176, "As row 174."},
    {264,
     "What follows the last tag is searched up to 46 bytes behind it, also in the next sector, if the block has it."},
    {287, "Where sectors don't divide 4096, the block and the file have the first bin at different places."},
    {316, "The sizes stand behind a text that may end with its sector."},
    {317, "The fields that the head leads to count as far as the block holds them."},
};

/// In smaller sectors heads, and fields behind them, reach beyond their sector, and what lies behind the block isn't
/// there.
inline constexpr int kLeastSectorForCuts = 512;
/// Larger sectors don't fit the 32768 bytes of the file simulator's cache, so nothing is read beyond the block.
inline constexpr int kGreatestSectorForCuts = 32768;

/// What a kind may take for a device of so many sectors. The kinds of a group take it together.
struct WorkLimit {
  /// A row of the group, or the only one.
  std::int32_t row;
  /// Calls of the reader for each sector, and beyond that once.
  std::uint64_t callsPerSector;
  std::uint64_t callsOnce;
  /// Edges of control flow for each sector, beyond those for each byte, and beyond that once.
  std::uint64_t stepsPerSector;
  std::uint64_t stepsOnce;
  const char* reason;
};

/// Edges of control flow for each byte of the device, of all kinds: what lies in the block may be searched several
/// times.
inline constexpr std::uint64_t kStepsPerByte = 24;

/// Of kinds that aren't listed below: these look at the block alone.
inline constexpr WorkLimit kUsualWork = {-1, 0, 0, 4096, 4096, "Looks at the block alone."};

/// Of kinds with an allowance (WalkAllowance): it grants 2^26 once and 256 for each sector. One filling of the cache
/// costs 256, a record may take a few of them, and one takes some twenty edges.
constexpr WorkLimit AllowanceOf(std::int32_t row, std::uint64_t stepsForPrice = 20) {
  return {row, 16, std::uint64_t{4} << 18U, 4096 + 256 * stepsForPrice, stepsForPrice << 26U, "Has an allowance."};
}

inline constexpr WorkLimit kWork[] = {
    // Of a document with sectors of 32 MiB every number is looked at for the price of one reading.
    AllowanceOf(0, 200),
    {36, 2, 0, 4096, 4096, "One field is read."},
    {39, 8, 0, 1U << 17U, 0, "The first 4096 characters of a document are read, and searched several times."},
    AllowanceOf(63),
    {66, 40, 0, 1U << 13U, 0, "Up to 16 blocks are followed."},
    AllowanceOf(68),
    AllowanceOf(69),
    {70, 4400, 0, 1U << 25U, 0, "Chains of up to 524280 lengths are followed, twice."},
    {76, 8, 0, 1U << 20U, 0, "64 KiB behind each of the maker's words are searched for a directory."},
    {77, 16, 0, 1U << 17U, 0, "A directory of up to 128 entries is read, and 4096 bytes are searched for six names."},
    {81, 8, 0, 1U << 17U, 0, "As row 77."},
    {92, 2, 0, 4096, 4096, "The two sectors behind a head are searched."},
    {101, 450, 0, 1U << 15U, 0, "Up to 200 chunks are followed."},
    AllowanceOf(104),
    AllowanceOf(150),
    {174, 256, 0, 1U << 15U, 0, "Up to 32 objects are read."},
    AllowanceOf(177),
    {178, 16, 0, 4096, 4096, "Up to four atoms are read."},
    {179, 16, 0, 4096, 4096, "As row 178."},
    {180, 60010, 0, 1U << 22U, 0, "Up to 30000 frames are followed."},
    {181, 16, 0, 4096, 4096, "As row 178."},
    AllowanceOf(183),
    AllowanceOf(185),
    AllowanceOf(187),
    {190, 4, 1U << 15U, 1U << 12U, 1U << 28U,
     "Up to 2730665 packets are followed; no sector up to their end is a head."},
    AllowanceOf(192),
    AllowanceOf(195),
    AllowanceOf(205),
    AllowanceOf(214),
    AllowanceOf(232),
    AllowanceOf(241),
    AllowanceOf(257),
    {260, 8, 0, 1U << 17U, 0, "As row 39."},
    {287, 8, 0, 1U << 13U, 0, "A few fields are read."},
    AllowanceOf(290),
    {295, 8, 0, 1U << 21U, 0, "The headers are read, and up to 65535 entries are added up."},
    {317, 8, 0, 1U << 14U, 0, "A short text is searched for its end, and up to 255 sizes are added up."},
};

}  // namespace qzmtraw::fuzz

#endif  // QZMTRAW_FUZZ_EXCEPTIONS_H
