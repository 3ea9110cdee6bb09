// Finding the weight file that comes with the library. Header-only, C++17.
#ifndef KATESSEL_DEFAULTMODEL_HPP
#define KATESSEL_DEFAULTMODEL_HPP

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "katessel/KTessel.h"
#include "katessel/ModelFile.hpp"

namespace KaTessel {
inline namespace v1 {
namespace detail {

// The file that the engine's code was loaded from: the shared library, or a plug-in that the engine is linked into.
inline std::filesystem::path engineBinary() {
    Dl_info info = {};
    // The version text is data of the engine's own; the address of a function could be the caller's jump to it.
    if (dladdr(KTessel_GetVersion(), &info) == 0 || info.dli_fname == nullptr) return {};
    std::error_code unresolved;
    const std::filesystem::path binary = std::filesystem::canonical(info.dli_fname, unresolved);
    return unresolved ? std::filesystem::path() : binary;
}

}  // namespace detail

// The default model's path: the environment variable KATESSEL_MODEL where it is set, else `default.weights` in the
// folder that the engine's code was loaded from, else `share/katessel/default.weights` in the nearest folder above
// that has one. An installation can be moved. Throws ModelError when there is none.
inline std::string defaultModel() {
    namespace fs = std::filesystem;
    const char* const chosen = std::getenv("KATESSEL_MODEL");
    if (chosen != nullptr && *chosen != '\0') return chosen;
    const fs::path binary = detail::engineBinary();
    std::error_code unreadable;
    const fs::path beside = binary.parent_path() / "default.weights";
    if (fs::is_regular_file(beside, unreadable)) return beside.string();
    for (fs::path folder = binary.parent_path(); folder.has_relative_path(); folder = folder.parent_path()) {
        const fs::path shared = folder / "share" / "katessel" / "default.weights";
        if (fs::is_regular_file(shared, unreadable)) return shared.string();
    }
    throw ModelError("share/katessel/default.weights", "it in a folder above " + binary.string() +
                     " or its path in KATESSEL_MODEL", "neither");
}

}  // namespace v1
}  // namespace KaTessel

#endif
