#include "Loss.h"

#include "Sound.h"

namespace katessel::training {

namespace {

using torch::Tensor;

using namespace KaTessel::facts;

constexpr double kUnvoicedOctaves = -8.8;  // frames without pitch are pushed below; the engine's bound is -8.33

constexpr double kClassCents = 30.0, kLowestClass = 40.0;  // [cents] and [Hz]

// Found by trial.
constexpr double kFarWeight = 1.0, kNearWeight = 0.5, kConfidenceWeight = 5.0, kClassWeight = 0.5;
constexpr double kHopelessWeight = 0.2;  // of a frame whose pitch the classes do not hear at all
constexpr double kRightCents = 50.0;     // a pitch as far as this from the truth is right
constexpr int kNearClasses = 2;          // on either side of the truth: the classes that count as hearing it
constexpr double kHighPitch = 350.0, kMostOctavesAbove = 1.5;  // above this pitch, [Hz], frames count more
constexpr double kUnvoicedWeight = 0.06, kUndecidedWeight = 0.15, kUndecidedOctaves = 0.5;

// Squared distance from 0 or 1, free of charge beyond them: the confidence that minimises its mean is the part of such
// frames whose pitch is right.
Tensor confidenceLoss(const Tensor& confidence, const Tensor& right) {
    const Tensor low = torch::relu(1.0 - confidence) * right, high = torch::relu(confidence) * (1.0 - right);
    const Tensor beyond = torch::relu(confidence - 1.1) + torch::relu(-0.1 - confidence);  // but not far beyond
    return low * low + high * high + 0.02 * beyond * beyond;
}

// The way that a frame without pitch still has to go down. The logarithm makes it go all the way or stay: the values
// between, which are neither a pitch nor none, cost the most for what they gain.
Tensor unvoicedLoss(const Tensor& octaves) {
    const Tensor way = torch::relu(octaves - kUnvoicedOctaves);
    return kUnvoicedWeight * way + kUndecidedWeight * torch::log1p(way / kUndecidedOctaves);
}

// Where pitches lie among the classes.
Tensor classPlace(const Tensor& pitch) {
    return (torch::log2(torch::clamp_min(pitch, 1.0) / kLowestClass) * (kCentsPerOctave / kClassCents))
        .clamp(0.0, kClasses - 2.001);
}

// The probability that the classes give to the true pitch.
Tensor heard(const Tensor& logarithms, const Tensor& pitch) {
    const Tensor nearest = classPlace(pitch).round().clamp(kNearClasses, kClasses - 2 - kNearClasses).to(torch::kLong);
    Tensor sum = torch::zeros_like(pitch);
    for (int offset = -kNearClasses; offset <= kNearClasses; ++offset)
        sum += logarithms.gather(1, (nearest + offset).unsqueeze(1)).squeeze(1).exp();
    return sum;
}

// More for high pitches, which are rare in recordings and the farthest way for a regression.
Tensor rarity(const Tensor& pitch) {
    return 1.0 + torch::log2(torch::clamp_min(pitch, 1.0) / kHighPitch).clamp(0.0, kMostOctavesAbove);
}

// Cross entropy with the truth shared out between the two nearest classes.
Tensor classLoss(const Tensor& logarithms, const Tensor& pitch, const Tensor& voiced) {
    const Tensor place = classPlace(pitch);
    const Tensor lower = place.floor(), part = place - lower;
    const Tensor index = torch::where(voiced > 0.5, lower, torch::full_like(lower, kClasses - 1)).to(torch::kLong);
    const Tensor next = torch::where(voiced > 0.5, lower + 1.0, torch::full_like(lower, kClasses - 1)).to(torch::kLong);
    const Tensor first = logarithms.gather(1, index.unsqueeze(1)).squeeze(1),
                 second = logarithms.gather(1, next.unsqueeze(1)).squeeze(1);
    return -((1.0 - part) * first + part * second);
}

}  // namespace

LossParts formLoss(const Network& network, const FormOutput& form, double offset, const Truth& truth,
                   const LossSchedule& schedule) {
    const Tensor voiced = (truth.pitch > 0.0).to(torch::kFloat32), known = (truth.pitch >= 0.0).to(torch::kFloat32);
    const Tensor silent = known - voiced;
    const Tensor octaves = (form.heads.select(1, 0) + 1.0) * kOctavesPerUnit - offset;
    const Tensor cents = kCentsPerOctave * (octaves - torch::log2(torch::clamp_min(truth.pitch, 1.0) / kReferenceHz));

    // Near the truth like a Cauchy distribution's, and far from it linear, so that it finds the way back. What makes it
    // robust is the judgement of the classes: a frame whose pitch they cannot hear is not worth bending all others for.
    const Tensor logarithms = network.classes(schedule.classesTeach ? form.middle : form.middle.detach());
    const Tensor hope =
        1.0 - schedule.judged * (1.0 - kHopelessWeight) * (1.0 - heard(logarithms.detach(), truth.pitch));
    const Tensor semitones = torch::smooth_l1_loss(cents / 100.0, torch::zeros_like(cents), torch::Reduction::None);
    const Tensor near = torch::log1p(torch::square(cents / schedule.pitchWidth));
    const Tensor weight = voiced * truth.weight * rarity(truth.pitch) * hope;
    LossParts parts;
    parts.pitch = (weight * (kFarWeight * semitones + kNearWeight * near)).mean();
    parts.unvoiced = (silent * unvoicedLoss(octaves)).mean();
    const Tensor confidence = (kVoicingLimit - form.heads.select(1, 1)) * kConfidencePerUnit;
    const Tensor right = voiced * (cents.detach().abs() < kRightCents).to(torch::kFloat32);
    parts.confidence = kConfidenceWeight * (known * confidenceLoss(confidence, right)).mean();
    parts.classes = kClassWeight * (known * classLoss(logarithms, truth.pitch, voiced)).mean();
    parts.total = parts.pitch + parts.unvoiced + parts.confidence + parts.classes;
    return parts;
}

}  // namespace katessel::training
