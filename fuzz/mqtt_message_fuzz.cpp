// What the service makes of a message that a broker brings: whose camera it calls, whether and where it
// answers, and that the answer is one JSON object whatever the payload.
//
// Input: the topic, the response topic, and the payload. The site has one camera, "gate", which nobody has
// asked yet.

#include "fuzz/harness.h"
#include "fuzz/unasked_site.h"
#include "service/mqtt_call.h"
#include "service/mqtt_topics.h"

using namespace corvane;

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    (void)fuzz::TheUnaskedSite();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::CUnaskedSite& site = fuzz::TheUnaskedSite();
    static const service::CMqttTopics topics("vornhost", "yard");
    std::string payload = fuzz::InputText(data, size);
    const std::string topic = fuzz::TakeLine(payload);
    const std::string answerTopic = fuzz::TakeLine(payload);
    if (topics.isForAnswers(answerTopic)) {
        fuzz::Require(answerTopic.find_first_of("+#") == std::string::npos, "an answer goes to one topic");
        fuzz::Require(answerTopic.rfind("vornhost/yard/", 0) != 0,
                      "no answer is taken for the service's own word");
    }
    const auto camera = topics.cameraOfCall(topic);
    if (!camera)
        return 0;
    const auto answer = nlohmann::json::parse(service::AnswerMqttCall(site.site, *camera, payload));
    fuzz::Require(answer.is_object(), "an answer is an object");
    fuzz::Require(*camera == "gate" || answer.value("status", 0) == 404, "no other camera is called");
    return 0;
}
