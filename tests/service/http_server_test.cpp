#include "service/http_server.h"

#include "service/event_source.h"
#include "service/tls_files.h"
#include "site/base/exit_status.h"
#include "tests/service/broker.h"
#include "tests/service/http_client.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

#include <thread>

namespace corvane::service {
namespace {

using namespace std::chrono_literals;
using service_test::CEventClient;
using service_test::CHttpClient;
using service_test::CRawConnection;
using test_support::WaitUntil;

const std::vector<SListenAddress> Anywhere{{"127.0.0.1", 0}};

TEST(HttpServer, WhoNeverReadsIsCutOffAndOthersMissNothing) {
    CEventHub hub({50, 1024 * 1024});
    SHttpLimits limits;
    limits.seconds = 1;
    const CHttpServer server(
        Anywhere, {},
        [&](const SHttpRequest& /*request*/, const CHttpServer::Answer& answer) {
            SHttpAnswer told;
            told.source = std::make_unique<CEventSource>(hub, SEventWishes(),
                                                         [](const std::string& /*name*/) { return true; });
            answer(std::move(told));
        },
        limits);
    const std::string address = server.addresses().front().text();
    const CRawConnection deaf(address, 1024);
    deaf.write("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    CEventClient reader(CHttpClient(address, "x"));
    ASSERT_TRUE(WaitUntil([&] { return hub.listeners() == 2; }));
    std::uint64_t number = 0;
    const std::string data = "{\"x\":\"" + std::string(20'000, 'x') + "\"}";
    EXPECT_TRUE(WaitUntil([&] {
        hub.add("camera", "c0", data);
        ++number;
        EXPECT_EQ(reader.next("camera").id, hub.epoch() + "-" + std::to_string(number));
        return hub.listeners() == 1;
    }));
}

TEST(HttpServer, BodiesAreBoundedTogether) {
    SHttpLimits limits;
    limits.allBodies = 100'000;
    const CHttpServer server(
        Anywhere, {},
        [](const SHttpRequest& request, const CHttpServer::Answer& answer) {
            answer(SHttpAnswer::of(200, "text/plain", std::to_string(request.body.size())));
        },
        limits);
    const std::string address = server.addresses().front().text();
    const std::string head =
        "POST / HTTP/1.1\r\nHost: x\r\nConnection: close\r\nContent-Length: 80000\r\n\r\n";
    const auto isServed = [&] {
        CRawConnection client(address);
        client.write(head + std::string(80'000, 'x'));
        const std::string& answer = client.readToEnd();
        return answer.size() > 5 && answer.compare(answer.size() - 5, 5, "80000") == 0;
    };
    EXPECT_TRUE(isServed());
    // Of two that come together either may be the one that is cut off.
    EXPECT_TRUE(WaitUntil([&] {
        const CRawConnection slow(address);
        slow.write(head + std::string(70'000, 'x'));
        return !isServed();
    }));
    EXPECT_TRUE(WaitUntil(isServed));
}

TEST(HttpServer, CertificateAndKeyAreReadAndBelongTogether) {
    const test_support::CTemporaryFolder folder;
    const auto make = [&](const std::string& name) {
        CChild made({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=yard",
                     "-keyout", folder.file(name + ".key"), "-out", folder.file(name + ".crt")});
        EXPECT_EQ(made.wait(), 0);
    };
    make("one");
    make("other");
    const std::string certificate = folder.file("one.crt"), key = folder.file("one.key");
    EXPECT_NE(ReadTlsFiles(certificate, key).key, "");
    EXPECT_EQ(ReadTlsFiles("", "").certificate, "");
    const struct {
        std::string certificate, key, reason;
    } refused[] = {{certificate, "", "--tls-cert and --tls-key belong together"},
                   {"/dev/null", key, "/dev/null holds no certificate"},
                   {key, key, "one.key holds no certificate"},
                   {certificate, "/dev/null", "/dev/null holds no key"},
                   {certificate, folder.file("other.key"), "is not that of the certificate"}};
    for (const auto& one : refused)
        EXPECT_THAT([&] { (void)ReadTlsFiles(one.certificate, one.key); },
                    testing::ThrowsMessage<site::CFailure>(testing::HasSubstr(one.reason)));
}

TEST(HttpServer, APortIsOneServersAndFreeWhenThatHasEnded) {
    const auto serve = [](const std::vector<SListenAddress>& addresses) {
        return std::make_unique<CHttpServer>(
            addresses, STlsFiles(), [](const SHttpRequest& /*request*/, const CHttpServer::Answer& answer) {
                answer(SHttpAnswer::of(200, "text/plain", "served"));
            });
    };
    auto first = serve(Anywhere);
    const std::vector<SListenAddress> taken = first->addresses();
    EXPECT_THROW(serve(taken), CHttpServerError);
    CRawConnection client(taken.front().text());
    client.write("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    client.readUntil([](const std::string& all) { return all.find("served") != std::string::npos; });
    first.reset(); // closes the connection, whose end the system remembers
    EXPECT_EQ(serve(taken)->addresses().front().port, taken.front().port);
}

TEST(HttpServer, EndsWhileRequestsWaitForTheirAnswers) {
    std::vector<CHttpServer::Answer> waiting;
    std::vector<CRawConnection> clients;
    std::thread late;
    {
        std::mutex mutex;
        const CHttpServer server(Anywhere, {},
                                 [&](const SHttpRequest& /*request*/, const CHttpServer::Answer& answer) {
                                     const std::lock_guard<std::mutex> lock(mutex);
                                     waiting.push_back(answer);
                                 });
        for (int i = 0; i < 20; ++i) {
            clients.emplace_back(server.addresses().front().text());
            clients.back().write("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        }
        ASSERT_TRUE(WaitUntil([&] {
            const std::lock_guard<std::mutex> lock(mutex);
            return waiting.size() == clients.size();
        }));
        clients.pop_back();                      // one has gone meanwhile
        late = std::thread([answers = waiting] { // some
            for (std::size_t i = 0; i < answers.size(); i += 2)
                answers[i](SHttpAnswer::of(200, "text/plain", "late"));
        });
    }
    late.join();
    for (const auto& answer : waiting) // in vain
        answer(SHttpAnswer::of(200, "text/plain", "too late"));
    for (CRawConnection& client : clients)
        EXPECT_EQ(client.readToEnd().find("too late"), std::string::npos);
}

} // namespace
} // namespace corvane::service
