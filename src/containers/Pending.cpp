#include "frame/Pending.h"

namespace qzmtraw {

PENDING(KWord2007FileType);
PENDING(KExcel2007FileType);
PENDING(KPowerPoint2007FileType);
PENDING(KOpenOfficeTextFile);
PENDING(KOpenOfficeSheetFile);
PENDING(KOpenOfficePresentationFile);
PENDING(KOpenOfficeDrawingFile);
PENDING(KOpenOfficeDataBaseFile);
PENDING(KOdfFileType);
PENDING(KPxlFileType);
PENDING(CKXpsFileType);
PENDING(CKEpubFileType);
PENDING(CKaNewCdrFileType);
PENDING(KZipFileType);
PENDING(KJarFileType);
PENDING(CKAApkFileType);
PENDING(CKAIpaFileType);
PENDING(CKMZFlaFileType);
PENDING(CKDEnlFileType);
PENDING(CKDAccdtFileType);
PENDING(CKDOdbFileType);

}  // namespace qzmtraw
