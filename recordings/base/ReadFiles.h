// What a command reads is never written over, whatever names and links lead there.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace katessel {

// The files that a command reads.
class ReadFiles {
public:
    // Standard input ("-"), an empty path and what is no regular file are passed over.
    void add(const std::string& path);

    bool holds(const std::string& path) const;

private:
    std::set<std::pair<dev_t, ino_t>> m_files;
};

// Where a file of this name would be written: the place that links lead to.
std::string placeOf(const std::string& path);

// Fails where one of the files that are to be written is read, is the same as another, or cannot be written. Empty paths
// and "-" are passed over.
void checkOutputs(const std::vector<std::string>& outputs, const ReadFiles& read);

}  // namespace katessel
