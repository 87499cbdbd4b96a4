#ifndef QZMTRAW_HOST_FINDS_VERIFIER_H
#define QZMTRAW_HOST_FINDS_VERIFIER_H

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/finds/ContentGuess.h"
#include "host/outputs/Report.h"
#include "host/sources/Device.h"

namespace qzmtraw::host {

/// What a MIME type says of a file that should have an extension: kUndecided where it says little or nothing is known
/// about the extension.
Verdict VerdictOnMimeType(std::string_view extension, std::string_view mimeType);

/// What the last bytes of a file say.
enum class EndMark { kNotKnown, kMissing, kPresent };

/// Looks for the mark that files with an extension end with. Kinds without one that is simple aren't known.
/// \param tail  The file's last bytes, as many as kTailBytes if it has them.
EndMark EndMarkIn(std::string_view extension, std::span<const std::uint8_t> tail);
inline constexpr std::size_t kTailBytes = 1024;

/// Looks into finds whether they are what they claim to be.
class Verifier {
 public:
  /// \param device  Must live as long as this.
  explicit Verifier(Device& device) : device_(device) {}

  /// Reads the file's head and, if its end is known, its end, and fills in the verdict and the content. The confidence
  /// becomes kDoubtful where the content speaks against the find, kCheckedEnd where its end mark is there, and at most
  /// kStartOnly where the mark is missing. What can't be read changes nothing.
  /// \param stop  As Device::Read asks it.
  void Look(FindRecord& record, const Device::StopCheck& stop);

 private:
  std::span<const std::uint8_t> Read(std::uint64_t offset, std::uint64_t length, const Device::StopCheck& stop);

  Device& device_;
  ContentGuess guess_;
  std::vector<std::uint8_t> buffer_;
};

/// What FindRecord::notes says of a file whose end mark is missing.
inline constexpr const char* kNoteNoEndMark = "does not end as its type does";

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_FINDS_VERIFIER_H
