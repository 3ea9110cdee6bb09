// A folder that is gone when the test ends.
#pragma once

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

#include "katessel/Paths.hpp"

namespace KaTessel::tests {

class TemporaryFolder {
public:
    TemporaryFolder() {
        // A letter that some systems take for two.
        const std::string name = "katessel-t\u00e9st-" + std::to_string(std::random_device{}());
        m_path = textOf(std::filesystem::temp_directory_path() / pathOf(name));
        if (!std::filesystem::create_directory(pathOf(m_path)))
            throw std::runtime_error("no temporary folder " + m_path);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(pathOf(m_path), ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace KaTessel::tests
