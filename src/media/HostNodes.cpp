#include "media/HostNodes.h"

#include "media/Registrations.h"

namespace zun::media {

void registerNodes() {
    registerReadFrames();
    registerWriteFrames();
    registerReadRecords();
    registerWriteRecords();
    registerConstant();
    registerListFrames();
    registerPickFrame();
    registerFormatTexts();
    registerMergeRecords();
    registerSelectElements();
}

} // namespace zun::media
