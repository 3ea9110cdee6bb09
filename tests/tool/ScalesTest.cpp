// The time axis of a picture: which instants have labels, and which.
#include "apps/picture/Scales.h"

#include <gtest/gtest.h>

namespace katessel {
namespace {

std::string labels(double from, double to, int most) {
    const TimeScale scale(from, to, most);
    std::string all = scale.title() + ":";
    for (const double tick : scale.ticks()) all.append(" ").append(scale.label(tick));
    return all;
}

TEST(PlainScales, TimesReadAsSecondsOrAsAClock) {
    EXPECT_EQ(labels(0.0, 3.33, 4), "time [s]: 0 1 2 3");
    EXPECT_EQ(labels(0.25, 0.75, 6), "time [s]: 0.3 0.4 0.5 0.6 0.7");
    EXPECT_EQ(labels(0.0, 119.0, 6), "time [s]: 0 20 40 60 80 100");
    EXPECT_EQ(labels(0.0, 120.0, 6), "time [min:s]: 0:00 0:30 1:00 1:30 2:00");
    EXPECT_EQ(labels(118.0, 121.0, 8), "time [min:s]: 1:58 1:58.5 1:59 1:59.5 2:00 2:00.5 2:01");
    EXPECT_EQ(labels(0.0, 3600.0, 8), "time [h:min:s]: 0:00 10:00 20:00 30:00 40:00 50:00 1:00:00");
    EXPECT_EQ(labels(0.0, 36000.0, 4), "time [h:min:s]: 0:00 3:00:00 6:00:00 9:00:00");
}

}  // namespace
}  // namespace katessel
