// The file of a checkpoint: an archive with a checksum behind it, so that a damaged one is never gone on from.
#ifndef KATESSEL_TRAINING_CHECKPOINT_H
#define KATESSEL_TRAINING_CHECKPOINT_H

#include <string>

namespace katessel::training {

// Replaces the file only once everything is written.
void writeCheckpoint(const std::string& path, std::string archive);

// The archive. Checkpoints of earlier versions have no checksum.
std::string readCheckpoint(const std::string& path);

}  // namespace katessel::training

#endif
