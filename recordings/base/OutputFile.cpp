#include "recordings/base/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

#include "recordings/base/Errors.h"

namespace katessel {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failWriting(const std::string& path, const std::string& expected, const std::string& found) {
    fail("cannot write", path, expected, found);
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

int writeAndClose(int descriptor, const std::string& text) {
    const int writeError = writeAll(descriptor, text);
    const int closeError = ::close(descriptor) != 0 ? errno : 0;
    return writeError != 0 ? writeError : closeError;
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

// Returns a descriptor, or below 0 with errno set. What lies there already was left by a process that had this number
// before.
int createTemporary(const fs::path& path) {
    const std::lock_guard lock(temporaries().lock);
    ::unlink(path.c_str());
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor >= 0) temporaries().paths.insert(path);
    return descriptor;
}

fs::path temporaryName(fs::path path) { return path += '.' + std::to_string(::getpid()) + ".part"; }

// Renames the file unless there was an error before. Returns 0 or an error number, and then the file is gone.
int finishTemporary(const fs::path& path, const fs::path& name, int error) {
    const std::lock_guard lock(temporaries().lock);
    if (error == 0 && std::rename(path.c_str(), name.c_str()) != 0) error = errno;
    if (error != 0) ::unlink(path.c_str());
    temporaries().paths.erase(path);
    return error;
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
    if (m_path.empty()) {
        const int error = writeAll(STDOUT_FILENO, text);
        if (error != 0) failWriting("standard output", "room for the result", std::strerror(error));
    } else if (m_direct) {
        const int descriptor = ::open(m_path.c_str(), O_WRONLY);
        const int error = descriptor < 0 ? errno : writeAndClose(descriptor, text);
        if (error != 0) failWriting(m_path.string(), "room for the result", std::strerror(error));
    } else {
        replaceWith(text);
    }
}

void OutputFile::replaceWith(const std::string& text) const {
    const fs::path temporary = temporaryName(m_path);
    const int descriptor = createTemporary(temporary);
    if (descriptor < 0) failWriting(m_path.string(), "a new file in its folder", std::strerror(errno));
    const int error = finishTemporary(temporary, m_path, writeAndClose(descriptor, text));
    if (error != 0) failWriting(m_path.string(), "room for the result", std::strerror(error));
}

bool OutputFile::isTerminal() const { return m_path.empty() && ::isatty(STDOUT_FILENO) != 0; }

void OutputFile::abandonAll() {
    temporaries().lock.lock();  // for good
    for (const fs::path& path : temporaries().paths) ::unlink(path.c_str());
}

GrowingFile::~GrowingFile() {
    if (m_descriptor >= 0) close();
}

void GrowingFile::append(const std::string& text) {
    if (m_descriptor < 0) open();
    const int error = writeAll(m_descriptor, text);
    if (error != 0) failWriting(m_target.m_path.string(), "room for the result", std::strerror(error));
}

void GrowingFile::finish() {
    if (m_descriptor < 0) open();
    const int error = close();
    if (error != 0) failWriting(m_target.m_path.string(), "room for the result", std::strerror(error));
}

void GrowingFile::open() {
    m_temporary = temporaryName(m_target.m_path);
    m_descriptor =
        m_target.m_direct ? ::open(m_target.m_path.c_str(), O_WRONLY | O_CLOEXEC) : createTemporary(m_temporary);
    if (m_descriptor < 0) failWriting(m_target.m_path.string(), "a new file in its folder", std::strerror(errno));
}

int GrowingFile::close() {
    const int error = ::close(std::exchange(m_descriptor, -1)) != 0 ? errno : 0;
    return m_target.m_direct ? error : finishTemporary(m_temporary, m_target.m_path, error);
}

}  // namespace katessel
