#include "site/session/device_session.h"

#include "refhost/http/device_requests.h"
#include "refhost/text/near_names.h"
#include "site/base/standard_streams.h"
#include "site/session/identification.h"

#include <utility>

namespace corvane::site {
namespace {

std::string CheckedAddress(const std::string& address) {
    RequireAddress(address);
    return address;
}

std::shared_ptr<refhost::CDeviceDb> OpenDatabase(const SOptions& options) {
    try {
        return refhost::CDeviceDb::open(options.databaseFile);
    } catch (const refhost::CDeviceDbError& error) {
        throw CFailure(ExitStatus::WrongUsage, std::string("--db: ") + error.what(), OwnCause::WrongFile);
    }
}

// The family of --model; empty without --model.
std::string FamilyOfModel(const SOptions& options, const CVornModelList& models) {
    if (options.modelNumber.empty())
        return {};
    const SModelInfo* const model = models.findModel(options.modelNumber);
    if (!model)
        throw CFailure(ExitStatus::WrongUsage,
                       "wrong --model \"" + options.modelNumber +
                           "\": expected a model number of the model list; `vornhost models` tells which "
                           "there are" +
                           refhost::DidYouMean(options.modelNumber, NumbersOf(models)));
    return model->family;
}

// The listed number that the reported one, which has a prefix, ends with; empty when there is none.
std::string ListedNumber(const CVornModelList& models, const std::string& reported) {
    const auto endsWith = [&reported](const std::string& number) {
        return reported.size() >= number.size() &&
               reported.compare(reported.size() - number.size(), number.size(), number) == 0;
    };
    std::string listed;
    for (const auto& [number, model] : models.getModels())
        if (number.size() > listed.size() && endsWith(number))
            listed = number;
    return listed;
}

} // namespace

SRecorder::SRecorder(const SOptions& options)
    : plugin(std::make_shared<CLoadedPlugin>(options)), database(OpenDatabase(options)) {}

// In this order, which is that of what is told when several are wrong.
CDeviceSession::CDeviceSession(const SOptions& options, const std::string& address)
    : CDeviceSession(
          options, SParts{CheckedAddress(address), CCredentials::fromOptions(options), SRecorder(options)}) {}

CDeviceSession::CDeviceSession(const SRecorder& recorder, const SOptions& options, CCredentials credentials,
                               const std::string& address)
    : CDeviceSession(options, SParts{CheckedAddress(address), std::move(credentials), recorder}) {}

CDeviceSession::CDeviceSession(const SOptions& options, SParts parts)
    : options_(options),
      address_(std::move(parts.address)),
      credentials_(std::move(parts.credentials)),
      plugin_(std::move(parts.recorder.plugin)),
      database_(std::move(parts.recorder.database)),
      context_(new refhost::CDeviceContext(address_, CAuthentication(), database_)),
      exchanges_(address_),
      familyName_(FamilyOfModel(options, *plugin_->models())) {
    applyCredentials();
    makeCamera();
}

CDeviceSession::~CDeviceSession() = default;

std::optional<SDiagnosis> CDeviceSession::start() {
    if (auto failure = learnFamily())
        return failure;
    return initialize();
}

std::optional<SDiagnosis> CDeviceSession::learnFamily() {
    try {
        const std::string known = database_->familyAt(address_).value_or("");
        applyRuleOf(known);
        if (!familyName_.empty())
            takeFamily(familyName_, "");
        else if (!known.empty() && !alwaysIdentify_)
            takeFamily(known, "");
        else if (options_.noInitialize)
            takeFamily(known.empty() ? anyFamily() : known, "");
        else
            return identify();
    } catch (const refhost::CDeviceDbError& error) {
        throw CFailure(ExitStatus::NotStarted, std::string("--db: ") + error.what(), OwnCause::WrongFile);
    }
    return std::nullopt;
}

// The camera object is not initialised, so that any family will do.
std::string CDeviceSession::anyFamily() const {
    if (const auto* family = plugin_->firstFamily())
        return family->name;
    throw CFailure(ExitStatus::NotStarted, "the model list has no family", OwnCause::WrongFile);
}

std::optional<SDiagnosis> CDeviceSession::identify() {
    const SIdentification found =
        IdentifyDevice(plugin_, address_, credentials_, exchanges_, options_.patience(std::chrono::hours(1)));
    if (!found.isFound())
        return found.failure;
    takeFamily(found.device->getFamilyName(), found.device->getSerialNumber().str());
    return std::nullopt;
}

std::optional<SDiagnosis> CDeviceSession::askIdentity() {
    const auto ask = [this](const device_handler::v1_0::SDeviceQuery& query, const CAuthentication& as,
                            std::string& value) {
        return CVornCamera::getCamSingleValue(address_, query.url, as.getUsername(), as.getPassword(), value,
                                              query.delimiters, query.authScheme);
    };
    CError error(RtnCode::NotSet, Origin::General, "the model list has no family");
    for (const SFamily& family : plugin_->models()->getFamilies()) {
        const auto query = plugin_->models()->getQueryDevice(family.name);
        const CAuthentication as = credentials_.forFamily(&family);
        if (!as.isSet()) {
            error = {RtnCode::AuthenticationFailed, Origin::General, "no credentials"};
            continue;
        }
        std::string number;
        std::string serialNumber;
        error = ask(query.modelNumber, as, number);
        if (error || number.empty())
            continue;
        error = ask(query.serialNumber, as, serialNumber);
        if (error)
            continue;
        listedNumber_ = ListedNumber(*plugin_->models(), number);
        const SModelInfo* const model = plugin_->models()->findModel(listedNumber_);
        takeFamily(model ? model->family : family.name, serialNumber);
        return std::nullopt;
    }
    return Diagnose(Occasion::Identification, error, exchanges_);
}

CAuthentication CDeviceSession::firstAuthentication() const {
    return familyName_.empty() ? credentials_.forFamily(plugin_->firstFamily()) : authentication();
}

refhost::SHttpReply CDeviceSession::ask(const std::string& path, int timeOut,
                                        std::function<bool(const std::string&)> isEnough) const {
    const CAuthentication authentication = firstAuthentication();
    refhost::SHttpRequest request;
    request.address = address_;
    request.path = path;
    request.user = authentication.isSet() ? authentication.getUsername() : "";
    request.password = authentication.isSet() ? authentication.getPassword() : "";
    request.authScheme = refhost::AnyAuthScheme;
    request.timeout = timeOut;
    request.isEnough = std::move(isEnough);
    return refhost::ExchangeHttp(request);
}

std::string CDeviceSession::modelRequest() const {
    return refhost::PathWithQuery(plugin_->models()->getQueryDevice(familyName_).modelNumber.url);
}

SDiagnosis CDeviceSession::diagnose(const std::string& path, Occasion occasion) const {
    const auto exchange = exchanges_.lastOf(path);
    return exchange ? DiagnoseExchange(*exchange, exchanges_, occasion) : SDiagnosis();
}

void CDeviceSession::takeFamily(const std::string& familyName, const std::string& serialNumber) {
    familyName_ = familyName;
    serialNumber_ = serialNumber;
    applyRuleOf(familyName);
    // Without a serial number a record of the same family is kept: it may have one.
    if (!serialNumber.empty() || database_->familyAt(address_).value_or("") != familyName)
        database_->registerDevice(address_, familyName, serialNumber);
    applyCredentials();
    forgetOperations(); // the handler's take the credentials
}

CError CDeviceSession::databaseFailure() const {
    try {
        database_->requireWritable();
        return CError::Success();
    } catch (const refhost::CDeviceDbError& error) {
        return {RtnCode::DeviceDbUnavailable, Origin::General, error.what()};
    }
}

void CDeviceSession::applyCredentials() {
    exchanges_.setCredentialSource(credentials_.source());
    context_->setAuthentication(credentials_.forFamily(plugin_->models()->findFamily(familyName_)));
}

// Nothing for a family that the list does not know.
void CDeviceSession::applyRuleOf(const std::string& familyName) {
    if (const auto* const family = plugin_->models()->findFamily(familyName))
        context_->setBasicRefused(family->digestOnly);
}

std::optional<SDiagnosis> CDeviceSession::weakerAuthentication() const {
    // Where Basic is refused, the request has failed and the failure says so.
    return context_->isBasicRefused() ? std::nullopt : DiagnoseAuthentication(context_->seenAuthentication());
}

void CDeviceSession::setCredentials(CCredentials credentials) {
    credentials_ = std::move(credentials);
    applyCredentials();
    forgetOperations();
}

void CDeviceSession::makeCamera() {
    forgetOperations();
    ptzController_.reset();
    camera_.reset();
    camera_ = plugin_->library().createCamera(context_, address_, plugin_->models(), options_.modelNumber);
    renewController();
}

const SModelInfo* CDeviceSession::model() const {
    CString number; // the base's, since a camera's own may have a prefix
    return camera_->CVornCamera::getUnitModelName(number) ? nullptr
                                                          : plugin_->models()->findModel(number.str());
}

void CDeviceSession::renewController() {
    forgetOperations();
    ptzController_.reset();
    ptzController_ = plugin_->library().createPtzController(context_, FirstInput, address_, camera_);
}

void CDeviceSession::forgetOperations() {
    const std::lock_guard<std::mutex> lock(operationsMutex_);
    operations_.reset();
}

const COperationRegistry& CDeviceSession::operations() const {
    const std::lock_guard<std::mutex> lock(operationsMutex_);
    if (operations_)
        return *operations_;
    operations_ = std::make_unique<COperationRegistry>();
    if (camera_ && ptzController_) { // none, should their making have failed
        camera_->registerOperations(*operations_);
        ptzController_->registerOperations(*operations_);
        plugin_->handler().registerOperations(*operations_, context_->getAuthentication());
    }
    return *operations_;
}

std::optional<SDiagnosis> CDeviceSession::renewCamera() {
    makeCamera();
    return initialize();
}

std::optional<SDiagnosis> CDeviceSession::initialize() {
    if (options_.noInitialize)
        return std::nullopt;
    exchanges_.takeFailing();
    CError error = camera_->initialize();
    if (!error)
        return std::nullopt;
    // initialize() does not say why it failed. Without credentials testAuthentication() does, and sends
    // nothing.
    if (!context_->getAuthentication().isSet())
        error = camera_->testAuthentication();
    return Diagnose(Occasion::Initialisation, error, exchanges_);
}

} // namespace corvane::site
