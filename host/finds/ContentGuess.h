#ifndef QZMTRAW_HOST_FINDS_CONTENT_GUESS_H
#define QZMTRAW_HOST_FINDS_CONTENT_GUESS_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace qzmtraw::host {

/// So many bytes of a file are enough to tell what it is.
inline constexpr std::size_t kGuessBytes = std::size_t{256} << 10U;

/// Asks libmagic what bytes are. The bytes may be hostile, so what libmagic does with them is limited as far as it lets
/// itself be limited: it unpacks nothing, starts no program, and follows few references.
class ContentGuess {
 public:
  /// Throws Failure where libmagic's database can't be loaded. Where the tool was built without libmagic there is none.
  ContentGuess();
  ContentGuess(const ContentGuess&) = delete;
  ContentGuess& operator=(const ContentGuess&) = delete;
  ~ContentGuess();

  /// The MIME type, such as "image/png", or empty if it can't be told.
  std::string MimeTypeOf(std::span<const std::uint8_t> bytes);

 private:
  struct Library;
  std::unique_ptr<Library> library_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_CONTENT_GUESS_H
