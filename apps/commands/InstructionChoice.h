// KATESSEL_ISA: the environment may name the vector instructions to compute with.
#pragma once

namespace katessel {

// Applies KATESSEL_ISA when it is set and not empty. A name that is unknown or that this machine cannot run is
// wrong usage; the message lists the possible ones.
void applyInstructionChoice();

}  // namespace katessel
