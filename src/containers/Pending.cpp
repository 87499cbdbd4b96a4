#include "frame/Pending.h"

namespace qzmtraw {

PENDING(KWordFileType);
PENDING(KExcelFileType);
PENDING(KPowerPointFileType);
PENDING(KVisioFileType);
PENDING(KProjectFileType);
PENDING(KPublisherFileType);
PENDING(KEtFileType);
PENDING(KDpsFileType);
PENDING(KP65FileType);
PENDING(KShwFileType);
PENDING(CKWtfFileType);
PENDING(CKRptFileType);
PENDING(CKQdfFileType);
PENDING(CKCQbbFileType);
PENDING(CKCQbmFileType);
PENDING(CKHwpFileType);
PENDING(KDcdFileType);
PENDING(KFlaFileType);
PENDING(K3DMaxFileType);
PENDING(CKGNewExbFileType);
PENDING(CKIEMsgFileType);
PENDING(CKDAdpFileType);
PENDING(KQpwFileType);

}  // namespace qzmtraw
