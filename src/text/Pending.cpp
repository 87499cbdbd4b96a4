#include "frame/Pending.h"

namespace qzmtraw {

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
PENDING(CKGCgmTxtFileType);
PENDING(CKGPltFileType);
PENDING(CKMM3uFileType);
PENDING(CKIEUrlFileType);
PENDING(CKIEMsfFileType);
PENDING(CKIEMimeEmailEmlFileType);
PENDING(CKDDifFileType);
PENDING(CKOMapFileType);
PENDING(CKORegFileType);
PENDING(CKOReg_UFileType);
PENDING(CKOTxtCntFileType);
PENDING(CKGuiFileType);
PENDING(CKClwFileType);
PENDING(CKDspFileType);
PENDING(CKSlnFileType);
PENDING(CKDswFileType);
PENDING(CKVbpFileType);
PENDING(CKDbfFileType);

}  // namespace qzmtraw
