// The device handler's base: its queries, one at a time, and its worker.

#include "host/handler.h"
#include "operations/operations.h"
#include "refhost/devices/contexts.h"
#include "tests/refhost/http_support.h"
#include "tests/refhost/test_models.h"
#include "tests/support/scripted_server.h"
#include "tests/support/sleeping_threads.h"
#include "tests/support/wait_until.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace corvane::tests {
namespace {

using namespace device_handler::v1_0;
using refhost::CDeviceContext;
using refhost::CHandlerContext;
using testing::ElementsAre;
using testing::IsEmpty;
using vorn_handler::v1_0::CVornHandler;

// A gate that threads wait at until it is opened.
class CGate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isOpen_ = true;
        changed_.notify_all();
    }
    void pass() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return isOpen_; });
    }

private:
    std::mutex mutex_; // guards isOpen_
    std::condition_variable changed_;
    bool isOpen_ = false;
};

// A handler that knows the device at "here", and whose queries of "slow" wait at a gate.
class CTestHandler : public CVornHandler {
public:
    explicit CTestHandler(IHandlerContext* context) : CVornHandler(context) {}
    ~CTestHandler() override { shutdownHandler(); }

    int queryVornDevice(const std::string& address, COptional<CDeviceId>& device,
                        const CAuthentication& auth) override {
        const SRunning here(running);
        ++queries;
        lastUser = auth.getUsername();
        for (int i = 0; i < 20; ++i)
            std::this_thread::yield(); // lets in whoever is not kept out
        if (address == "slow") {
            slowBegun.open();
            slowMayEnd.pass();
        }
        if (address == "broken")
            throw std::runtime_error("thrown by the query");
        if (address == "here")
            device = CDeviceId(*context().getFamily(0), "0042");
        return address == "here" ? 1 : 16;
    }

    struct SRunning {
        explicit SRunning(std::atomic<int>& counted) : count(counted) { EXPECT_EQ(++count, 1); }
        ~SRunning() { --count; }
        std::atomic<int>& count;
    };

    std::atomic<int> running{0};
    std::atomic<int> queries{0};
    std::string lastUser; // of one query at a time
    CGate slowBegun, slowMayEnd;
};

// What the callbacks of several operations received, in their order.
class COutcomes {
public:
    CCallback callback(const std::string& name) {
        return CCallback([this, name](const CError& error, const std::vector<CString>& values) {
            std::string outcome = name + " " + std::to_string(error.getCode()) + " " + error.getText();
            for (const CString& value : values)
                outcome += " " + value.str();
            const std::lock_guard<std::mutex> lock(mutex_);
            outcomes_.push_back(outcome);
        });
    }
    std::vector<std::string> all() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return outcomes_;
    }

private:
    mutable std::mutex mutex_; // guards outcomes_
    std::vector<std::string> outcomes_;
};

class HandlerBase : public testing::Test {
protected:
    CHandlerContext context_{TestModels()};
    COutcomes outcomes_; // outlives the handler's worker
    CTestHandler handler_{&context_};
};

TEST_F(HandlerBase, KnowsTheFamiliesAndModelsOfItsContext) {
    const auto supported = [](const std::vector<SFamily>& families) {
        CHandlerContext context(boost::make_shared<CVornModelList>(
            SVornUrl(), families, std::map<std::string, SQueryDevice>(), TestModels()->getModels()));
        return CVornHandler(&context).getSupportedModelNums();
    };
    EXPECT_THAT(supported({{"Dome", "", ""}}), ElementsAre(CString("SC385")));
    EXPECT_THAT(supported({}), IsEmpty());
    EXPECT_EQ(handler_.getDefaultAuthentication("BoxCamera").getPassword(), "12345");
    EXPECT_FALSE(handler_.getDefaultAuthentication("Dome").isSet());
    EXPECT_FALSE(handler_.getDefaultAuthentication("Other").isSet());
    EXPECT_TRUE(context_.isQueryRefused("a b", {}, {}));
    EXPECT_FALSE(context_.isQueryRefused("camera:8080", {}, {}));
}

TEST_F(HandlerBase, MakesControllersAlsoOfNothing) {
    CDeviceContext device("", {}, nullptr);
    const auto made = [&](const char* address, const char* model) {
        const std::unique_ptr<vorn_controller::v1_0::CVornController> controller(
            handler_.createDeviceController(&device, address, model));
        return controller->getAddress() + " " +
               (controller->getModelInfo() ? controller->getModelInfo()->number : "unknown");
    };
    EXPECT_EQ(made("10.0.0.1", "SC385"), "10.0.0.1 SC385");
    EXPECT_EQ(made(nullptr, nullptr), " unknown");
}

