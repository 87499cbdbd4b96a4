#include "text/KTxtFileType.h"

/// \file
/// The kinds of plain text that a host sees.

namespace qzmtraw {

#define TEXT_FACE(Class, kKind)                                   \
  class Class final : public Face<Class, KTxtFileType, kKind> {}; \
  DETECTOR(Class)

TEXT_FACE(CKNewTxtFileType, kPlainText);
TEXT_FACE(CKSrcHFileType, kCHeader);
TEXT_FACE(CKSrcCFileType, kCSource);
TEXT_FACE(CKJavaFileType, kJava);
TEXT_FACE(CKJsFileType, kJavaScript);
TEXT_FACE(CKPyFileType, kPython);
TEXT_FACE(CKPlFileType, kPerl);
TEXT_FACE(CKOCHFileType, kObjectiveCHeader);
TEXT_FACE(CKOCMFileType, kObjectiveCSource);
TEXT_FACE(CKIEUrlFileType, kInternetShortcut);
TEXT_FACE(CKCodeTxtPhpFileType, kPhp);
TEXT_FACE(CKGCgmTxtFileType, kClearTextMetafile);
TEXT_FACE(CKGPltFileType, kPlotterFile);
TEXT_FACE(CKMM3uFileType, kPlayList);
TEXT_FACE(CKIEMsfFileType, kMailSummary);
TEXT_FACE(CKIEMimeEmailEmlFileType, kMail);
TEXT_FACE(CKDDifFileType, kDataInterchange);
TEXT_FACE(CKOMapFileType, kOziExplorerMap);
TEXT_FACE(CKORegFileType, kRegistryExport);
TEXT_FACE(CKOTxtCntFileType, kHelpContents);
TEXT_FACE(CKGuiFileType, kGuiDesign);
TEXT_FACE(CKClwFileType, kClassWizard);
TEXT_FACE(CKDspFileType, kStudioProject);
TEXT_FACE(CKDswFileType, kStudioWorkspace);
TEXT_FACE(CKVbpFileType, kVisualBasicProject);
TEXT_FACE(CKDbfFileType, kBitmapFont);

}  // namespace qzmtraw
