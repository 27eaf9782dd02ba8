// A small recorder: brings a camera up, sets a stream, turns the head, prints alarm events, records five
// seconds.
//
//   small_recorder PLUGIN MODELS ADDRESS FILE      user and password come from CAMERA_USER and
//   CAMERA_PASSWORD

#include <host/event_stream_controller.h>
#include <host/ptz_controller.h>
#include <host/video.h>
#include <refhost/base/device_db.h>
#include <refhost/base/plugin_library.h>
#include <refhost/devices/contexts.h>
#include <refhost/models/model_list_file.h>

#include <cstdlib>
#include <future>
#include <iostream>
#include <thread>

namespace {

using namespace corvane;
using namespace corvane::device_handler::v1_0;
using namespace std::chrono_literals;
using handler_impl::SVideoStreamId;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_event_stream_controller::v1_0::CEventStreamController;
using vorn_ptz_controller::v1_0::CPtzController;

void require(const CError& error) {
    if (error)
        throw std::runtime_error(error.getText());
}

// Who is there, as the device database then has it.
void identify(const refhost::CPluginLibrary& plugin, const boost::shared_ptr<CVornModelList>& models,
              const std::string& address, const CAuthentication& login, refhost::CDeviceDb& database) {
    refhost::CHandlerContext context(models); // outlives the handler
    const auto handler = plugin.createHandler(context);
    COptional<CDeviceId> device;
    require(handler->queryDevice(address, device, login)); // up to 5 s
    database.registerDevice(address, device->getFamilyName(), device->getSerialNumber().str());
}

// The record says what the recorder wants, the camera what it can; what it accepted is written back.
void setStream(CVornCamera& camera, SVideoStreamId id) {
    vorn_camera_base::v1_0::SVornVidValsInDb record;
    record.resolution = "640x360";
    record.frameRate = "15";
    const CError differs = camera.syncVideoCodecProperties(record, id);
    if (differs && differs.getText() != vorn_camera_base::v1_0::NeedWriteBack)
        require(differs);
    require(camera.writeVideoStreamRecord(id, record));
    std::cout << "stream: " << record.resolution.str() << " at " << record.frameRate.str() << "\n";
}

// A continuous move goes on until it is told to stop, so that it is told before the controller goes.
void turnHead(CPtzController& head) {
    std::promise<CError> moved, stopped;
    head.moveAt(50, 0, 0, CCallback([&](const CError& error, const auto&) { moved.set_value(error); }));
    require(moved.get_future().get());
    std::this_thread::sleep_for(1s);
    head.moveAt(0, 0, 0, CCallback([&](const CError& error, const auto&) { stopped.set_value(error); }));
    require(stopped.get_future().get());
    std::cout << "head: turned" << std::endl;
}

// Prints until it is destroyed. The observer runs on a thread of the stream and calls nothing of it.
std::unique_ptr<IStreamController> watchInput(CVornCamera& camera, int input) {
    IStreamController* made = nullptr;
    require(camera.createEventStreamPipeline(made, input));
    std::unique_ptr<IStreamController> stream(made);
    dynamic_cast<CEventStreamController&>(*made).setEventObserver([input](const SStreamEvent& event) {
        if (event.kind == SStreamEvent::Kind::DryContactState)
            std::cout << "input " << input << (event.state == DryContactActive ? ": active" : ": inactive")
                      << std::endl;
    });
    require(stream->start());
    return stream;
}

// What is linked behind the source pad belongs to the pipeline.
void record(CVornCamera& camera, SVideoStreamId id, const std::string& file) {
    IStreamController* made = nullptr;
    require(camera.createVideoStreamPipeline(made, id));
    const std::unique_ptr<IStreamController> stream(made);
    GstElement* const muxer = gst_element_factory_make("matroskamux", nullptr);
    GstElement* const sink = gst_element_factory_make("filesink", nullptr);
    if (!muxer || !sink)
        throw std::runtime_error("GStreamer lacks matroskamux or filesink");
    g_object_set(muxer, "offset-to-zero", TRUE, nullptr);
    g_object_set(sink, "location", file.c_str(), "sync", FALSE, nullptr);
    gst_bin_add_many(GST_BIN(stream->getPipeline()), muxer, sink, nullptr);
    gst_element_link(muxer, sink);
    GstPad* const in = gst_element_request_pad_simple(muxer, "video_%u");
    const bool isLinked = !GST_PAD_LINK_FAILED(gst_pad_link(stream->getSourcePad(), in));
    gst_object_unref(in);
    if (!isLinked)
        throw std::runtime_error("a Matroska file cannot hold this stream");
    require(stream->start());
    if (const auto end = stream->waitForEnd(5s))
        throw std::runtime_error("the stream has ended: " + end->error.getText());
    stream->finish();
    if (!stream->waitForEnd(10s))
        throw std::runtime_error("the file could not be ended");
    std::cout << "recorded: " << file << "\n";
}

void run(const std::string& pluginFile, const std::string& modelFile, const std::string& address,
         const std::string& file) {
    const CAuthentication login(CString(std::getenv("CAMERA_USER")), CString(std::getenv("CAMERA_PASSWORD")));
    const refhost::CPluginLibrary plugin(pluginFile); // outlives all that it makes
    const auto models = refhost::LoadModelList(modelFile);
    const auto database = refhost::CDeviceDb::open(""); // in memory
    identify(plugin, models, address, login, *database);

    const auto context = boost::make_shared<refhost::CDeviceContext>(address, login, database);
    const auto camera = plugin.createCamera(context, address, models, ""); // no number: it is asked
    require(camera->initialize());                                         // up to 12 s
    std::vector<CString> name;
    require(camera->getCameraName(0, name)); // waits for the first settings dump
    std::cout << "camera: " << name.front().str() << "\n";

    const SVideoStreamId id{0, VideoCodec::H264, 0};
    setStream(*camera, id);
    const auto events = watchInput(*camera, 0);
    turnHead(*plugin.createPtzController(context, 0, address, camera));
    record(*camera, id, file);
}

} // namespace

int main(int count, char** arguments) {
    try {
        if (count != 5)
            throw std::runtime_error("expected PLUGIN MODELS ADDRESS FILE");
        run(arguments[1], arguments[2], arguments[3], arguments[4]);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
}
