#!/usr/bin/env bash
# Runs the real socket-shortage test in a Wine prefix of its own whose server starts with
# a low descriptor limit, so the test can use them all up without starving the other
# tests' Wine processes: socket_shortage_real.sh TEST_EXE PREFIX_DIR WINE_PREFIX_SCRIPT
set -euo pipefail
exe=$1
prefix=$2
wine_prefix=$3
# Wine's own services hold about 200 descriptors in its server.
ulimit -Sn 500
ulimit -Hn 500
"$wine_prefix" stop "$prefix"
eval "$("$wine_prefix" start "$prefix")"
trap '"$wine_prefix" stop "$prefix"' EXIT
wine "$exe"
