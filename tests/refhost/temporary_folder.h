#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace corvane::tests {

// A new folder that is removed with everything in it.
class CTemporaryFolder {
public:
    CTemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "vorn-test-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("no temporary folder");
        path_ = name;
    }
    ~CTemporaryFolder() { std::filesystem::remove_all(path_); }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(file(name), std::ios::binary) << content;
        return file(name);
    }

private:
    std::filesystem::path path_;
};

} // namespace corvane::tests
