#include "service/camera_status.h"

namespace corvane::service {

const char* NameOf(Health health) {
    switch (health) {
    case Health::Up:
        return "up";
    case Health::Degraded:
        return "degraded";
    case Health::Down:
        return "down";
    case Health::Unknown:
        break;
    }
    return "unknown";
}

const char* NameOf(DriftState state) {
    switch (state) {
    case DriftState::Same:
        return "same";
    case DriftState::Differs:
        return "differs";
    case DriftState::Fault:
        return "fault";
    case DriftState::Unknown:
        break;
    }
    return "unknown";
}

} // namespace corvane::service
