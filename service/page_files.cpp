#include "service/page_files.h"

#include "service/tokens.h"
#include "site/base/exit_status.h"
#include "site/text_file.h"

#include <microhttpd.h>

#include <filesystem>
#include <iterator>

namespace corvane::service {
namespace {

namespace fs = std::filesystem;

constexpr std::pair<const char*, const char*> Types[] = {{".html", "text/html; charset=utf-8"},
                                                         {".css", "text/css; charset=utf-8"},
                                                         {".js", "text/javascript; charset=utf-8"},
                                                         {".svg", "image/svg+xml"},
                                                         {".png", "image/png"},
                                                         {".woff2", "font/woff2"}};

const char* TypeOf(const fs::path& path) {
    for (const auto& [ending, type] : Types)
        if (path.extension() == ending)
            return type;
    return nullptr;
}

std::string TagOf(const std::string& text) {
    constexpr const char* Digits = "0123456789abcdef";
    constexpr std::size_t Bytes = 8;
    const TokenHash hash = HashOf(text);
    std::string tag = "\"";
    for (std::size_t i = 0; i < Bytes; ++i) {
        tag += Digits[hash[i] >> 4U];
        tag += Digits[hash[i] & 15U];
    }
    return tag + "\"";
}

} // namespace

CPageFiles::CPageFiles(const std::string& folder, bool hasPage) {
    try {
        document_ = std::make_shared<const std::string>(site::ReadTextFile(folder + "/openapi.json"));
        if (!hasPage)
            return;
        for (const auto& entry : fs::recursive_directory_iterator(folder + "/page")) {
            const char* const type = TypeOf(entry.path());
            if (!type || !entry.is_regular_file())
                continue;
            const std::string path = "/" + fs::relative(entry.path(), folder + "/page").generic_string();
            auto text = std::make_shared<const std::string>(site::ReadTextFile(entry.path()));
            files_[path == "/index.html" ? "/" : path] = {type, TagOf(*text), text};
        }
    } catch (const site::CFileError& error) {
        throw site::CFailure(site::ExitStatus::NotStarted, error.what(), site::OwnCause::WrongFile);
    } catch (const fs::filesystem_error& error) {
        throw site::CFailure(site::ExitStatus::NotStarted, error.what(), site::OwnCause::WrongFile);
    }
}

std::optional<SHttpAnswer> CPageFiles::find(const SHttpRequest& request) const {
    const auto found = files_.find(request.path);
    const bool isRead = request.method == MHD_HTTP_METHOD_GET || request.method == MHD_HTTP_METHOD_HEAD;
    if (found == files_.end() || !isRead)
        return std::nullopt;
    const SFile& file = found->second;
    SHttpAnswer answer;
    answer.status = request.header("if-none-match") == file.tag ? MHD_HTTP_NOT_MODIFIED : MHD_HTTP_OK;
    answer.headers = {{"Content-Type", file.type},
                      {"ETag", file.tag},
                      {"Cache-Control", "no-cache"},
                      {"Content-Security-Policy",
                       "default-src 'self'; img-src 'self' blob:; object-src 'none'; base-uri 'none'; "
                       "form-action 'self'; frame-ancestors 'none'"}};
    if (answer.status == MHD_HTTP_OK)
        answer.body = file.text;
    return answer;
}

} // namespace corvane::service
