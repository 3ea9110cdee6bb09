#!/usr/bin/env bash
# check_lintian.sh PACKAGES: no error and no warning, but for what a package's overrides explain.
set -euo pipefail
# The first version closes no bug of Debian's.
lintian --suppress-tags initial-upload-closes-no-bugs --fail-on error,warning --allow-root "$1"/*.deb
