// What the network is asked for.
#ifndef KATESSEL_TRAINING_LOSS_H
#define KATESSEL_TRAINING_LOSS_H

#include <torch/torch.h>

#include "Network.h"

namespace katessel::training {

// What is true of the frames of a batch, one element per row of the network's outputs.
struct Truth {
    torch::Tensor pitch;   // [Hz], or kUnvoiced or kUnknown
    torch::Tensor weight;  // of the pitch error: less where the truth itself is uncertain
};

// What changes while the training runs.
struct LossSchedule {
    double pitchWidth = 18.0;  // [cents] errors well below it count with their square, those above nearly alike
    bool classesTeach = true;  // whether they train the whole network, or only themselves
    double judged = 1.0;       // how far what the classes hear decides on a frame's weight: 0, not at all
};

// What the forms' outputs mean: octaves above 440 Hz = (1 + y0) * kOctavesPerUnit - offset. On a steady tone the forms cannot
// tell which of them is asked, so that weights for both get an offset between, with which the offline form reads 2.9
// cents high and the streaming form 6.7 cents low.
constexpr double kStreamingOffset = KaTessel::facts::kLiveOffset, kOfflineOffset = KaTessel::facts::kOfflineOffset;
constexpr double kOfflineShare = 0.7;
constexpr double kJointOffset = kOfflineShare * kOfflineOffset + (1.0 - kOfflineShare) * kStreamingOffset;

struct LossParts {
    torch::Tensor total, pitch, unvoiced, confidence, classes;  // means per frame
};

LossParts formLoss(const Network& network, const FormOutput& form, double offset, const Truth& truth,
                   const LossSchedule& schedule);

}  // namespace katessel::training

#endif
