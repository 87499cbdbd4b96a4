#ifndef QZMTRAW_CONTAINERS_KZIPFILESEARCHER_H
#define QZMTRAW_CONTAINERS_KZIPFILESEARCHER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "containers/ZipNames.h"
#include "frame/SharedClassifier.h"

namespace qzmtraw {

/// ZIP files (APPNOTE.TXT of PKWARE), and the many kinds of document that are ZIP files. A file goes from a local file
/// header at a sector's start to the first end of central directory record; no directory is read. On the way, the
/// bytes are watched for names that tell the kind (ZipNames.h), until one has been met. Whatever is known is carried
/// from sector to sector and from block to block.
///
/// While the kind isn't known, a name that settles it ends the search of its sector, so that an end record behind it in
/// the same sector is not seen: an archive that lies with its name in a single sector stays open.
class KZipFileSearcher final : public SharedClassifier<KZipFileSearcher> {
 public:
  static constexpr bool kFaceResetsClassifier = true;
  static constexpr auto kHead = At(0, "PK\3\4");
  static constexpr std::int32_t kFloor = 51;
  /// The end record's signature and the numbers of this disk and of the directory's first: archives in several parts
  /// have no end here.
  static constexpr auto kEnd = Bytes("PK\5\6\0\0\0\0");
  /// Bytes of an end record without the comment, which is never counted.
  static constexpr std::uint64_t kEndRecordSize = 22;
  static constexpr std::int64_t kMinimum = 256;
  static constexpr std::uint64_t kDefaultMaxFileSize = 0x1400000;

  std::int32_t Reset() override;
  std::int32_t ResetFull() override;
  void SetMaxFileSize(std::uint64_t limit) override { maxFileSize = limit; }
  bool ScanBlock(const Block& block, IRawHitSink* sink);

 private:
  void StartAt(const Sector& sector);
  bool IsTooLarge() const;
  void KeepOversizedFileAtHead();
  void SearchSector(const Sector& sector);
  void CloseAt(std::uint64_t endInSector);

  std::optional<std::uint64_t> FindEnd(const Sector& sector);
  bool FinishEnd(const Sector& sector);
  static std::optional<std::size_t> FindEndInside(ByteView bytes);
  std::optional<std::size_t> FindEndOrNameInside(ByteView bytes, bool& stoppedAtName);
  void FindBeginningOfEnd(ByteView bytes, bool watchesForNames);

  void FinishPendingName(ByteView bytes);
  bool StopsAtNameIn(ByteView bytes, std::size_t position);
  bool TryGroup(std::uint8_t letter, ByteView bytes, std::size_t position);
  bool TryName(const ZipName& name, ByteView bytes, std::size_t position);

  std::int32_t fileOpen = 0;
  std::uint64_t fileStart = 0;
  std::uint64_t fileSize = 0;
  std::uint64_t maxFileSize = kDefaultMaxFileSize;
  /// Nothing is put into it; ResetFull empties it.
  std::vector<RawTypedHit> secondList;
  /// The kind found so far. While it is that of a plain ZIP file, names are watched for.
  std::uint32_t fileCode = ZipCode::kZip;
  /// The first letter of a name that ran to or over the end of the sector before; 0 for none.
  std::uint8_t pendingLetter = 0;
  /// Bytes of that name that stood there.
  std::uint32_t pendingLength = 0;
  /// Bytes of `kEnd` that ended the sector before.
  std::uint32_t endMatched = 0;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_CONTAINERS_KZIPFILESEARCHER_H
