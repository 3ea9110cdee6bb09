#!/usr/bin/env bash
# check_plugins.sh FOLDER: each plug-in exports what its format asks for and nothing else; LV2's validator likes its description.
set -euo pipefail
cd "$1"
failed() { echo "failed: $*"; exit 1; }
exports() { nm -D --defined-only "$1" | awk '{ print $3 }' | LC_ALL=C sort | tr '\n' ' '; }

[ "$(exports clap/KaTesselPitch.clap)" = "clap_entry " ] || failed "CLAP: $(exports clap/*.clap)"
[ "$(exports lv2/KaTesselPitch.lv2/KaTesselPitch.so)" = "lv2_descriptor lv2_generate_ttl " ] || failed "LV2: $(exports lv2/*/*.so)"
vst3=$(echo vst3/KaTesselPitch.vst3/Contents/*-linux/KaTesselPitch.so)
[ "$(exports "$vst3")" = "GetPluginFactory ModuleEntry ModuleExit " ] || failed "VST3: $(exports "$vst3")"
lv2_validate lv2/KaTesselPitch.lv2/*.ttl
