#ifndef QZMTRAW_HOST_RECOVERY_CONTENT_HASH_H
#define QZMTRAW_HOST_RECOVERY_CONTENT_HASH_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qzmtraw::host {

/// A SHA-256.
using ContentSum = std::array<std::uint8_t, 32>;

/// In small hexadecimal digits.
std::string HexText(const ContentSum& sum);

/// What HexText made a text of; none: it is no such text.
std::optional<ContentSum> SumFromHex(std::string_view text);

/// Takes the SHA-256 of bytes that come piece by piece.
class ContentHash {
 public:
  /// Throws Failure when the system's cryptographic library has no SHA-256.
  ContentHash();

  void Add(std::span<const std::uint8_t> bytes);

  /// Comes once, behind the last Add.
  ContentSum Finish();

 private:
  struct Release {
    void operator()(void* context) const;
  };
  std::unique_ptr<void, Release> context_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_CONTENT_HASH_H
