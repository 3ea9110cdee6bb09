// What a Vamp host asks the library for.
#include <vamp-sdk/PluginAdapter.h>
#include <vamp/vamp.h>

#include "PitchPlugin.h"

const VampPluginDescriptor* vampGetPluginDescriptor(unsigned int hostApiVersion, unsigned int index) {
    static Vamp::PluginAdapter<PitchPlugin> pitch;
    return hostApiVersion >= 1 && index == 0 ? pitch.getDescriptor() : nullptr;
}
