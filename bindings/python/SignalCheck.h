// Ctrl-C during long calls.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>

namespace katessel::python {

// Lets Python see to its signals during a long call that does not hold the interpreter.
class SignalCheck {
public:
    // Called often; asks Python every 50 ms. Throws what a signal's handler raises, as Ctrl-C's does.
    void poll() {
        const auto now = Clock::now();
        if (now - m_last < std::chrono::milliseconds(50)) return;
        const pybind11::gil_scoped_acquire held;
        if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
        m_last = Clock::now();
    }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_last = Clock::now();
};

}  // namespace katessel::python
