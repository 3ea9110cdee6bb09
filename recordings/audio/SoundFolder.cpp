#include "recordings/audio/SoundFolder.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <system_error>
#include <vector>

namespace katessel {

namespace fs = std::filesystem;

namespace {

// Of the formats that libsndfile reads.
const std::set<std::string> kExtensions = {".aif",  ".aifc", ".aiff", ".au",  ".caf", ".flac", ".mp3", ".oga", ".ogg",
                                           ".opus", ".rf64", ".snd",  ".sph", ".voc", ".w64",  ".wav", ".wave"};

}  // namespace

bool isNamedLikeSound(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return kExtensions.count(extension) != 0;
}

void searchSound(const fs::path& folder, const std::function<void(const fs::path&)>& found,
                 const std::function<void(const fs::path&, const std::string&)>& unreadable) {
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
            searchSound(path, found, unreadable);
        else if (isNamedLikeSound(path.string()) && !entry.is_directory(error))
            found(path);
    }
}

}  // namespace katessel
