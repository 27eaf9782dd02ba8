#include "tools/vornhost/doctor/bundle.h"

#include "refhost/base/log.h"
#include "site/base/exit_status.h"
#include "site/base/terminal_text.h"
#include "site/base/utc_time.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/recording/output_file.h"

#include <archive.h>
#include <archive_entry.h>
#include <dlfcn.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr const char* Folder = "vornhost-doctor/";

std::string ExchangeText(const SWatchedExchange& exchange) {
    std::string text = "==== " + UtcTimeText(exchange.ended) + "  " + exchange.method + " http://" +
                       exchange.address + exchange.path + "  " +
                       (exchange.failure.empty() ? "HTTP status 200" : exchange.failure) + "  " +
                       MillisecondsText(exchange.milliseconds) + "\n";
    if (!exchange.body.empty())
        text += "---- sent\n" + exchange.body + "\n";
    return text + "---- headers\n" + exchange.headers + "---- body\n" + exchange.reply + "\n";
}

// The body of the latest reply to the path; empty where there was none.
std::string BodyOf(const std::vector<SWatchedExchange>& exchanges, const std::string& path) {
    const auto found =
        std::find_if(exchanges.rbegin(), exchanges.rend(), [&path](const SWatchedExchange& one) {
            return one.path == path && one.method == "GET" && !one.reply.empty();
        });
    return found == exchanges.rend() ? "" : found->reply;
}

// The library, loaded when a bundle is written: with it come others of 30 MB that no verb else needs.
class CLibArchive {
public:
    static const CLibArchive& instance() {
        static const CLibArchive& library = *new CLibArchive; // for as long as the process lives
        return library;
    }

    template <class Function>
    Function* function(const char* name) const {
        void* const symbol = handle_ ? dlsym(handle_, name) : nullptr;
        if (!symbol)
            throw CFailure(ExitStatus::NotStarted,
                           std::string("no bundle can be written: ") + File + " is not there",
                           OwnCause::CannotWrite);
        return reinterpret_cast<Function*>(symbol);
    }

private:
    static constexpr const char* File = "libarchive.so.13";

    void* const handle_ = dlopen(File, RTLD_NOW | RTLD_LOCAL);
};

#define VORN_ARCHIVE(NAME) CLibArchive::instance().function<decltype(NAME)>(#NAME)

class CArchive {
public:
    CArchive(std::string path, int descriptor)
        : path_(std::move(path)),
          archive_(VORN_ARCHIVE(archive_write_new)(), VORN_ARCHIVE(archive_write_free)) {
        require(VORN_ARCHIVE(archive_write_add_filter_gzip)(archive_.get()));
        require(VORN_ARCHIVE(archive_write_set_format_pax_restricted)(archive_.get()));
        require(VORN_ARCHIVE(archive_write_open_fd)(archive_.get(), descriptor));
    }

    void add(const std::string& name, const std::string& text) {
        const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(
            VORN_ARCHIVE(archive_entry_new)(), VORN_ARCHIVE(archive_entry_free));
        VORN_ARCHIVE(archive_entry_set_pathname)(entry.get(), (Folder + name).c_str());
        VORN_ARCHIVE(archive_entry_set_size)(entry.get(), static_cast<la_int64_t>(text.size()));
        VORN_ARCHIVE(archive_entry_set_filetype)(entry.get(), AE_IFREG);
        VORN_ARCHIVE(archive_entry_set_perm)(entry.get(), 0600);
        VORN_ARCHIVE(archive_entry_set_mtime)(entry.get(), std::time(nullptr), 0);
        require(VORN_ARCHIVE(archive_write_header)(archive_.get(), entry.get()));
        if (VORN_ARCHIVE(archive_write_data)(archive_.get(), text.data(), text.size()) !=
            static_cast<la_ssize_t>(text.size()))
            require(ARCHIVE_FATAL);
    }

    void close() { require(VORN_ARCHIVE(archive_write_close)(archive_.get())); }

private:
    void require(int result) {
        if (result == ARCHIVE_OK)
            return;
        const char* const reason = VORN_ARCHIVE(archive_error_string)(archive_.get());
        throw CFailure(ExitStatus::CallFailed,
                       UnwritableText(path_, reason ? reason : "the archive is not complete"),
                       OwnCause::CannotWrite);
    }

    const std::string path_;
    const std::unique_ptr<archive, decltype(&archive_write_free)> archive_;
};

} // namespace

std::string WriteBundle(const std::string& file, const SBundleContent& content) {
    std::string exchanges;
    for (const SWatchedExchange& exchange : content.exchanges)
        exchanges += ExchangeText(exchange);
    const struct {
        const char* name;
        const char* what;
        const std::string text;
    } parts[] = {
        {"report.txt", "what the doctor has found", content.report},
        {"findings.jsonl", "the same for programs", content.findings},
        {"exchanges.txt", "every exchange with the camera, with headers and body", exchanges},
        {"log.txt", "the plug-in's and the framework's log", content.log},
        {"settings.txt", "the camera's settings", BodyOf(content.exchanges, SettingsRequest)},
        {"capability.txt", "what the camera says it can do", BodyOf(content.exchanges, CapabilityRequest)},
        {"versions.txt", "of program, plug-in, model list and libraries", content.versions},
    };
    COutputFile output(file);
    if (const int failure = output.begin())
        throw CFailure(ExitStatus::CallFailed, UnwritableText(file, std::generic_category().message(failure)),
                       OwnCause::CannotWrite);
    CArchive archive(file, output.descriptor());
    std::string told = file + " holds, passwords and digest responses left out:\n";
    for (const auto& part : parts) {
        archive.add(part.name, refhost::MaskSecrets(part.text));
        told += "  " + PadTo(part.name, 16) + part.what + "\n";
    }
    archive.close();
    return told;
}

} // namespace corvane::vornhost
