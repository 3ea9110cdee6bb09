#include "katessel/CTessel.h"
namespace KaTessel {
int CTessel::doProcessOffline(float const*, int, float*, float*, int) { return 0; }
}
