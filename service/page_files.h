#pragma once

#include "service/http_message.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace corvane::service {

// The files of the page and the interface's description, read once. Immutable, so any thread may use it.
class CPageFiles {
public:
    // `folder` has openapi.json, and page/. Throws site::CFailure where they are not there. `hasPage`: false
    // leaves the page out.
    CPageFiles(const std::string& folder, bool hasPage);

    // The answer to a request for a file of the page, "/" being its index; nothing for another path.
    std::optional<SHttpAnswer> find(const SHttpRequest& request) const;
    const std::shared_ptr<const std::string>& document() const { return document_; }

private:
    struct SFile {
        std::string type;
        std::string tag; // changes with the text
        std::shared_ptr<const std::string> text;
    };
    std::map<std::string, SFile> files_; // by path
    std::shared_ptr<const std::string> document_;
};

} // namespace corvane::service
