#include "host/recovery/ContentHash.h"

#include <openssl/evp.h>

#include "host/base/Error.h"

namespace qzmtraw::host {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

/// Looked up once, and not for every file. Null: there is none.
const EVP_MD* Sha256() {
  static const EVP_MD* const kSha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  return kSha256;
}

EVP_MD_CTX* ContextIn(const auto& context) { return static_cast<EVP_MD_CTX*>(context.get()); }

}  // namespace

std::string HexText(const ContentSum& sum) {
  std::string text;
  for (const std::uint8_t byte : sum) {
    text += kHexDigits[byte >> 4U];
    text += kHexDigits[byte & 15U];
  }
  return text;
}

std::optional<ContentSum> SumFromHex(std::string_view text) {
  ContentSum sum{};
  if (text.size() != 2 * sum.size()) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t digit = kHexDigits.find(text[i]);
    if (digit == std::string_view::npos) return std::nullopt;
    sum.at(i / 2) = static_cast<std::uint8_t>(std::size_t{sum.at(i / 2)} << 4U | digit);
  }
  return sum;
}

ContentHash::ContentHash() : context_(EVP_MD_CTX_new()) {
  if (context_ == nullptr || Sha256() == nullptr || EVP_DigestInit_ex(ContextIn(context_), Sha256(), nullptr) != 1) {
    throw Failure("cannot take SHA-256: check the installation of OpenSSL");
  }
}

void ContentHash::Add(std::span<const std::uint8_t> bytes) {
  EVP_DigestUpdate(ContextIn(context_), bytes.data(), bytes.size());
}

ContentSum ContentHash::Finish() {
  ContentSum sum{};
  EVP_DigestFinal_ex(ContextIn(context_), sum.data(), nullptr);
  return sum;
}

void ContentHash::Release::operator()(void* context) const { EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(context)); }

}  // namespace qzmtraw::host
