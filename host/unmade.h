#pragma once

// Definitions for a host that makes cameras alone, to be included in one of its sources: the plug-in is
// linked to handlers, controllers and event streams all the same. Calling any of it ends the program.

#include "host/assert.h"
#include "host/event_stream_controller.h"
#include "host/gst_context.h"
#include "host/object_factory.h"

#define VORN_UNMADE                                                                                          \
    { device_handler::v1_0::AssertionFailed(__func__, __LINE__); }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter" // the tables' rows name them
// clang-format off

namespace corvane::device_handler::v1_0 {
CEventBase::~CEventBase() VORN_UNMADE
GstEvent* CEventBase::refEvent() const VORN_UNMADE
CPingEvent* CPingEvent::Create(unsigned long) VORN_UNMADE
CDCStateEvent* CDCStateEvent::Create(unsigned long, DryContactState) VORN_UNMADE
} // namespace corvane::device_handler::v1_0

namespace corvane::vorn_gst::v1_0 {
CGstContext* CGstContext::Get() VORN_UNMADE
} // namespace corvane::vorn_gst::v1_0

namespace corvane::vorn_utility::v1_0 {
void Op_Cancel(const boost::shared_ptr<CAsyncCmdDetails>&) VORN_UNMADE
void Op_NotifyCanceled(const boost::shared_ptr<CAsyncCmdDetails>&) VORN_UNMADE
void CThreadAsyncQueue::wait() VORN_UNMADE
void CThreadAsyncQueue::wait(std::chrono::milliseconds) VORN_UNMADE
void CThreadAsyncQueue::notify() VORN_UNMADE
} // namespace corvane::vorn_utility::v1_0

namespace corvane::vorn_stream_controller::v1_0 {
using namespace device_handler::v1_0;
struct CSimpleStreamController::SBase {};
CSimpleStreamController::CSimpleStreamController(GstElement*, GstBus*, GstPad*) VORN_UNMADE
CSimpleStreamController::~CSimpleStreamController() {}
GstElement* CSimpleStreamController::getPipeline() const VORN_UNMADE
GstPad* CSimpleStreamController::getSourcePad() const VORN_UNMADE
CError CSimpleStreamController::start() VORN_UNMADE
void CSimpleStreamController::finish() VORN_UNMADE
void CSimpleStreamController::stop() VORN_UNMADE
void CSimpleStreamController::setEndObserver(boost::function<void()>) VORN_UNMADE
COptional<SStreamEnd> CSimpleStreamController::waitForEnd(std::chrono::milliseconds) VORN_UNMADE
CError CSimpleStreamController::prepare() VORN_UNMADE
void CSimpleStreamController::messagePosted(GstMessage*) VORN_UNMADE
CError CSimpleStreamController::describeFailure(GstMessage*) VORN_UNMADE
void CSimpleStreamController::stopping() VORN_UNMADE
} // namespace corvane::vorn_stream_controller::v1_0

namespace corvane::vorn_event_stream_controller::v1_0 {
struct CEventStreamController::SBase {};
CEventStreamController::CEventStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad, GstElement*)
    : CSimpleStreamController(pipeline, bus, pad) {}
CEventStreamController::~CEventStreamController() {}
CError CEventStreamController::prepare() VORN_UNMADE
} // namespace corvane::vorn_event_stream_controller::v1_0

namespace corvane::vorn_controller::v1_0 {
using namespace device_handler::v1_0;
struct CVornController::SBase {};
CVornController::CVornController(IDeviceContext*, char const*, char const*, boost::shared_ptr<CVornModelList>&)
    VORN_UNMADE
CVornController::~CVornController() {}
const SModelInfo* CVornController::getModelInfo() const VORN_UNMADE
CError CVornController::testAuthentication() VORN_UNMADE
} // namespace corvane::vorn_controller::v1_0

