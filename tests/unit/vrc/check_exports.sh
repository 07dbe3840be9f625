#!/bin/sh
# SPDX-License-Identifier: MIT
# usage: check_exports.sh NM LIBRARY: fails unless the library defines exactly its three functions for others.
set -eu
exported=$("$1" -D --defined-only "$2" | awk '{ print $3 }' | sort | tr '\n' ' ')
expected='VrCloseRequest VrCommand VrOpenRequest '
[ "$exported" = "$expected" ] || { echo "exported: $exported"; exit 1; }
