#ifndef QZMTRAW_TEXT_KEYWORD_RULES_H
#define QZMTRAW_TEXT_KEYWORD_RULES_H

/// \file
/// How the kinds of text are told apart: by lists of rules, tried in order. A rule gives its code when all its tests
/// hold, and a test asks where a literal stands first in one of the strings that were made of a text:
///
///     {kRegistry, Head::StartsWith("REGEDIT4") && Head::HasBelow(13, "[HKEY_")},
///
/// Letters are compared as they are, byte by byte, and a word's boundaries don't count.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "frame/Bytes.h"
#include "frame/Search.h"

namespace qzmtraw {

/// The strings that are made of a text. One that a classifier doesn't make stays empty.
enum class TextPart : std::uint8_t { kWhole, kHead, kTail };
inline constexpr std::size_t kTextPartCount = 3;
using TextParts = std::array<ByteView, kTextPartCount>;

struct KeywordList;

/// Where a literal stands first in a part, or what another list says.
struct KeywordTest {
  static constexpr std::size_t kAnywhere = std::numeric_limits<std::size_t>::max();

  TextPart part = TextPart::kWhole;
  std::string_view literal;
  /// The offsets at which the first occurrence holds: from `from` on, below `end`.
  std::size_t from = 0;
  std::size_t end = kAnywhere;
  /// If set, this list is asked instead of looking for a literal. It holds when it answers kYes.
  const KeywordList* list = nullptr;
  /// False turns the test's answer round.
  bool wanted = true;
};

consteval KeywordTest operator!(KeywordTest test) {
  test.wanted = !test.wanted;
  return test;
}

/// Tests that must all hold.
struct KeywordTests {
  std::array<KeywordTest, 4> tests;
  std::size_t count = 0;

  consteval KeywordTests() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): one test is a list of one.
  consteval KeywordTests(const KeywordTest& test) : tests{test}, count(1) {}
};

consteval KeywordTests operator&&(KeywordTests tests, const KeywordTest& another) {
  tests.tests.at(tests.count++) = another;
  return tests;
}

struct KeywordRule {
  std::uint32_t code;
  /// No test at all always holds.
  KeywordTests tests;
};

struct KeywordList {
  std::span<const KeywordRule> rules;
};

/// The answers of a list that is asked by another one.
inline constexpr std::uint32_t kNo = 0;
inline constexpr std::uint32_t kYes = 1;

/// The tests of one part of a text.
template <TextPart kPart>
struct In {
  static consteval KeywordTest Contains(std::string_view literal) { return {kPart, literal}; }
  static consteval KeywordTest StartsWith(std::string_view literal) { return HasAt(0, literal); }
  static consteval KeywordTest HasBelow(std::size_t end, std::string_view literal) { return {kPart, literal, 0, end}; }
  static consteval KeywordTest HasAt(std::size_t offset, std::string_view literal) {
    return {kPart, literal, offset, offset + 1};
  }
};

consteval KeywordTest Holds(const KeywordList& list) {
  KeywordTest test;
  test.list = &list;
  return test;
}

/// Finds the first occurrence of a test's literal, as far as the test can see it.
inline std::optional<std::size_t> FindKeyword(const KeywordTest& test, const TextParts& parts) {
  const ByteView part = parts[static_cast<std::size_t>(test.part)];
  const std::size_t lastEnd = test.end > part.size() ? part.size() : test.end - 1 + test.literal.size();
  return Find(part.first(std::min(lastEnd, part.size())), AsBytes(test.literal));
}

/// The code of the first rule of the list that holds, or none.
/// \param find  Gives the first occurrence of a test's literal in the part that it names, or none. One behind the
///              test's last offset is left out.
template <class FindLiteral>
std::optional<std::uint32_t> FirstCode(const KeywordList& list, const FindLiteral& find) {
  const auto holds = [&find](const KeywordTest& test) {
    if (test.list != nullptr) return (FirstCode(*test.list, find) == kYes) == test.wanted;
    const std::optional<std::size_t> found = find(test);
    return (found && *found >= test.from) == test.wanted;
  };
  for (const KeywordRule& rule : list.rules) {
    const auto begin = rule.tests.tests.begin();
    if (std::all_of(begin, begin + static_cast<std::ptrdiff_t>(rule.tests.count), holds)) return rule.code;
  }
  return std::nullopt;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_KEYWORD_RULES_H
