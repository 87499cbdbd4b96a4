#include "frame/StartOnly.h"

/// \file
/// Cameras' raw pictures that are known by their first bytes alone.

namespace qzmtraw {

#define RAW_PICTURE(Class, head, floor, least, greatest) \
  class Class final : public StartOnly<Class> {          \
   public:                                               \
    static constexpr auto kHead = head;                  \
    static constexpr std::int32_t kFloor = floor;        \
    static constexpr SizeHints kHints{least, greatest};  \
  };                                                     \
  DETECTOR(Class)

// clang-format off
//          class                head                                 floor  least     greatest
RAW_PICTURE(KRAFFileType,        At(0, "FUJIFILM"),                   8,     0xA00000, 0x2000000);
RAW_PICTURE(KRDCFileType,        At(0, "DSC-Image"),                  8,     0xA00000, 0x2000000);
RAW_PICTURE(KX3FFileType,        At(0, "FOVb"),                       8,     0xA00000, 0x2000000);
RAW_PICTURE(CKContaxRawFileType, At(25, "ARECOYK"),                   51,    512,      0x4000000);
RAW_PICTURE(CKGPRawFileType,     At(0, "IIU\0\x08\0\0\0"),            51,    512,      0x2000000);
// The pictures that KMRWFileType finds with their size.
RAW_PICTURE(CKGMrwFileType,      At(0, "\0MRM") && At(8, "\0PRD"),    51,    512,      0x2000000);
// clang-format on

}  // namespace qzmtraw
