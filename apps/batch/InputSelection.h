// Which recordings a run is about, and in which order.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace katessel {

// Every `count`-th recording, starting with number `index`, from 1 on.
struct Shard {
    std::size_t index = 1, count = 1;
};

struct InputOptions {
    std::vector<std::string> paths;  // recordings; folders, too, when `recursive`
    std::string listFile;            // one more path a line; "-": standard input; empty: none
    bool recursive = false;
};

struct Input {
    std::string path;     // to read
    std::string place;    // its path below a folder of outputs
    std::string problem;  // why it cannot be read, as a whole message; empty: nothing known
};

// The recordings in the order given; those of a folder sorted by path. In folders, files count as recordings by their
// extension; hidden ones are passed over, and links to folders are not followed. Fails when there are none at all.
std::vector<Input> selectInputs(const InputOptions& options);

// Reads "K/N". Anything else is wrong usage.
Shard parseShard(const std::string& text);

// Sorts by path, so that every machine sees the same order.
void sortInputs(std::vector<Input>& inputs);

}  // namespace katessel
