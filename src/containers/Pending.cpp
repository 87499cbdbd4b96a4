#include "frame/Pending.h"

namespace qzmtraw {

PENDING(KWordFileType);
PENDING(KExcelFileType);
PENDING(KPowerPointFileType);
PENDING(KVisioFileType);
PENDING(KProjectFileType);
PENDING(KPublisherFileType);
PENDING(KWord2007FileType);
PENDING(KExcel2007FileType);
PENDING(KPowerPoint2007FileType);
PENDING(KOpenOfficeTextFile);
PENDING(KOpenOfficeSheetFile);
PENDING(KOpenOfficePresentationFile);
PENDING(KOpenOfficeDrawingFile);
PENDING(KOpenOfficeDataBaseFile);
PENDING(KEtFileType);
PENDING(KDpsFileType);
PENDING(KOdfFileType);
PENDING(KP65FileType);
PENDING(KPxlFileType);
PENDING(KShwFileType);
PENDING(CKXpsFileType);
PENDING(CKWtfFileType);
PENDING(CKRptFileType);
PENDING(CKQdfFileType);
PENDING(CKEpubFileType);
PENDING(CKCQbbFileType);
PENDING(CKCQbmFileType);
PENDING(CKHwpFileType);
PENDING(CKaNewCdrFileType);
PENDING(KDcdFileType);
PENDING(KFlaFileType);
PENDING(K3DMaxFileType);
PENDING(CKGNewExbFileType);
PENDING(KZipFileType);
PENDING(KJarFileType);
PENDING(CKAApkFileType);
PENDING(CKAIpaFileType);
PENDING(CKMZFlaFileType);
PENDING(CKIEMsgFileType);
PENDING(CKDAdpFileType);
PENDING(CKDEnlFileType);
PENDING(CKDAccdtFileType);
PENDING(CKDOdbFileType);
PENDING(KQpwFileType);

}  // namespace qzmtraw
