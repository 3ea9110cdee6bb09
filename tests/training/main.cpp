#include <gtest/gtest.h>
#include <torch/torch.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    torch::set_num_threads(1);
    return RUN_ALL_TESTS();
}
