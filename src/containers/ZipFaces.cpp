// The kinds of file that are ZIP files.

#include "containers/KZipFileSearcher.h"

namespace qzmtraw {

#define ZIP_FACE(Class, code)                                        \
  class Class final : public Face<Class, KZipFileSearcher, code> {}; \
  DETECTOR(Class)

ZIP_FACE(KZipFileType, ZipCode::kZip);
ZIP_FACE(KWord2007FileType, ZipCode::kDocx);
ZIP_FACE(KExcel2007FileType, ZipCode::kXlsx);
ZIP_FACE(KPowerPoint2007FileType, ZipCode::kPptx);
ZIP_FACE(KOpenOfficeTextFile, ZipCode::kOdt);
ZIP_FACE(KOpenOfficeSheetFile, ZipCode::kOds);
ZIP_FACE(KOpenOfficePresentationFile, ZipCode::kOdp);
ZIP_FACE(KOpenOfficeDrawingFile, ZipCode::kOdg);
ZIP_FACE(KOpenOfficeDataBaseFile, ZipCode::kSunBase);
ZIP_FACE(KJarFileType, ZipCode::kJar);
ZIP_FACE(KOdfFileType, ZipCode::kOdf);
ZIP_FACE(KPxlFileType, ZipCode::kPxl);
ZIP_FACE(CKXpsFileType, ZipCode::kXps);
ZIP_FACE(CKEpubFileType, ZipCode::kEpub);
ZIP_FACE(CKAApkFileType, ZipCode::kApk);
ZIP_FACE(CKAIpaFileType, ZipCode::kIpa);
ZIP_FACE(CKMZFlaFileType, ZipCode::kFla);
ZIP_FACE(CKDEnlFileType, ZipCode::kEnl);
ZIP_FACE(CKDAccdtFileType, ZipCode::kAccdt);
ZIP_FACE(CKDOdbFileType, ZipCode::kOasisBase);
ZIP_FACE(CKaNewCdrFileType, ZipCode::kCdr);

}  // namespace qzmtraw
