#include "recordings/base/ReadFiles.h"

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <optional>
#include <system_error>

#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

bool isFile(const std::string& path) { return !path.empty() && path != "-"; }

// None for what is no regular file: there is nothing to lose.
std::optional<std::pair<dev_t, ino_t>> identityOf(const std::string& path) {
    struct stat status = {};
    if (!isFile(path) || ::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return std::pair(status.st_dev, status.st_ino);
}

}  // namespace

void ReadFiles::add(const std::string& path) {
    if (const auto identity = identityOf(path)) m_files.insert(*identity);
}

bool ReadFiles::holds(const std::string& path) const {
    const auto identity = identityOf(path);
    return identity && m_files.count(*identity) != 0;
}

std::string placeOf(const std::string& path) {
    std::error_code error;
    const fs::path place = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : place.string();
}

void checkOutputs(const std::vector<std::string>& outputs, const ReadFiles& read) {
    std::map<std::string, std::string> places;
    for (const std::string& output : outputs) {
        if (!isFile(output)) continue;
        if (read.holds(output)) failUsage(kCannotWrite, output, "a file of its own", "one that is read");
        const OutputFile writable(output);
        std::error_code error;
        const fs::file_status status = fs::status(output, error);
        if (fs::exists(status) && !fs::is_regular_file(status)) continue;
        const auto [other, isNew] = places.emplace(placeOf(output), output);
        if (!isNew) failUsage(kCannotWrite, output, "one file for each result", "the same as " + other->second);
    }
}

}  // namespace katessel
