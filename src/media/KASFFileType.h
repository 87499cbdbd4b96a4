#ifndef QZMTRAW_MEDIA_K_ASF_FILE_TYPE_H
#define QZMTRAW_MEDIA_K_ASF_FILE_TYPE_H

#include <cstdint>

#include "frame/KFileSimulator.h"
#include "frame/OpenFile.h"
#include "frame/SharedClassifier.h"

namespace qzmtraw {

/// What an ASF file holds, by its last stream.
enum AsfCode : std::uint32_t { kAsfWithoutStreams = 0, kAsfAudio = 1, kAsfVideo = 2, kAsfOther = 3 };

/// The classifier of ASF files (Advanced Systems Format Specification 01.20): reads the objects of the Header Object,
/// of which one tells the file's size and one for each stream tells its type.
class KASFFileType final : public OpenFile<KASFFileType, SharedClassifier<KASFFileType>> {
 public:
  static constexpr auto kHead = At(0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C");
  static constexpr std::int32_t kFloor = 16;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x7FFFFFFF;
  static constexpr std::uint64_t kFirstKey = 0;

  KASFFileType() { SetTexts("ASF(wma,wmv)", "asf"); }

  std::int32_t Reset() override;
  bool ScanBlock(const Block& block, IRawHitSink* sink);
  /// SharedClassifier's Lookup as an operation of its own, behind the destructor in the table of virtual functions.
  virtual void Lookup(const RawSectorBlock* block, IRawHitSink* sink, std::uint32_t code);

  /// Keeps a hit with the code that the file was sorted into, instead of reporting it.
  void Report(IRawHitSink* sink, std::uint64_t startSector, std::uint64_t size);

 private:
  /// Reads the Header Object. \return The file's size, 0 if it wasn't told; from 2 GiB on it is negative.
  std::int32_t ReadHeader(KFileSimulator& file);

  /// What the file holds that was read last. A file that is too small leaves it to the next one in its block.
  std::uint32_t code_ = kAsfWithoutStreams;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_MEDIA_K_ASF_FILE_TYPE_H
