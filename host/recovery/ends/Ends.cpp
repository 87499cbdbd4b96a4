#include "host/recovery/ends/Ends.h"

#include <algorithm>
#include <array>

namespace qzmtraw::host {
namespace {

struct RowWalk {
  std::int32_t row;
  EndWalk walk;
};

/// Only raw pictures that have nothing behind what their directories tell of.
constexpr std::array kRowWalks = {
    RowWalk{70, EndOfGif},               // gif
    RowWalk{73, EndOfPng},               // png
    RowWalk{77, EndOfTiff},              // cr2
    RowWalk{80, EndOfTiff},              // nef
    RowWalk{83, EndOfRaf},               // raf
    RowWalk{86, EndOfTiff},              // tif
    RowWalk{91, EndOfIcon},              // ico
    RowWalk{97, EndOfTiff},              // dng
    RowWalk{103, EndOfTiff},             // arw
    RowWalk{119, EndOfSgi},              // sgi
    RowWalk{148, EndOfGzip},             // gz
    RowWalk{154, EndOfTar},              // tar
    RowWalk{164, EndOfAr},               // deb
    RowWalk{189, EndOfFlashVideo},       // flv
    RowWalk{203, EndOfMxf},              // mxf
    RowWalk{218, EndOfDirectorMovie},    // dcr
    RowWalk{255, EndOfProgramDatabase},  // pdb
    RowWalk{287, EndOfRegistryHive},     // hiv
    RowWalk{289, EndOfShortcut},         // lnk
    RowWalk{290, EndOfElf},              // unix
    RowWalk{291, EndOfElf},              // unix
    RowWalk{292, EndOfElf},              // unix
    RowWalk{294, EndOfPe},               // dll
    RowWalk{295, EndOfPe},               // exe
    RowWalk{296, EndOfPe},               // ocx
    RowWalk{297, EndOfAr},               // lib
    RowWalk{299, EndOfPe},               // tlb
    RowWalk{311, EndOfResources},        // res
    RowWalk{313, EndOfType1Font},        // pfb
    RowWalk{318, EndOfTrueType},         // ttf
};

/// All kinds of compound documents.
constexpr std::array kCompoundRows = {0,  1,  2,  3,  4,  5,  15,  16,  20,  22,  26, 27,
                                      31, 34, 35, 44, 96, 99, 100, 142, 236, 240, 265};

}  // namespace

EndWalk EndWalkFor(std::int32_t row) {
  if (std::ranges::find(kCompoundRows, row) != kCompoundRows.end()) return EndOfCompound;
  const auto* const found = std::ranges::find(kRowWalks, row, &RowWalk::row);
  return found == kRowWalks.end() ? nullptr : found->walk;
}

}  // namespace qzmtraw::host
