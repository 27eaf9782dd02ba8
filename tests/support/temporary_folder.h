#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace corvane::test_support {

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
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(file(name), std::ios::binary) << content;
        return file(name);
    }
    // Of every file.
    std::string contents() const {
        std::ostringstream all;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            all << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        return all.str();
    }

private:
    std::filesystem::path path_;
};

} // namespace corvane::test_support
