#ifndef QZMTRAW_FRAME_KRAWFILETYPEFACTORY_H
#define QZMTRAW_FRAME_KRAWFILETYPEFACTORY_H

#include "frame/ScanLog.h"
#include "qzmtraw/RawFileTypeFactory.h"

namespace qzmtraw {

/// The registry, over the rows of TypeTable.def.
class KRawFileTypeFactory final : public IRawFileTypeFactory {
 public:
  std::int32_t GetTypeCount() override;
  IRawFileType* CreateType(std::int32_t index, std::int32_t* category, std::uint8_t* groupGuid) override;

 private:
  ScanLog scanLog_;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_KRAWFILETYPEFACTORY_H
