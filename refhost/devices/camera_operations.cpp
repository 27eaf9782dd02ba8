// The base camera's operations that can be called by name.

#include "host/camera.h"
#include "operations/operations.h"

namespace corvane::vorn_camera_base::v1_0 {

using device_handler::v1_0::SInOut;

void CVornCamera::registerOperations(COperationRegistry& registry) {
    using C = CVornCamera;
    registry.add("initialize", this, &C::initialize, "()");
#define VORN_OPERATION(RETURNED, NAME, PARAMETERS)                                                           \
    registry.add(#NAME, this, static_cast<RETURNED(C::*) PARAMETERS>(&C::NAME), #PARAMETERS);
#include "host/camera_operations.def"
    registry.add("readVideoStreamRecord", this, &C::readVideoStreamRecord, "(id, record)");
    registry.add("writeVideoStreamRecord", this, &C::writeVideoStreamRecord, "(id, record)");
    registry.add("syncVideoCodecProperties", "(record, id)",
                 boost::function<CError(SInOut<SVornVidValsInDb>&, SVideoStreamId)>(
                     [this](SInOut<SVornVidValsInDb>& record, SVideoStreamId id) {
                         return syncVideoCodecProperties(record.value, id);
                     }));
    registry.add("inputBase", this, &C::inputBase, "(property)");
    registry.add("reIndex", this, &C::reIndex, "(input, property)");
    registry.add("readAudioStreamRecord", this, &C::readAudioStreamRecord, "(id, record)");
    registry.add("getAudioStreamUrl", "(values, id, url)",
                 boost::function<CError(SVornAudValsInDb, SAudioStreamId, std::string&)>(
                     [this](SVornAudValsInDb values, SAudioStreamId id, std::string& url) {
                         return getAudioStreamUrl(values, id, url);
                     }));
}

} // namespace corvane::vorn_camera_base::v1_0
