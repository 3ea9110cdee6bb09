// Finding the weight files that come with the library. Header-only, C++17.
#ifndef KATESSEL_DEFAULTMODEL_HPP
#define KATESSEL_DEFAULTMODEL_HPP

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "katessel/KTessel.h"
#include "katessel/ModelFile.hpp"
#include "katessel/Paths.hpp"
#include "katessel/Pitch.hpp"

namespace KaTessel {
inline namespace v1 {

namespace detail {

// The file that the engine's code was loaded from: the shared library, or a plug-in that the engine is linked into.
inline std::filesystem::path engineBinary() {
    // The version text is data of the engine's own; the address of a function could be the caller's jump to it.
    const char* const within = KTessel_GetVersion();
#ifdef _WIN32
    wchar_t file[32768];  // what the longest path takes
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(within), &module) ||
        GetModuleFileNameW(module, file, sizeof file / sizeof *file) == 0)
        return {};
#else
    Dl_info info = {};
    if (dladdr(within, &info) == 0 || info.dli_fname == nullptr) return {};
    const char* const file = info.dli_fname;
#endif
    std::error_code unresolved;
    const std::filesystem::path binary = std::filesystem::canonical(file, unresolved);
    return unresolved ? std::filesystem::path() : binary;
}

// The model of a folder for a form: one of its own, else the one for both; empty: none.
inline std::string modelIn(const std::filesystem::path& folder, Form form) {
    std::error_code unreadable;
    for (const char* name : {form == Form::live ? "live.weights" : "offline.weights", "default.weights"})
        if (std::filesystem::is_regular_file(folder / name, unreadable)) return textOf(folder / name);
    return {};
}

}  // namespace detail

// The path of a form's default model: the environment variable KATESSEL_MODEL where it is set, one file for both forms.
// Else `live.weights` or `offline.weights`, and where there is none `default.weights`, in the folder that the engine's code
// was loaded from, or in share/katessel of the nearest folder above that has one. An installation can be moved. Throws
// ModelError when there is none.
inline std::string defaultModel(Form form) {
    namespace fs = std::filesystem;
#ifdef _WIN32
    const wchar_t* const chosen = _wgetenv(L"KATESSEL_MODEL");
#else
    const char* const chosen = std::getenv("KATESSEL_MODEL");
#endif
    if (chosen != nullptr && *chosen != 0) return textOf(chosen);
    const fs::path binary = detail::engineBinary();
    std::string found = detail::modelIn(binary.parent_path(), form);
    for (fs::path folder = binary.parent_path(); found.empty() && folder.has_relative_path();
         folder = folder.parent_path())
        found = detail::modelIn(folder / "share" / "katessel", form);
    if (!found.empty()) return found;
    throw ModelError("share/katessel/default.weights",
                     "it in a folder above " + textOf(binary) + " or its path in KATESSEL_MODEL", "neither");
}

}  // namespace v1
}  // namespace KaTessel

#endif
