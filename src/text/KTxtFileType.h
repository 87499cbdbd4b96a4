#ifndef QZMTRAW_TEXT_K_TXT_FILE_TYPE_H
#define QZMTRAW_TEXT_K_TXT_FILE_TYPE_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "frame/SharedClassifier.h"
#include "text/TextKinds.h"

namespace qzmtraw {

/// The classifier of plain text, in whatever encoding has ASCII in it. A text begins at a sector whose first bytes look
/// like text, gets its kind from the words of its first sector, and ends at the first byte that no text has. A text
/// that begins with a long comment stays undecided, and is sorted again by its next sectors. Texts with a byte order
/// mark are not for this classifier.
///
/// Almost every other sector of noise looks like the start of a text, and ends as one within a few bytes. All that such
/// a short text leaves behind is its kind, and that shows only when a cpio header follows. So its kind isn't worked out
/// before that: the sector is kept instead.
class KTxtFileType final : public SharedClassifier<KTxtFileType> {
 public:
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x10000;
  static constexpr std::int64_t kMinimum = 256;
  /// From this kind on texts are reported whole, the others are cut to the largest size.
  static constexpr std::uint32_t kFirstUncutKind = kClearTextMetafile;

  KTxtFileType() { SetTexts("text file", "txt"); }

  std::int32_t Reset() override;
  void SetMaxFileSize(std::uint64_t limit) override { maxFileSize = limit; }
  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override;

 private:
  /// Reads a sector that belongs to the open text or, when none is open, may start one.
  void ScanSector(const Sector& sector);
  /// Passes over sectors without a start, and with starts of texts that end within a few bytes.
  /// \return The index of the next sector to read, from `index` on, or the number of sectors.
  std::int32_t PassShortTexts(const Block& block, std::int32_t index);
  /// Takes note of a text that is too short to be reported.
  void PassOver(ByteView sector);
  void CloseText();

  /// Sorts a sector into `textKind`.
  void ClassifySector(ByteView sector);
  bool IsUndecided() const { return putOff_.empty() && textKind == kUndecided; }
  /// Works out the kind that was put off.
  void SettleKind();

  /// Makes `sectorBuffer` large enough for a sector. \return Whether there is memory for it.
  bool MakeRoom(std::size_t sectorSize);
  /// Copies the sector whose kind was put off out of the block.
  void KeepPutOff();

  std::uint32_t fileOpen = 0;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  std::uint64_t maxFileSize = kDefaultMaxFileSize;
  /// Keeps the sector whose kind was put off between two blocks.
  std::unique_ptr<std::uint8_t[]> sectorBuffer;
  std::size_t bufferSize_ = 0;
  /// While a kind is put off, the kind before it, as far as it matters.
  std::uint32_t textKind = kNoText;
  /// The sector of the last short text, if its kind was put off. It lies in the block or in `sectorBuffer`, and leaves
  /// any kind but the undecided one.
  ByteView putOff_;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_K_TXT_FILE_TYPE_H
