// What goes on while a client is there: moves, events, pictures.

#include "service/api.h"
#include "service/event_source.h"
#include "service/picture_source.h"
#include "service/problem_answer.h"
#include "site/base/utc_time.h"
#include "site/selection.h"

#include <microhttpd.h>

#include <charconv>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;
using std::chrono::milliseconds;

constexpr int FastestMove = 100;
constexpr std::size_t MostEventClients = 1000;
constexpr milliseconds FirstPicturePatience{5'000};
constexpr milliseconds LongestPatience{5'000};
constexpr int HighestRate = 60; // pictures a second

int SpeedOf(const ordered_json& body, const char* name) {
    const auto found = body.find(name);
    if (found == body.end())
        return 0;
    if (!found->is_number_integer() || found->get<long long>() < -FastestMove ||
        found->get<long long>() > FastestMove)
        throw CRefusal(MHD_HTTP_BAD_REQUEST, std::string(name) + " must be a whole number from -100 to 100");
    return found->get<int>();
}

[[noreturn]] void RefuseHead(const std::string& holder) {
    throw CRefusal(MHD_HTTP_CONFLICT, "the head is held by " + holder, {{"holder", holder}});
}

template <class Number>
Number NumberOf(const SHttpRequest& request, const char* name, Number otherwise, Number least, Number most) {
    const auto text = request.parameter(name);
    if (!text)
        return otherwise;
    Number number{};
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || end != text->data() + text->size() || number < least || number > most)
        throw CRefusal(MHD_HTTP_BAD_REQUEST, std::string(name) + " must be a number from " +
                                                 std::to_string(least) + " to " + std::to_string(most));
    return number;
}

site::SVideoStreamId StreamOf(const SHttpRequest& request) {
    const auto text = request.parameter("stream");
    try {
        // What every camera has, and what costs nothing to show.
        return site::SArgumentReader::readVideoStreamId(text.value_or("0,mjpeg,0"));
    } catch (const site::COperationError& error) {
        throw CRefusal(MHD_HTTP_BAD_REQUEST, std::string("wrong stream: expected ") + error.what());
    }
}

SHttpAnswer PictureAnswer(const CPictureFeed::SOutcome& outcome) {
    if (outcome.problem)
        return ProblemAnswer(MHD_HTTP_SERVICE_UNAVAILABLE, "there is no picture: " + outcome.problem->problem,
                             {{"problem", ProblemObject(*outcome.problem)}});
    SHttpAnswer answer;
    if (!outcome.picture) {
        answer.status = MHD_HTTP_NO_CONTENT;
        return answer;
    }
    answer.headers = {{"Content-Type", "image/jpeg"},
                      {"X-Picture-Number", std::to_string(outcome.picture->number)},
                      {"X-Picture-Time", site::UtcTimeText(outcome.picture->time)}};
    answer.body = outcome.picture->jpeg;
    return answer;
}

} // namespace

void CApi::move(const SApiCall& call, const Answer& answer) {
    const ordered_json body = call.body();
    for (const auto& [name, value] : body.items())
        if (name != "pan" && name != "tilt" && name != "zoom")
            throw CRefusal(MHD_HTTP_BAD_REQUEST, "expected {\"pan\":50,\"tilt\":0,\"zoom\":0}");
    const SKeptOne one = camera(call);
    const site::SModelInfo* const model = SessionOf(*one.camera)->session().model();
    if (!model || !model->ptz)
        throw CRefusal(MHD_HTTP_UNPROCESSABLE_CONTENT, "the camera has no head");
    const SMovement movement{SpeedOf(body, "pan"), SpeedOf(body, "tilt"), SpeedOf(body, "zoom")};
    std::string holder;
    const auto until = one.head->move(HeadClientOf(call), movement, holder);
    if (!until)
        RefuseHead(holder);
    answer(
        JsonAnswer({{"until", site::UtcTimeText(*until)}, {"holder", call.client.name}}, MHD_HTTP_ACCEPTED));
}

void CApi::stopMove(const SApiCall& call, const Answer& answer) {
    std::string holder;
    if (!camera(call).head->stop(HeadClientOf(call), holder))
        RefuseHead(holder);
    SHttpAnswer told;
    told.status = MHD_HTTP_NO_CONTENT;
    answer(std::move(told));
}

void CApi::tellEvents(const SApiCall& call, const Answer& answer) {
    if (parts_.hub.listeners() >= MostEventClients)
        throw CRefusal(MHD_HTTP_SERVICE_UNAVAILABLE, "as many clients as may be listen already");
    SEventWishes wishes;
    const auto [begin, end] = call.request.query.equal_range("only");
    for (auto one = begin; one != end; ++one)
        wishes.only.push_back(one->second);
    wishes.lastId = call.request.header("last-event-id");
    if (const auto name = call.request.parameter("exchanges")) {
        const auto one = parts_.site.find(*name);
        if (!one)
            throw CRefusal(MHD_HTTP_NOT_FOUND, "the site has no camera of the name in \"exchanges\"");
        wishes.exchangesOf = *name;
        wishes.exchanges = one->camera->history();
    }
    const auto isMeant = [this, only = wishes.only](const std::string& name) {
        const auto one = only.empty() ? std::nullopt : parts_.site.find(name);
        return only.empty() || (one && site::IsSelected(*one->camera->entry(), only));
    };
    SHttpAnswer told;
    told.headers = {{"Content-Type", "text/event-stream"}, {"X-Accel-Buffering", "no"}};
    told.source = std::make_unique<CEventSource>(parts_.hub, std::move(wishes), isMeant);
    answer(std::move(told));
}

std::shared_ptr<CPictureFeed> CApi::feed(const SApiCall& call) const {
    const site::SVideoStreamId id = StreamOf(call.request);
    (void)SessionOf(*camera(call).camera);
    if (auto feed = parts_.site.feed(call.name, id))
        return feed;
    throw CRefusal(MHD_HTTP_NOT_FOUND, "the camera has just left the site");
}

void CApi::tellPicture(const SApiCall& call, const Answer& answer) {
    const auto after = NumberOf<std::uint64_t>(call.request, "after", 0, 0, UINT64_MAX);
    const int usual = call.request.parameter("after") ? 0 : static_cast<int>(FirstPicturePatience.count());
    const int wait = NumberOf<int>(call.request, "wait", usual, 0, static_cast<int>(LongestPatience.count()));
    const bool isFirst = after == 0;
    feed(call)->next(after, milliseconds(isFirst ? std::max(wait, usual) : wait),
                     [answer](const CPictureFeed::SOutcome& outcome) { answer(PictureAnswer(outcome)); });
}

void CApi::tellPictures(const SApiCall& call, const Answer& answer) {
    const int rate = NumberOf<int>(call.request, "fps", HighestRate, 1, HighestRate);
    SHttpAnswer told;
    told.headers = {{"Content-Type", std::string("multipart/x-mixed-replace; boundary=") + PictureBoundary}};
    told.source = std::make_unique<CPictureSource>(feed(call), milliseconds(1000 / rate));
    answer(std::move(told));
}

} // namespace corvane::service
