// What the tests of the network layers share: sequences, shapes and networks made from the references' weights.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "support/CapturedStdout.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {

using Frames = std::vector<std::vector<float>>;

inline Frames randomFrames(Random& random, int frames, int channels) {
    Frames all;
    for (int t = 0; t < frames; ++t) all.push_back(random.values(channels));
    return all;
}

inline Signal signalOf(const Frames& frames) {
    Signal signal;
    for (const std::vector<float>& frame : frames) signal.emplace_back(frame.begin(), frame.end());
    return signal;
}

// To be followed by a check of HasFatalFailure() where one difference is enough.
inline void expectFrames(const Frames& out, const Signal& expected, double tolerance, const std::string& where) {
    ASSERT_EQ(out.size(), expected.size()) << where;
    for (std::size_t t = 0; t < out.size(); ++t) {
        ASSERT_EQ(out[t].size(), expected[t].size()) << where;
        for (std::size_t o = 0; o < out[t].size(); ++o)
            ASSERT_NEAR(out[t][o], expected[t][o], tolerance) << where << ", frame " << t << ", value " << o;
    }
}

// A small network, of which a test names only what it wants differently.
struct Shape {
    int nInputs = 5, initialKernel = 1, kernel = 3, cycle = 2, layers = 3, R = 6, S = 7;
    int firstSkip = 0, multiplicity = -1, nCond = 0, nState = 0;
    bool mean = false, tanhInitial = false, oneByOne = false, tanhResidual = false;

    T_WN2_conf conf() const {
        T_WN2_conf conf;
        conf.nInputs = nInputs;
        conf.nCond = nCond;
        conf.nState = nState;
        conf.initialKernel = initialKernel;
        conf.kernel = kernel;
        conf.dilationCycle = cycle;
        conf.nLayers = layers;
        conf.firstSkipLayer = firstSkip;
        conf.nResidual = R;
        conf.nSkip = S;
        conf.meanSkip = mean;
        conf.tanhResidual = tanhResidual;
        conf.tanhInitial = tanhInitial;
        conf.resOneByOne = oneByOne;
        conf.inputMultiplicity = multiplicity;
        conf.name = "N";
        return conf;
    }
};

inline const Shape kEncoder = {.nInputs = 150, .R = 70, .S = 120, .mean = true};

struct Release {
    void operator()(T_WN2* net) const { wavenet2_free(net); }
};
using NetPointer = std::unique_ptr<T_WN2, Release>;

inline NetPointer build(const NaiveWaveNet& naive, const Shape& shape) {
    const TemporaryFolder folder;
    T_WN2_conf conf = shape.conf();
    conf.file = folder.file("weights");
    WeightFileWriter writer;
    naive.addTo(writer);
    writer.save(conf.file);
    CapturedStdout captured;
    NetPointer net(wavenet2_init(conf));
    EXPECT_EQ(captured.text(), "") << "a network asks for its own layers and no others";
    return net;
}

}  // namespace KaTessel::tests
