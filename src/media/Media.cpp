#include "media/Media.h"

#include "media/FrameNodes.h"
#include "media/RecordNodes.h"

namespace zun::media {

void registerNodes() {
    registerReadFrames();
    registerWriteFrames();
    registerReadRecords();
    registerWriteRecords();
    registerConstant();
    registerListFrames();
    registerPickFrame();
}

engine::NodeFactsTable const &facts() {
    static engine::NodeFactsTable const table = [] {
        engine::NodeFactsTable built;
        built["ReadFrames"].forecast = forecastReadFrames;
        built["WriteFrames"].forecast = forecastWriteFrames;
        built["ReadRecords"] = readRecordsFacts();
        built["WriteRecords"] = writeRecordsFacts();
        built["Constant"] = constantFacts();
        return built;
    }();
    return table;
}

} // namespace zun::media
