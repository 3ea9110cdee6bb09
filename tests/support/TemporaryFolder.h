// A folder that is gone when the test ends.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <stdlib.h>
#include <string>

namespace KaTessel::tests {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "katessel-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder " + pattern);
        m_path = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace KaTessel::tests
