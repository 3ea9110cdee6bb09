// Whether code manages without the system: Linux only.
#pragma once

#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KaTessel::tests {

// Runs `work` in a process of its own that is killed at its first call of the system. Returns how that process ended, as
// waitpid does.
template <class Work>
int statusWithoutSystem(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
        work();
        syscall(SYS_exit, 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace KaTessel::tests
