#ifndef QZMTRAW_TEXT_TEXT_KINDS_H
#define QZMTRAW_TEXT_TEXT_KINDS_H

#include <cstdint>

#include "frame/Bytes.h"

namespace qzmtraw {

/// The kinds of plain text, as the codes under which KTxtFileType keeps its hits.
enum TextKind : std::uint32_t {
  /// No text, or none that is ours.
  kNoText = 0,
  /// A text that begins with a comment which its first sector doesn't close. Its next sectors tell.
  kUndecided = 1,
  kPlainText = 2,
  kCHeader = 3,
  kCSource = 4,
  kJava = 5,
  kJavaScript = 6,
  kPython = 7,
  kPerl = 8,
  kObjectiveCHeader = 9,
  kObjectiveCSource = 10,
  kInternetShortcut = 11,
  kPhp = 12,
  kClearTextMetafile = 13,
  kPlotterFile = 14,
  kPlayList = 15,
  kMailSummary = 16,
  kMail = 17,
  kDataInterchange = 18,
  kOziExplorerMap = 19,
  kRegistryExport = 20,
  kHelpContents = 21,
  kGuiDesign = 22,
  kClassWizard = 23,
  kStudioProject = 24,
  kStudioWorkspace = 25,
  kVisualBasicProject = 26,
  kBitmapFont = 27,
};

/// Whether the sector begins with the header of a cpio member in one of the forms that are text. Such a sector is
/// sorted into no kind: whatever kind the classifier has in mind stays.
bool IsCpioHeader(ByteView sector);

/// Whether the sector begins with a comment that may go on behind its end.
bool OpensComment(ByteView sector);

/// The kind of a text by one of its sectors, which isn't a cpio header. The answer can be kUndecided only where
/// OpensComment holds.
/// \param wasUndecided  Whether the sectors before it left the kind undecided. Then a sector that shows nothing gives
///                      kNoText: the comment was no source text's.
std::uint32_t TextKindOf(ByteView sector, bool wasUndecided);

}  // namespace qzmtraw

#endif  // QZMTRAW_TEXT_TEXT_KINDS_H
