#include "service/host_lookup.h"

#include <gio/gio.h>

namespace corvane::service {

CHostLookUp::CHostLookUp() : end_(::g_cancellable_new(), &::g_object_unref) {}

SFoundHost CHostLookUp::find(const std::string& host) const {
    const std::unique_ptr<GResolver, void (*)(void*)> resolver(::g_resolver_get_default(), &::g_object_unref);
    GError* error = nullptr;
    const std::unique_ptr<GList, void (*)(GList*)> addresses(
        ::g_resolver_lookup_by_name(resolver.get(), host.c_str(), end_.get(), &error),
        &::g_resolver_free_addresses);
    const std::unique_ptr<GError, void (*)(GError*)> owner(error, &::g_error_free);
    SFoundHost found;
    for (const GList* one = addresses.get(); one; one = one->next) {
        const std::unique_ptr<char, void (*)(void*)> text(
            ::g_inet_address_to_string(static_cast<GInetAddress*>(one->data)), &::g_free);
        found.addresses.emplace_back(text.get());
    }
    if (found.addresses.empty())
        found.failure = "the host is not found: " + (error ? std::string(error->message) : host);
    return found;
}

void CHostLookUp::giveUp() {
    ::g_cancellable_cancel(end_.get());
}

} // namespace corvane::service
