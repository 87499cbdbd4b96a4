#include "frame/Pending.h"

namespace qzmtraw {

PENDING(KPdfFileType);
PENDING(CKRTFFeileType);
PENDING(CKPsPostScriptFileType);
PENDING(CKFb2FileType);
PENDING(CKSubXmlFileType);
PENDING(CKPpjFileType);
PENDING(CKUTxtFileType);
PENDING(CKNewUTF8FileType);
PENDING(CKNewTxtFileType);
PENDING(CKSrcHFileType);
PENDING(CKSrcCFileType);
PENDING(CKCsharpFileType);
PENDING(CKJavaFileType);
PENDING(CKCodeTxtPhpFileType);
PENDING(CKVBFileType);
PENDING(CKJsFileType);
PENDING(CKPyFileType);
PENDING(CKAspxFileType);
PENDING(CKPlFileType);
PENDING(CKOCHFileType);
PENDING(CKOCMFileType);
PENDING(KAiFileType);
PENDING(CKGEpsFileType);
PENDING(CKGCgmTxtFileType);
PENDING(CKGPltFileType);
PENDING(CKG3dxmlFileType);
PENDING(CKMM3uFileType);
PENDING(CKIEUrlFileType);
PENDING(CKIEMsfFileType);
PENDING(CKIEMimeEmailEmlFileType);
PENDING(CKDDifFileType);
PENDING(KHTMLFileType);
PENDING(KMhtFileType);
PENDING(CFireFoxBookmarkType);
PENDING(CKOMapFileType);
PENDING(CKORegFileType);
PENDING(CKOReg_UFileType);
PENDING(CKOTxtCntFileType);
PENDING(CKResxFileType);
PENDING(CKGuiFileType);
PENDING(CKClwFileType);
PENDING(CKDspFileType);
PENDING(CKSlnFileType);
PENDING(CKDswFileType);
PENDING(CKVbpFileType);
PENDING(CKDbfFileType);

}  // namespace qzmtraw
