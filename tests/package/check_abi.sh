#!/usr/bin/env bash
# check_abi.sh LIBRARY RELEASE: programs built with the release that RELEASE describes work with this library: nothing that it
# exported is gone, and none of the types that its functions and objects are made of has changed. RELEASE comes from
# dump_abi.sh.
set -euo pipefail
library=$1 release=$2
command -v abidiff >/dev/null || { echo "abidiff is missing (Debian: abigail-tools)"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
xz -dc "$release" >"$scratch/release.abi"
abidiff --no-added-syms "$scratch/release.abi" "$library"
