// An engine that tracks one recording after the other.
#pragma once

#include <memory>
#include <string>

namespace katessel {

class TrackEngine {
public:
    explicit TrackEngine(const std::string& model);

    // The engine, ready for whole recordings at this rate [Hz]. Costs nothing where the one before had the same.
    void* forRecordings(int rate);

    // The engine, ready for a live signal in blocks of up to `blockSize` samples, with nothing heard yet.
    void* forStream(int rate, int blockSize);

private:
    void configure(int rate, int blockSize);

    std::string m_model;
    std::unique_ptr<void, void (*)(void*)> m_handle;
    int m_rate = 0;  // [Hz] configured; 0: not yet
};

}  // namespace katessel
