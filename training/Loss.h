// What the network is asked for.
#ifndef KATESSEL_TRAINING_LOSS_H
#define KATESSEL_TRAINING_LOSS_H

#include <torch/torch.h>

#include "Network.h"

// What is true of the frames of a batch, one element per row of the network's outputs.
struct Truth {
    torch::Tensor pitch;   // [Hz], or kUnvoiced or kUnknown
    torch::Tensor weight;  // of the pitch error: less where the truth itself is uncertain
};

// What changes while the training runs.
struct LossSchedule {
    double pitchWidth = 18.0;  // [cents] errors well below it count with their square, those above nearly alike
    bool classesTeach = true;  // whether they train the whole network, or only themselves
};

struct LossParts {
    torch::Tensor total, pitch, unvoiced, confidence, classes;  // means per frame
};

// Of one form. The two forms read the same output 9.6 cents apart; the truth is put between, where the offline form is
// 2.9 cents high and the streaming form 6.7 cents low.
LossParts formLoss(const Network& network, const FormOutput& form, const Truth& truth, const LossSchedule& schedule);

#endif
