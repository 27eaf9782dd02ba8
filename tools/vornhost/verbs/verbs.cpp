#include "tools/vornhost/verbs/verb.h"

namespace corvane::vornhost {

const std::vector<SVerb>& Verbs() {
    static const std::vector<SVerb> verbs = {
        {"identify", "Which device is at each address", MakeIdentifyVerb},
        {"show", "Everything the plug-in can tell about one camera, for reading", MakeShowVerb},
        {"call", "One operation on a camera", MakeCallVerb},
        {"script", "One operation a line on standard input, on one camera", MakeScriptVerb},
        {"sync", "The camera set to the recorder's record of a stream", MakeSyncVerb},
        {"record", "A video stream into a file", MakeRecordVerb},
        {"events", "The events of an alarm input, as they come", MakeEventsVerb},
        {"doctor", "What is wrong with a camera, and from where it comes", MakeDoctorVerb},
        {"ptz", "A camera driven from the keyboard", MakePtzVerb},
        {"image", "A camera's picture and lens adjustments, as bars or set", MakeImageVerb},
        {"models", "What the model list holds", MakeModelsVerb},
        {"operations", "Every operation with its arguments", MakeOperationsVerb},
        {"element", "The plug-in's GStreamer element with its properties", MakeElementVerb},
        {"site", "All cameras of a place, as one file describes them", MakeSiteVerb},
        {"serve", "A site kept for days, for programs and its page", MakeServeVerb},
        {"token", "Who may ask a service for what", MakeTokenVerb},
    };
    return verbs;
}

} // namespace corvane::vornhost