namespace corvane::vorn_ptz_controller::v1_0 {
using namespace device_handler::v1_0;
struct CBasePtzController::SBase {};
CBasePtzController::CBasePtzController(boost::shared_ptr<IDeviceContext>&, int, char const*,
                                       boost::shared_ptr<CVornCamera>&, unsigned) VORN_UNMADE
CBasePtzController::~CBasePtzController() {}
void CBasePtzController::stop() VORN_UNMADE
bool CBasePtzController::isRunning() const VORN_UNMADE
const boost::shared_ptr<IDeviceContext>& CBasePtzController::deviceContext() const VORN_UNMADE
int CBasePtzController::index() const VORN_UNMADE
CVornCamera& CBasePtzController::camera() const VORN_UNMADE
CThreadAsyncQueue& CBasePtzController::queue() const VORN_UNMADE
std::mutex& CBasePtzController::mutex() VORN_UNMADE
CAuthentication CBasePtzController::refreshCredentials() VORN_UNMADE
CPtzController::~CPtzController() {}
#define VORN_PTZ_OWN(NAME, PARAMETERS) CAsyncOp CPtzController::NAME PARAMETERS VORN_UNMADE
#include <host/ptz_commands.def>
void CPtzController::ThreadRun() VORN_UNMADE
CAsyncOp CPtzController::getPTZPos(const CCallback&) VORN_UNMADE
void CPtzController::moveAtSync(int, int, int, const CCallback&, CAuthentication&) VORN_UNMADE
void CPtzController::runCommand(const boost::shared_ptr<vorn_utility::v1_0::CAsyncCmdDetails>&) VORN_UNMADE
} // namespace corvane::vorn_ptz_controller::v1_0

namespace corvane::vorn_handler::v1_0 {
using namespace device_handler::v1_0;
using Text = const std::string&;
using Credentials = const CAuthentication&;
struct CVornHandler::SBase {};
CVornHandler::CVornHandler(IHandlerContext*) VORN_UNMADE
CVornHandler::~CVornHandler() {}
std::vector<CString> CVornHandler::getSupportedFamilies() const VORN_UNMADE
std::vector<CString> CVornHandler::getSupportedOemIds() const VORN_UNMADE
const SFamily* CVornHandler::getOemInfo(CString const&) const VORN_UNMADE
std::vector<CString> CVornHandler::getSupportedModelNums() const VORN_UNMADE
const SModelInfo* CVornHandler::getModelInfo(CString const&) const VORN_UNMADE
CAuthentication CVornHandler::getDefaultAuthentication(CString const&) const VORN_UNMADE
CError CVornHandler::testAuthentication(Text, Credentials) VORN_UNMADE
CError CVornHandler::queryDevice(Text, COptional<CDeviceId>&, Credentials) VORN_UNMADE
CError CVornHandler::findDevices(const std::vector<std::string>&, Credentials, std::vector<CString>&) VORN_UNMADE
void CVornHandler::shutdownHandler() VORN_UNMADE
CVornController* CVornHandler::createDeviceController(IDeviceContext*, char const*, char const*) VORN_UNMADE
CAsyncOp CVornHandler::testAuthenticationAsync(Text, Credentials, CCallback const&) VORN_UNMADE
CAsyncOp CVornHandler::queryDeviceAsync(Text, Credentials, CCallback const&) VORN_UNMADE
CAsyncOp CVornHandler::findDevicesAsync(const std::vector<std::string>&, Credentials, CCallback const&) VORN_UNMADE
int CVornHandler::queryVornDevice(Text, COptional<CDeviceId>&, Credentials) VORN_UNMADE
CVornCamera* CVornHandler::createVornCamera(boost::shared_ptr<IDeviceContext>&, char const*, char const*) VORN_UNMADE
IHandlerContext& CVornHandler::context() const VORN_UNMADE
const boost::shared_ptr<CVornModelList>& CVornHandler::modelList() const VORN_UNMADE
const CAuthentication& CVornHandler::defaultAuthentication() const VORN_UNMADE
} // namespace corvane::vorn_handler::v1_0
// clang-format on
#pragma GCC diagnostic pop
#undef VORN_UNMADE
