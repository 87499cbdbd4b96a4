#include "frame/Pending.h"

namespace qzmtraw {

PENDING(KPdfFileType);
PENDING(CKRTFFeileType);
PENDING(CKPsPostScriptFileType);
PENDING(CKFb2FileType);
PENDING(CKSubXmlFileType);
PENDING(CKPpjFileType);
PENDING(KAiFileType);
PENDING(CKGEpsFileType);
PENDING(CKG3dxmlFileType);
PENDING(KHTMLFileType);
PENDING(KMhtFileType);
PENDING(CFireFoxBookmarkType);
PENDING(CKResxFileType);

}  // namespace qzmtraw
