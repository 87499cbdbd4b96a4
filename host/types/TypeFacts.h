#ifndef QZMTRAW_HOST_TYPES_TYPE_FACTS_H
#define QZMTRAW_HOST_TYPES_TYPE_FACTS_H

#include <cstdint>
#include <span>
#include <string_view>

namespace qzmtraw::host {

/// How the size that a detector tells comes about.
enum class SizeSource {
  /// It tells none.
  kNone,
  /// From the file's head.
  kHeader,
  /// From part to part up to an end that was seen.
  kWalk,
  /// Up to a mark; without one up to the next start, in whole sectors, or up to the greatest size.
  kTail,
  /// As kTail, but whole sectors come about with the mark as well.
  kSectors,
  /// Up to zeros, which may as well be the file's own.
  kPadding,
};

/// What it says that a file seems to start somewhere, from the least on.
enum class Standing {
  /// Its few bytes are found in other files as well.
  kLoose,
  /// Any text.
  kText,
  /// Text that says what it is.
  kKeyword,
  kSignature,
};
inline constexpr std::size_t kStandingCount = 4;

/// Among rows of one standing that report the same files, from the widest on.
enum class Rank { kGeneral, kUsual, kSpecial };

/// How far told sizes go.
enum class Reach {
  kAsTold,
  /// At times into later files, up to another mark, because the end mark stood in two sectors. Nothing that lies in
  /// such a file is a file, so one that starts inside tells of it.
  kOverruns,
  /// They may be anything, and often go far beyond the file.
  kFarOn,
};

/// What the tool knows about a row beyond what the library's interface tells.
struct TypeFacts {
  /// By which the documentation knows the detector.
  std::string_view className{};
  SizeSource size = SizeSource::kNone;
  Standing standing = Standing::kSignature;
  Rank rank = Rank::kUsual;
  /// Files of other kinds lie in it as a rule.
  bool holdsFiles = false;
  Reach reach = Reach::kAsTold;
  /// So many bytes a told size may be too large.
  std::uint64_t excess = 0;
};

/// The essentials of a row's rule.
struct TypeRule {
  std::string_view className{};
  /// The greatest size that is reported, in bytes; 0: there is none.
  std::uint64_t greatestSize = 0;
  /// Whether IRawFileType::SetMaxFileSize changes it.
  bool isGreatestSizeSettable = false;
  /// How the start of a file is told, and how its size is worked out.
  std::string_view start{};
  std::string_view size{};
};

/// By row.
/// @{
std::span<const TypeFacts> AllTypeFacts();
std::span<const TypeRule> AllTypeRules();
/// @}

/// As lists show it: "none", "header", "walk" ….
std::string_view SizeSourceName(SizeSource source);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_TYPE_FACTS_H
