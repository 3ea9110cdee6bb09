// The recordings in and below a folder.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace katessel {

// What counts as a recording where folders are searched: the file's extension, in capitals or not. A recording with
// another one can still be named by itself.
bool isNamedLikeSound(const std::string& path);

// Calls found(path) for each, sorted by path in every folder, and unreadable(folder, why) for a folder that cannot be
// read. passedOver(path) is told of what ffmpeg would have to decode: a folder holds the same recordings with and without it.
// Hidden files and folders are passed over, and links to folders are not followed.
void searchSound(const std::filesystem::path& folder, const std::function<void(const std::filesystem::path&)>& found,
                 const std::function<void(const std::filesystem::path&, const std::string&)>& unreadable,
                 const std::function<void(const std::filesystem::path&)>& passedOver = {});

}  // namespace katessel
