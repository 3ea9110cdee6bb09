// A layer weight file with the places of everything in it, for who wants to know what is where.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace katessel {

struct WeightTensor {
    std::int64_t offset = 0;        // [bytes] of its rank
    std::int64_t valuesOffset = 0;  // [bytes] of its first value
    std::vector<int> shape;
    std::vector<float> values;
};

struct WeightLayer {
    std::int64_t offset = 0;  // [bytes] of its name's length
    std::string name;         // up to the first zero byte
    bool nameHoldsZero = false;
    std::vector<WeightTensor> tensors;
};

// What is wrong with a file, and where.
struct WeightFault {
    std::int64_t offset = 0;  // [bytes]
    std::string expected;
    std::string found;
};

struct WeightFile {
    std::int64_t size = 0;        // [bytes]
    std::int64_t layersEnd = 0;   // [bytes] where the last layer ends
    std::vector<WeightLayer> layers;
    std::vector<WeightFault> faults;  // of the format; at most one, at which reading stopped
};

// Reads by the same rules as the engine, which takes nothing of a file with a fault. Never fails.
WeightFile readWeightFile(const std::string& path);

// "[3,70,70]"
std::string shapeText(const std::vector<int>& shape);

}  // namespace katessel
