#ifndef QZMTRAW_CONTAINERS_COMPOUNDRULES_H
#define QZMTRAW_CONTAINERS_COMPOUNDRULES_H

#include <cstdint>

namespace qzmtraw {

class KCompoundReader;

/// The kinds of compound documents, as the codes of their hits.
enum class CompoundKind : std::uint32_t {
  kUnknown = 1,  ///< No face asks for these.
  kWord = 2,
  kExcel = 3,
  kPowerPoint = 4,
  kVisio = 5,
  kProject = 6,
  kPublisher = 7,
  kDcd = 8,
  kEt = 9,    ///< What is Excel's is also this kind's.
  kDps = 10,  ///< What is PowerPoint's is also this kind's.
  kFla = 11,
  k3DMax = 12,
  kP65 = 13,
  kQpw = 14,
  kShw = 15,
  kWtf = 16,
  kRpt = 17,
  kQdf = 18,
  kQbb = 19,
  kQbm = 20,
  kHwp = 21,
  kMsg = 22,
  kAdp = 23,
  kExb = 24,
};

/// Tells the kind of a compound document by the names in its directory.
CompoundKind KindOf(const KCompoundReader& document);

}  // namespace qzmtraw

#endif  // QZMTRAW_CONTAINERS_COMPOUNDRULES_H
