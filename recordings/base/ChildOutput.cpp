#include "recordings/base/ChildOutput.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <initializer_list>

extern char** environ;  // what every process has; POSIX leaves it to us to declare it

namespace katessel {

namespace {

// How the program begins: its standard streams, and signals as if nobody had blocked or ignored any, for it must end with
// whoever reads it.
class SpawnSettings {
public:
    SpawnSettings(int output, int messages) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, messages, STDERR_FILENO);
        ::posix_spawnattr_init(&attributes);
        sigset_t none, usual;
        sigemptyset(&none);
        sigemptyset(&usual);
        for (const int number : {SIGINT, SIGTERM, SIGPIPE, SIGXFSZ}) sigaddset(&usual, number);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &usual);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

int waitFor(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

std::string firstLine(int file) {
    std::array<char, 1024> bytes;
    const ssize_t count = ::pread(file, bytes.data(), bytes.size(), 0);
    const std::string text(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return text.substr(0, text.find('\n'));
}

}  // namespace

ChildOutput::ChildOutput(const std::vector<std::string>& arguments) {
    std::array<int, 2> ends;
    m_messages = ::memfd_create("messages", MFD_CLOEXEC);
    if (m_messages < 0 || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
        m_startError = errno;
        return;
    }
    std::vector<char*> words;
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    const SpawnSettings settings(ends[1], m_messages);
    m_startError = ::posix_spawnp(&m_process, words[0], &settings.actions, &settings.attributes, words.data(), environ);
    if (m_startError != 0) m_process = -1;
    m_output = ends[0];
    ::close(ends[1]);
}

ChildOutput::~ChildOutput() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        waitFor(m_process);
    }
    for (const int descriptor : {m_output, m_messages})
        if (descriptor >= 0) ::close(descriptor);
}

std::size_t ChildOutput::read(void* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t more = ::read(m_output, static_cast<char*>(bytes) + done, count - done);
        if (more < 0 && errno == EINTR) continue;
        if (more <= 0) break;
        done += static_cast<std::size_t>(more);
    }
    return done;
}

std::string ChildOutput::finish() {
    const int status = m_process > 0 ? waitFor(m_process) : 0;
    m_process = -1;
    const std::string message = firstLine(m_messages);
    if (!message.empty()) return message;
    if (WIFSIGNALED(status)) return "its end by signal " + std::to_string(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? "" : "its status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace katessel
