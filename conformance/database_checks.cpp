// IDeviceDbProxy, host/device_context.h.

#include "report.h"

namespace conformance {
namespace {

using Proxy = boost::shared_ptr<IDeviceDbProxy>;

Proxy ProxyOf(const SHostUnderTest& host, const std::string& address) {
    const Proxy proxy = host.makeDevice(address, {"admin", "12345"})->getDeviceDbProxy();
    if (!proxy)
        throw std::runtime_error("getDeviceDbProxy gives none");
    return proxy;
}

std::string Input(const Proxy& proxy, InputClass inputClass, int input, const std::string& key) {
    CString value("unchanged");
    const CError error = proxy->readInputValue(inputClass, input, key, value);
    return error ? "(" + std::to_string(error.getCode()) + ") " + value.str() : value.str();
}

} // namespace

void CheckDatabase(const SHostUnderTest& host, CReport& report) {
    report.check("database.an-absent-value-is-not-set", [&] {
        const Proxy proxy = ProxyOf(host, "192.0.2.10");
        CString value("unchanged"), ofInput("unchanged");
        const CError error = proxy->readValue("no such key", value);
        const CError inputError = proxy->readInputValue(InputClass::Video, 0, "no such key", ofInput);
        return First({Differs("the code", error.getCode(), static_cast<int>(RtnCode::NotSet)),
                      Differs("the input's code", inputError.getCode(), static_cast<int>(RtnCode::NotSet)),
                      Differs("the value", value, CString("unchanged")),
                      Differs("the input's value", ofInput, CString("unchanged"))});
    });
    report.check("database.what-is-written-is-read", [&] {
        CString value;
        const CError written = ProxyOf(host, "192.0.2.11")->writeValue("key", "first");
        const CError again = ProxyOf(host, "192.0.2.11")->writeValue("key", "second");
        const CError error = ProxyOf(host, "192.0.2.11")->readValue("key", value);
        return First({Differs(written, RtnCode::Success, Origin::General),
                      Differs(again, RtnCode::Success, Origin::General),
                      Differs(error, RtnCode::Success, Origin::General),
                      Differs("the value", value.str(), "second")});
    });
    report.check("database.inputs-are-kept-apart", [&] {
        const Proxy proxy = ProxyOf(host, "192.0.2.12");
        (void)proxy->writeInputValue(InputClass::Video, 0, "key", "video 0");
        (void)proxy->writeInputValue(InputClass::Video, 1, "key", "video 1");
        (void)proxy->writeInputValue(InputClass::DryContact, 0, "key", "contact 0");
        return First({Differs("video input 0", Input(proxy, InputClass::Video, 0, "key"), "video 0"),
                      Differs("video input 1", Input(proxy, InputClass::Video, 1, "key"), "video 1"),
                      Differs("alarm input 0", Input(proxy, InputClass::DryContact, 0, "key"), "contact 0"),
                      Differs("audio input 0", Input(proxy, InputClass::Audio, 0, "key"), "(16) unchanged")});
    });
    report.check("database.devices-are-kept-apart", [&] {
        (void)ProxyOf(host, "192.0.2.13")->writeInputValue(InputClass::Video, 0, "key", "one's");
        return Differs("another's", Input(ProxyOf(host, "192.0.2.14"), InputClass::Video, 0, "key"),
                       "(16) unchanged");
    });
    report.check("database.nobody-has-identified-a-new-device",
                 [&] { return Differs("getFamily", ProxyOf(host, "192.0.2.15")->getFamily(), ""); });
}

} // namespace conformance
