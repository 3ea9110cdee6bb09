#include "tracking/TrackEngine.h"

#include "katessel/KTessel.h"
#include "recordings/base/Errors.h"

namespace katessel {

TrackEngine::TrackEngine(const std::string& model) : m_model(model), m_handle(KTessel_Create(), &KTessel_Destroy) {}

void* TrackEngine::forRecordings(int rate) {
    if (m_rate != rate) configure(rate, 1);
    return m_handle.get();
}

void* TrackEngine::forStream(int rate, int blockSize) {
    configure(rate, blockSize);
    return m_handle.get();
}

void TrackEngine::configure(int rate, int blockSize) {
    m_rate = 0;
    if (KTessel_Configure(rate, 0, blockSize, m_model.c_str(), m_handle.get()) != 0)
        fail("cannot load the model", m_model, "a weight file", "none");
    m_rate = rate;
}

}  // namespace katessel