TEST_F(HandlerBase, IsReachedByTheNamesOfItsOperations) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        const bool right = request.header("Authorization") == "Basic dTpw"; // u:p
        return {HttpReply(right ? 200 : 401, "NAME=x", "WWW-Authenticate: Basic realm=\"camera\"\r\n")};
    });
    COperationRegistry registry;
    handler_.registerOperations(registry, {"u", "p"});
    const auto told = [&](const std::string& operation, const std::vector<std::string>& arguments) {
        CGate done;
        std::string line;
        registry.call("handler." + operation, arguments, [&](const SAnswer& answer) {
            const auto* text = std::get_if<std::string>(&answer.result);
            const auto* number = std::get_if<long long>(&answer.result);
            const auto* texts = std::get_if<std::vector<std::string>>(&answer.result);
            line = answer.error ? std::to_string(answer.error->getCode()) + answer.error->getText()
                   : text       ? *text
                   : number     ? std::to_string(*number)
                                : "";
            for (const std::string& value : texts ? *texts : answer.values)
                line += "|" + value;
            done.open();
        });
        done.pass();
        return line;
    };
    const struct {
        const char* operation;
        std::vector<std::string> arguments;
        const char* answer;
    } cases[] = {
        {"getSupportedFamilies", {}, "|BoxCamera|Dome"},
        {"getSupportedOemIds", {}, ""},
        {"getSupportedModelNums", {}, "|GXE500|SC385"},
        {"getOemInfo", {"x"}, ""},
        {"getModelInfo", {"SC385"}, "SC385"},
        {"getModelInfo", {"SC38"}, ""},
        {"getDefaultAuthentication", {"BoxCamera"}, "admin"},
        {"testAuthentication", {device.address()}, "1"},
        {"queryDevice", {"here"}, "1|BoxCamera|0042"},
        {"findDevices", {"elsewhere,here"}, "1|here BoxCamera 0042"},
        {"queryVornDevice", {"here"}, "1|BoxCamera|0042"},
        {"testAuthenticationAsync", {device.address()}, "1"},
        {"queryDeviceAsync", {"here"}, "1|BoxCamera|0042"},
        {"findDevicesAsync", {"elsewhere,here"}, "1|here BoxCamera 0042"},
        {"shutdownHandler", {}, ""},
        {"findDevicesAsync", {"here"}, "2cancelled"},
        {"findDevices", {"here"}, "1|here BoxCamera 0042"}, // on a thread that does not end
    };
    for (const auto& c : cases) {
        handler_.lastUser = "u";
        EXPECT_EQ(told(c.operation, c.arguments), c.answer) << c.operation;
        EXPECT_EQ(handler_.lastUser, "u") << c.operation;
    }
    EXPECT_EQ(device.requests().back().target, "/cgi-bin/getinfo?FILE=1");
    EXPECT_THAT(handler_.testAuthentication(device.address(), {}),
                IsError(RtnCode::AuthenticationFailed, Origin::Device, "401"));
    EXPECT_EQ(device.requests().back().header("Authorization"),
              "Basic YWRtaW46MTIzNDU="); // admin:12345, the first family's
}

TEST_F(HandlerBase, TestsTheCredentialsThatAreGivenAndElseItsDefaults) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        if (request.header("Authorization").empty())
            return {HttpReply(401, "", "WWW-Authenticate: Basic realm=\"camera\"\r\n")};
        return {HttpReply(request.header("Authorization") == "Basic b3RoZXI6d3Jvbmc=" ? 401 : 200,
                          "")}; // other:wrong
    });
    EXPECT_THAT(handler_.testAuthentication(device.address(), {}), IsSuccess());
    EXPECT_EQ(device.requests().back().header("Authorization"), "Basic YWRtaW46MTIzNDU="); // admin:12345
    EXPECT_THAT(handler_.testAuthentication(device.address(), {"other", "word"}), IsSuccess());
    EXPECT_EQ(device.requests().back().header("Authorization"), "Basic b3RoZXI6d29yZA=="); // other:word
    COperationRegistry registry;
    handler_.registerOperations(registry, {"other", "wrong"});
    registry.call("handler.testAuthentication", {device.address()}, [](const SAnswer& answer) {
        EXPECT_THAT(*answer.error, IsError(RtnCode::AuthenticationFailed, Origin::Device, "401"));
    });
    CGate done;
    handler_.testAuthenticationAsync(
        device.address(), {"other", "wrong"},
        CCallback([&done](const CError& error, const std::vector<CString>&) {
            EXPECT_THAT(error, IsError(RtnCode::AuthenticationFailed, Origin::Device, "401"));
            done.open();
        }));
    done.pass();
}

TEST_F(HandlerBase, FindsTheDevicesThatAnswer) {
    COptional<CDeviceId> device(CDeviceId(*context_.getFamily(1), "old"));
    EXPECT_THAT(handler_.queryDevice("elsewhere", device, {}),
                IsError(RtnCode::NotSet, Origin::General, "elsewhere"));
    EXPECT_EQ(device->getFamilyName(), "Dome");
    EXPECT_THAT(handler_.queryDevice("here", device, {}), IsSuccess());
    EXPECT_EQ(device->getSerialNumber(), CString("0042"));
    std::vector<CString> found{CString("before")};
    EXPECT_THAT(handler_.findDevices({"elsewhere", "here"}, {}, found), IsSuccess());
    EXPECT_THAT(found, ElementsAre(CString("before"), CString("here BoxCamera 0042")));
}

