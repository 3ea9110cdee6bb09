#include "apps/batch/Interruption.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <thread>
#include <utility>

namespace katessel {

namespace {

sigset_t wantedSignals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&wanted, number);
    }
    return wanted;
}

}  // namespace

void endOnSignals(std::function<void()> cleanUp) {
    const sigset_t wanted = wantedSignals();
    pthread_sigmask(SIG_BLOCK, &wanted, nullptr);  // for the threads to come as well
    std::thread([wanted, cleanUp = std::move(cleanUp)] {
        int number = 0;
        if (sigwait(&wanted, &number) != 0) return;
        cleanUp();
        ::_exit(128 + number);
    }).detach();
}

}  // namespace katessel
