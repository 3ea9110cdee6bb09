#include "tracking/ModelPath.h"

#include <filesystem>
#include <system_error>

#include "recordings/base/Errors.h"

namespace katessel {

namespace fs = std::filesystem;

std::string modelPath(const std::string& given) {
    if (!given.empty()) return given;
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    const fs::path installed = (executable.parent_path() / KATESSEL_INSTALLED_MODEL).lexically_normal();
    for (const fs::path& candidate : {installed, fs::path(KATESSEL_SOURCE_MODEL)})
        if (fs::is_regular_file(candidate, error)) return candidate.string();
    fail("no model", installed.string(), "the default weight file here or another one with --model", "none");
}

}  // namespace katessel
