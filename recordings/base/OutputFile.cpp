#include "recordings/base/OutputFile.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <system_error>
#include <utility>

#include "recordings/base/Errors.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failWriting(const std::string& path, const std::string& expected, const std::string& found) {
    fail(kCannotWrite, path, expected, found);
}

// Returns 0 or an error number.
int writeAll(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        done += static_cast<std::size_t>(count);
    }
    return 0;
}

// What cannot be synchronised, such as a pipe, needs not be.
int synchronise(int descriptor) {
    return ::fsync(descriptor) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS ? errno : 0;
}

// Returns the first error number of `before`, bringing the file to the disk and closing it.
int closeWhole(int descriptor, int before) {
    const int syncError = before == 0 ? synchronise(descriptor) : 0;
    const int closeError = ::close(descriptor) != 0 ? errno : 0;
    return before != 0 ? before : syncError != 0 ? syncError : closeError;
}

// So that a name that was given does not go with the power.
int synchroniseFolder(const fs::path& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return descriptor < 0 ? 0 : closeWhole(descriptor, 0);  // one that cannot be opened can be written to all the same
}

// The temporary files that are being written, by whichever thread. A file is made, renamed or removed only under the
// lock, so that whoever holds it knows them all.
struct Temporaries {
    std::mutex lock;
    std::set<fs::path> paths;
};

Temporaries& temporaries() {
    static Temporaries all;
    return all;
}

// NAME.RANDOM.part; of a long name only as much as there is room for.
fs::path temporaryName(const fs::path& path) {
    static std::random_device random;
    constexpr char kCharacters[] = "0123456789abcdefghijklmnopqrstuv";
    std::string ending = ".";
    for (int i = 0; i < 8; ++i) ending += kCharacters[random() % 32];
    ending += ".part";
    const long most = ::pathconf(path.parent_path().c_str(), _PC_NAME_MAX);
    std::string name = path.filename().string();
    name.resize(std::min(name.size(), static_cast<std::size_t>(most > 0 ? most : NAME_MAX) - ending.size()));
    return path.parent_path() / (name + ending);
}

// Makes a file of a name that nobody else has, with the permissions of the one that it will replace. Returns a descriptor,
// or below 0 with errno set.
int createTemporary(const fs::path& target, fs::path& path) {
    const std::lock_guard lock(temporaries().lock);
    int descriptor = -1;
    do {
        path = temporaryName(target);
        descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EEXIST);
    if (descriptor < 0) return descriptor;
    temporaries().paths.insert(path);
    struct stat replaced = {};
    if (::stat(target.c_str(), &replaced) == 0) ::fchmod(descriptor, replaced.st_mode & 07777);
    return descriptor;
}

// Renames the file unless there was an error before. Returns 0 or an error number, and then the file is gone.
int finishTemporary(const fs::path& path, const fs::path& name, int error) {
    const std::lock_guard lock(temporaries().lock);
    if (error == 0 && std::rename(path.c_str(), name.c_str()) != 0) error = errno;
    if (error != 0) ::unlink(path.c_str());
    temporaries().paths.erase(path);
    return error != 0 ? error : synchroniseFolder(name.parent_path());
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : m_path(path == "-" ? "" : path) {
    if (m_path.empty()) return;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) failWriting(path, "a file", "a folder");
    m_direct = fs::exists(status) && !fs::is_regular_file(status);
    if (m_direct) return;
    m_path = fs::weakly_canonical(fs::absolute(path), error);
    if (error) failWriting(path, "a file in a folder", error.message());
    const fs::path folder = m_path.parent_path();
    if (!fs::is_directory(folder, error)) failWriting(path, "an existing folder", "none at " + folder.string());
    if (::access(folder.c_str(), W_OK) != 0) failWriting(path, "a writable folder", std::strerror(errno));
}

void OutputFile::write(const std::string& text) const {
    GrowingFile file(*this, Unfinished::removed);
    file.append(text);
    file.finish();
}

std::string OutputFile::name() const { return m_path.empty() ? "standard output" : m_path.string(); }

bool OutputFile::isTerminal() const { return m_path.empty() && ::isatty(STDOUT_FILENO) != 0; }

void OutputFile::abandonAll() {
    temporaries().lock.lock();  // for good
    for (const fs::path& path : temporaries().paths) ::unlink(path.c_str());
}

GrowingFile::~GrowingFile() {
    if (m_descriptor >= 0) close(m_unfinished == Unfinished::kept ? 0 : ECANCELED);
}

void GrowingFile::append(const std::string& text) {
    if (m_descriptor < 0) open();
    const int error = writeAll(m_descriptor, text);
    if (error != 0) failWriting(m_target.name(), "room for the result", std::strerror(error));
}

void GrowingFile::finish() {
    if (m_descriptor < 0) open();
    const int error = close(0);
    if (error != 0) failWriting(m_target.name(), "room for the result", std::strerror(error));
}

void GrowingFile::open() {
    m_descriptor = m_target.m_path.empty() ? STDOUT_FILENO
                   : m_target.m_direct     ? ::open(m_target.m_path.c_str(), O_WRONLY | O_CLOEXEC)
                                           : createTemporary(m_target.m_path, m_temporary);
    if (m_descriptor < 0) failWriting(m_target.name(), "a new file in its folder", std::strerror(errno));
}

int GrowingFile::close(int error) {
    const int descriptor = std::exchange(m_descriptor, -1);
    if (m_target.m_path.empty()) return error;
    error = closeWhole(descriptor, error);
    return m_target.m_direct ? error : finishTemporary(m_temporary, m_target.m_path, error);
}

}  // namespace katessel
