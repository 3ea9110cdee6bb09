// The one place through which the library prints: messages on standard output.
#pragma once

namespace KaTessel {

// Prints as printf does. Messages carry their own line ends.
__attribute__((format(printf, 1, 2))) void printMessage(const char* format, ...);

}  // namespace KaTessel
