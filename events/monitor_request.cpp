#include "events/monitor_request.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace corvane::vorn_utility::v1_0 {
namespace {

constexpr long ConnectSeconds = 15;
constexpr long HttpOk = 200;
// Any that a camera may ask for: of the others a stranger could learn the password or this machine's name.
constexpr unsigned long AuthSchemes = CURLAUTH_DIGEST | CURLAUTH_BASIC;
constexpr std::size_t LargestHeader = std::size_t{256} << 10;
// The request, the answer to a challenge, and the answer to a nonce that had grown old by then.
constexpr int MostRounds = 3;
constexpr long RefusedStatuses[] = {401, 403, 404};
constexpr int LongestPoll = std::numeric_limits<int>::max(); // milliseconds; what happens wakes it

} // namespace

CMonitorRequest::CMonitorRequest() : easy_(curl_easy_init()), multi_(curl_multi_init()) {
    if (isMade())
        curl_easy_reset(easy_);
}

CMonitorRequest::~CMonitorRequest() {
    curl_easy_cleanup(easy_);
    curl_multi_cleanup(multi_);
}

template <class Value>
bool CMonitorRequest::set(CURLoption option, Value value) {
    return curl_easy_setopt(easy_, option, value) == CURLE_OK;
}

bool CMonitorRequest::setOptions(const std::string& credentials, const std::string& url, bool isBasicRefused,
                                 Writer writer, void* self) {
    return set(CURLOPT_NOSIGNAL, 1L) && set(CURLOPT_TCP_NODELAY, 1L) &&
           set(CURLOPT_USERPWD, credentials.c_str()) && set(CURLOPT_URL, url.c_str()) &&
           set(CURLOPT_HTTPAUTH, isBasicRefused ? CURLAUTH_DIGEST : AuthSchemes) &&
           set(CURLOPT_WRITEFUNCTION, writer) && set(CURLOPT_WRITEDATA, self) &&
           set(CURLOPT_CONNECTTIMEOUT, ConnectSeconds) &&
           // Beyond what the camera needs: cameras are on the recorder's own network, an address that looks
           // like another protocol's is none, and a name server must not hold up a stop.
           set(CURLOPT_PROXY, "") && set(CURLOPT_PROTOCOLS_STR, "http") && set(CURLOPT_QUICK_EXIT, 1L) &&
           set(CURLOPT_HEADERFUNCTION, takeHeaderLine) && set(CURLOPT_HEADERDATA, this) &&
           set(CURLOPT_DEBUGFUNCTION, seeHeaderLine) && set(CURLOPT_DEBUGDATA, this) &&
           set(CURLOPT_VERBOSE, 1L) && set(CURLOPT_PREREQFUNCTION, takeRound) &&
           set(CURLOPT_PREREQDATA, this);
}

CMonitorRequest::End CMonitorRequest::perform() {
    headerBytes_ = 0;
    rounds_ = 0;
    strayFold_ = {};
    if (curl_multi_add_handle(multi_, easy_) != CURLM_OK)
        return End::Failed;
    const CURLcode result = runToItsEnd();
    curl_multi_remove_handle(multi_, easy_);
    const long answer = status();
    const bool isWhole = result == CURLE_OK || result == CURLE_WRITE_ERROR || rounds_ > MostRounds;
    if (isWhole && std::find(std::begin(RefusedStatuses), std::end(RefusedStatuses), answer) !=
                       std::end(RefusedStatuses))
        return End::Refused;
    return result == CURLE_OK && answer == HttpOk ? End::Complete : End::Failed;
}

CURLcode CMonitorRequest::runToItsEnd() {
    for (int active = 1; !broken_;) {
        if (curl_multi_perform(multi_, &active) != CURLM_OK)
            return CURLE_FAILED_INIT;
        if (active == 0)
            break;
        if (curl_multi_poll(multi_, nullptr, 0, LongestPoll, nullptr) != CURLM_OK)
            return CURLE_FAILED_INIT;
    }
    int left = 0;
    const CURLMsg* const message = curl_multi_info_read(multi_, &left);
    return message ? message->data.result : CURLE_ABORTED_BY_CALLBACK; // broken off
}

long CMonitorRequest::status() const {
    long status = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

bool CMonitorRequest::isAccepted() const {
    return status() == HttpOk;
}

bool CMonitorRequest::offersBasicAlone() const {
    long offered = 0;
    curl_easy_getinfo(easy_, CURLINFO_HTTPAUTH_AVAIL, &offered);
    return (static_cast<unsigned long>(offered) & AuthSchemes) == CURLAUTH_BASIC;
}

void CMonitorRequest::breakOff() {
    broken_ = true;
    curl_multi_wakeup(multi_);
}

// libcurl keeps each line, those of a trailer behind the body too.
std::size_t CMonitorRequest::takeHeaderLine(char* /*line*/, std::size_t /*size*/, std::size_t count,
                                            void* request) {
    auto& itself = *static_cast<CMonitorRequest*>(request);
    itself.headerBytes_ += count;
    return itself.headerBytes_ > LargestHeader || itself.strayFold_.isFound() ? 0 : count;
}

int CMonitorRequest::seeHeaderLine(CURL* /*curl*/, curl_infotype kind, char* data, std::size_t size,
                                   void* request) {
    if (kind == CURLINFO_HEADER_IN)
        static_cast<CMonitorRequest*>(request)->strayFold_.takeHeaderLine(data, size);
    return 0;
}

// A camera that asks for credentials once more than one that means it is refused.
int CMonitorRequest::takeRound(void* request, char* /*peerIp*/, char* /*ownIp*/, int /*peerPort*/,
                               int /*ownPort*/) {
    return ++static_cast<CMonitorRequest*>(request)->rounds_ > MostRounds ? CURL_PREREQFUNC_ABORT
                                                                          : CURL_PREREQFUNC_OK;
}

} // namespace corvane::vorn_utility::v1_0
