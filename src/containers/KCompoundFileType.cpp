#include "containers/CompoundRules.h"
#include "containers/KCompoundReader.h"
#include "frame/SharedClassifier.h"

namespace qzmtraw {

/// Sorts compound documents ([MS-CFB]) into kinds by the names of their streams. Sizes are signed 32-bit numbers, so
/// the largest one that can be reported is 0x7fffffff; what reads as negative isn't reported.
class KCompoundFileType final : public SharedClassifier<KCompoundFileType> {
 public:
  static constexpr auto kHead = At(0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
  static constexpr std::int32_t kFloor = 9;
  static constexpr std::int32_t kMinimum = 1024;
  static constexpr std::uint64_t kFirstKey = 0;
  static constexpr KeyStored kKeyStored = KeyStored::kAfterScan;

  std::uint32_t Scan(const RawSectorBlock* rawBlock, IRawHitSink* sink) override {
    allowance_.EarnUpTo(Block(rawBlock).StartSector());
    return SharedClassifier::Scan(rawBlock, sink);
  }

  bool ScanBlock(const Block& block, IRawHitSink* /*sink*/) {
    ForEachHead(*this, block, [&](const Sector& sector) {
      const KCompoundReader document(block.Raw(), sector.Number(), allowance_);
      const auto size = static_cast<std::int32_t>(document.Size());
      if (size < kMinimum) return;
      const CompoundKind kind = KindOf(document);
      Keep(sector, size, kind);
      // Workbooks and presentations are offered to a second kind each.
      if (kind == CompoundKind::kExcel) Keep(sector, size, CompoundKind::kEt);
      if (kind == CompoundKind::kPowerPoint) Keep(sector, size, CompoundKind::kDps);
    });
    return false;
  }

 private:
  void Keep(const Sector& sector, std::int32_t size, CompoundKind kind) {
    hits.push_back({{sector.Number(), static_cast<std::uint64_t>(size)}, static_cast<std::uint32_t>(kind)});
  }

  WalkAllowance allowance_;
};

#define COMPOUND_FACE(Class, kind)                                                                              \
  class Class final : public Face<Class, KCompoundFileType, static_cast<std::uint32_t>(CompoundKind::kind)> {}; \
  DETECTOR(Class)

COMPOUND_FACE(KWordFileType, kWord);
COMPOUND_FACE(KExcelFileType, kExcel);
COMPOUND_FACE(KPowerPointFileType, kPowerPoint);
COMPOUND_FACE(KVisioFileType, kVisio);
COMPOUND_FACE(KProjectFileType, kProject);
COMPOUND_FACE(KPublisherFileType, kPublisher);
COMPOUND_FACE(KDcdFileType, kDcd);
COMPOUND_FACE(KEtFileType, kEt);
COMPOUND_FACE(KDpsFileType, kDps);
COMPOUND_FACE(KFlaFileType, kFla);
COMPOUND_FACE(K3DMaxFileType, k3DMax);
COMPOUND_FACE(KP65FileType, kP65);
COMPOUND_FACE(KQpwFileType, kQpw);
COMPOUND_FACE(KShwFileType, kShw);
COMPOUND_FACE(CKWtfFileType, kWtf);
COMPOUND_FACE(CKRptFileType, kRpt);
COMPOUND_FACE(CKQdfFileType, kQdf);
COMPOUND_FACE(CKCQbbFileType, kQbb);
COMPOUND_FACE(CKCQbmFileType, kQbm);
COMPOUND_FACE(CKHwpFileType, kHwp);
COMPOUND_FACE(CKIEMsgFileType, kMsg);
COMPOUND_FACE(CKDAdpFileType, kAdp);
COMPOUND_FACE(CKGNewExbFileType, kExb);

}  // namespace qzmtraw
