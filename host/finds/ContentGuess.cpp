#include "host/finds/ContentGuess.h"

#include "host/base/Error.h"

#ifdef QZMTRAW_WITH_MAGIC
#include <magic.h>

#include <array>
#include <utility>
#endif

namespace qzmtraw::host {

#ifdef QZMTRAW_WITH_MAGIC

namespace {

/// What of libmagic's guesses about text and packed files isn't needed, or takes long.
constexpr int kMagicFlags = MAGIC_MIME_TYPE | MAGIC_NO_CHECK_COMPRESS | MAGIC_NO_CHECK_ELF | MAGIC_NO_CHECK_TOKENS |
                            MAGIC_NO_CHECK_CSV | MAGIC_NO_CHECK_JSON;

/// Below libmagic's own limits, which are made for files that someone has chosen.
constexpr std::array<std::pair<int, std::size_t>, 5> kMagicLimits = {{{MAGIC_PARAM_INDIR_MAX, 10},
                                                                      {MAGIC_PARAM_NAME_MAX, 40},
                                                                      {MAGIC_PARAM_REGEX_MAX, 4096},
                                                                      {MAGIC_PARAM_BYTES_MAX, kGuessBytes},
                                                                      {MAGIC_PARAM_ENCODING_MAX, 16384}}};

}  // namespace

struct ContentGuess::Library {
  Library() : magic(::magic_open(kMagicFlags)) {
    if (magic == nullptr) throw Failure("--verify: libmagic cannot be started");
    for (const auto& [parameter, value] : kMagicLimits) ::magic_setparam(magic, parameter, &value);
    if (::magic_load(magic, nullptr) == 0) return;
    const char* reason = ::magic_error(magic);
    const std::string text = reason == nullptr ? "" : std::string(": ") + reason;
    ::magic_close(magic);
    throw Failure("--verify: libmagic's database cannot be loaded" + text + ": install the package libmagic-mgc");
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { ::magic_close(magic); }

  magic_t magic;
};

ContentGuess::ContentGuess() : library_(std::make_unique<Library>()) {}

std::string ContentGuess::MimeTypeOf(std::span<const std::uint8_t> bytes) {
  const char* type = ::magic_buffer(library_->magic, bytes.data(), bytes.size());
  return type == nullptr ? "" : type;
}

#else

struct ContentGuess::Library {};

ContentGuess::ContentGuess() = default;

std::string ContentGuess::MimeTypeOf(std::span<const std::uint8_t>) { return {}; }

#endif

ContentGuess::~ContentGuess() = default;

}  // namespace qzmtraw::host
