#ifndef QZMTRAW_HOST_BASE_TEXT_H
#define QZMTRAW_HOST_BASE_TEXT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qzmtraw::host {

/// The same text in UTF-8.
std::string Latin1ToUtf8(std::string_view latin1);

/// Whether `text` is well-formed UTF-8: no stray or missing continuation bytes, no overlong forms, no surrogates.
bool IsUtf8(std::string_view text);

/// Makes any bytes, such as a path, fit for a line on a terminal. What is not UTF-8, control characters and marks that
/// change the writing direction come out byte by byte as \xHH, as do U+FEFF, U+FFFE and U+FFFF, and a backslash as two.
/// Everything else stays, and may stand in an XML document.
std::string Printable(std::string_view bytes);

/// `Printable` in single quotes, for messages.
std::string Quoted(std::string_view bytes);

/// The number of characters of well-formed UTF-8, taken as the number of columns it needs.
std::size_t CharacterCount(std::string_view utf8);

/// Appends blanks until `text` is `width` characters long. A longer text stays as it is.
std::string PadRight(std::string text, std::size_t width);

/// Puts blanks in front until `text` is `width` characters long. A longer text stays as it is.
std::string PadLeft(std::string text, std::size_t width);

/// A number of things for people: "1 file", "2 files".
std::string CountText(std::uint64_t count, const char* one, const char* many);

/// A size for people, in binary units with one decimal: "0 B", "1023 B", "1.0 KiB", "16.0 EiB".
std::string FormatSize(std::uint64_t bytes);

/// A span of time for people: "0.4 s", "59.9 s", "1:00", "1:02:03". Negative counts as 0.
std::string FormatDuration(double seconds);

/// A time in ISO 8601, in UTC with whole seconds: "2024-02-29T12:00:00Z".
std::string FormatUtc(std::chrono::system_clock::time_point time);

/// The operating system's words for an error number.
std::string ErrorText(int errorNumber);

/// Ascending numbers as "0-4,7".
std::string NumberRanges(std::span<const std::int32_t> numbers);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_BASE_TEXT_H