TEST_F(HandlerBase, QueriesOneDeviceAtATimeWhoeverAsks) {
    COperationRegistry registry;
    handler_.registerOperations(registry, {});
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 20; ++n) {
                COptional<CDeviceId> device;
                EXPECT_THAT(handler_.queryDevice("here", device, {}), IsSuccess());
                registry.call("handler.queryVornDevice", {"here"}, [](const SAnswer& answer) {
                    EXPECT_EQ(std::get<long long>(answer.result), 1);
                    EXPECT_THAT(answer.values, ElementsAre("BoxCamera", "0042"));
                });
                handler_.queryDeviceAsync("here", {}, {});
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(handler_.queries, 160);
}

TEST_F(HandlerBase, CompletesAsynchronousOperationsInOrderOnOneThread) {
    handler_.queryDeviceAsync("slow", {}, outcomes_.callback("first"));
    handler_.queryDeviceAsync("here", {}, outcomes_.callback("second"));
    CGate done;
    std::thread::id worker;
    handler_.findDevicesAsync({"here"}, {}, CCallback([&](const CError&, const std::vector<CString>& values) {
                                  worker = std::this_thread::get_id();
                                  EXPECT_THAT(values, ElementsAre(CString("here BoxCamera 0042")));
                                  done.open();
                              }));
    handler_.slowBegun.pass();
    EXPECT_THAT(outcomes_.all(), IsEmpty());
    handler_.slowMayEnd.open();
    done.pass();
    EXPECT_THAT(outcomes_.all(),
                ElementsAre("first 16 no supported device answers at slow", "second 1  BoxCamera 0042"));
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_TRUE(test_support::WaitUntil(test_support::DoOtherThreadsSleep));
}

TEST_F(HandlerBase, CancelsWhatHasNotBegun) {
    const CAsyncOp running = handler_.queryDeviceAsync("slow", {}, outcomes_.callback("running"));
    const CAsyncOp waiting = handler_.queryDeviceAsync("here", {}, outcomes_.callback("waiting"));
    handler_.slowBegun.pass();
    waiting.cancel();
    waiting.cancel();
    running.cancel();
    handler_.slowMayEnd.open();
    CGate done;
    handler_.queryDeviceAsync("here", {},
                              CCallback([&](const CError&, const std::vector<CString>&) { done.open(); }));
    done.pass();
    EXPECT_THAT(outcomes_.all(),
                ElementsAre("waiting 2 cancelled", "running 16 no supported device answers at slow"));
    EXPECT_EQ(handler_.queries, 2);
}

TEST_F(HandlerBase, ShutdownWaitsForTheRunningOperationAndCancelsTheRest) {
    handler_.findDevicesAsync({"slow", "here"}, {}, outcomes_.callback("search"));
    const CAsyncOp waiting = handler_.queryDeviceAsync("here", {}, outcomes_.callback("waiting"));
    handler_.slowBegun.pass();
    std::thread first([this] { handler_.shutdownHandler(); });
    std::thread second([this] { handler_.shutdownHandler(); });
    // Asked for until the shutdown has begun; from then on it is cancelled at once, here.
    std::atomic<bool> refused{false};
    while (!refused)
        handler_.queryDeviceAsync("here", {},
                                  CCallback([&, asking = std::this_thread::get_id()](
                                                const CError& error, const std::vector<CString>&) {
                                      EXPECT_EQ(error.getText(), "cancelled");
                                      if (std::this_thread::get_id() == asking)
                                          refused = true;
                                  }));
    EXPECT_TRUE(test_support::WaitUntil([this] { return outcomes_.all().size() == 1; }));
    handler_.slowMayEnd.open();
    first.join();
    second.join();
    EXPECT_THAT(outcomes_.all(),
                ElementsAre("waiting 2 cancelled", "search 2 the search was ended by the shutdown"));
    EXPECT_EQ(handler_.queries, 1);
    waiting.cancel();
}

TEST_F(HandlerBase, WhatIsThrownEndsNoWorkerAndACallbackMayShutItDown) {
    testing::internal::CaptureStderr();
    handler_.queryDeviceAsync("broken", {}, outcomes_.callback("broken"));
    handler_.queryDeviceAsync("here", {}, CCallback([](const CError&, const std::vector<CString>&) {
                                  throw std::runtime_error("thrown by a callback");
                              }));
    CGate done;
    handler_.queryDeviceAsync("here", {}, CCallback([&](const CError&, const std::vector<CString>&) {
                                  handler_.shutdownHandler();
                                  done.open();
                              }));
    done.pass();
    EXPECT_THAT(outcomes_.all(), ElementsAre("broken 2 thrown by the query"));
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        testing::EndsWith(" a completion callback of the device handler threw: thrown by a callback\n"));
    EXPECT_EQ(handler_.queries, 3);
}

TEST(HandlerWorker, AHandleOfAnOperationMayOutliveTheHandler) {
    CHandlerContext context(TestModels());
    auto handler = std::make_unique<CVornHandler>(&context);
    const CAsyncOp operation = handler->queryDeviceAsync("here", {}, {});
    handler.reset();
    operation.cancel();
}

} // namespace
} // namespace corvane::tests
