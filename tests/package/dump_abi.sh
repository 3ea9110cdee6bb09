#!/usr/bin/env bash
# dump_abi.sh LIBRARY RELEASE: describes what the library exports, and the types that this is made of, for check_abi.sh. The
# library must have been built by g++ with -g.
set -euo pipefail
library=$1 release=$2
abidw --drop-undefined-syms --no-show-locs --no-parameter-names \
    --no-corpus-path --no-comp-dir-path --type-id-style hash "$library" | xz -9e >"$release"
ls -l "$release"
