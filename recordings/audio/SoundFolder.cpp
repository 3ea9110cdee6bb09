#include "recordings/audio/SoundFolder.h"

#include <algorithm>
#include <set>
#include <system_error>
#include <vector>

#include "recordings/audio/FfmpegSource.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

// Of the formats that libsndfile reads.
const std::set<std::string> kExtensions = {".aif",  ".aifc", ".aiff", ".au",  ".caf", ".flac", ".mp3", ".oga", ".ogg",
                                           ".opus", ".rf64", ".snd",  ".sph", ".voc", ".w64",  ".wav", ".wave"};

}  // namespace

bool isNamedLikeSound(const std::string& path) {
    return kExtensions.count(lowerCase(std::filesystem::path(path).extension().string())) != 0;
}

void searchSound(const fs::path& folder, const std::function<void(const fs::path&)>& found,
                 const std::function<void(const fs::path&, const std::string&)>& unreadable,
                 const std::function<void(const fs::path&)>& passedOver) {
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    const fs::directory_iterator end;
    for (fs::directory_iterator entry(folder, error); !error && entry != end; entry.increment(error))
        entries.push_back(*entry);
    if (error) return unreadable(folder, error.message());
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries) {
        const fs::path& path = entry.path();
        if (path.filename().native().front() == '.') continue;
        if (fs::is_directory(entry.symlink_status(error)))
            searchSound(path, found, unreadable, passedOver);
        else if (isNamedLikeSound(path.string()) && !entry.is_directory(error))
            found(path);
        else if (passedOver && isForFfmpeg(path.string()) && !entry.is_directory(error))
            passedOver(path);
    }
}

}  // namespace katessel
