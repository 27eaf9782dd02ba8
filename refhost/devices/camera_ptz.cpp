// The base camera's pan, tilt and zoom: what the model list knows, and no moves.

#include "refhost/devices/camera_base.h"

namespace corvane::vorn_camera_base::v1_0 {

const SPtzModel& CVornCamera::ptzModel() const {
    static const SPtzModel none;
    return model().ptz ? *model().ptz : none;
}

int CVornCamera::ToCameraPos(int pos, int, int) {
    return pos;
}
int CVornCamera::ToNvrPos(int camPos, int, int) {
    return camPos;
}

CError CVornCamera::getPtzPatternCount(int, CString& count) {
    if (ptzModel().patternCount.empty())
        return NotOfDevice("patterns");
    count = ptzModel().patternCount;
    return CError::Success();
}

CError CVornCamera::getPtzProperties(int, std::vector<CString>&) {
    return model().ptz ? CError::Success() : NotOfDevice("pan, tilt and zoom");
}

} // namespace corvane::vorn_camera_base::v1_0
