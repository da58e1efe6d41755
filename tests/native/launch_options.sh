#!/usr/bin/env bash
# Launch.exe's command line as a user meets it: each row gives the options, the exit
# code, how many lines go to standard error and a word the first line of output holds.
# A refused option must end the agent before it listens anywhere.
set -u
launch=$1
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail=0
# options | exit | stderr lines | first line contains
while IFS='|' read -r args code lines word; do
  [ -z "$args" ] && continue
  # shellcheck disable=SC2086
  env -i HOME="$tmp" LA_WINDOW_TABLE="$tmp/windows" timeout 10 "$launch" $args \
    >"$tmp/out" 2>"$tmp/err"
  got=$?
  n=$(wc -l <"$tmp/err")
  first=$(head -1 "$tmp/err" "$tmp/out" | grep -v '^==>' | grep -m1 .)
  hint=ok
  [ "$n" = 2 ] && ! sed -n 2p "$tmp/err" | grep -q -- "--help' for more" && hint=missing
  if [ "$got" != "$code" ] || [ "$n" != "$lines" ] || [[ "$first" != *"$word"* ]] ||
    [ "$hint" != ok ]; then
    echo "FAIL: '$args': exit $got (want $code), $n error lines (want $lines): $first"
    fail=1
  fi
done <<'TABLE'
--bind 192.0.2.7 --offscreen|2|2|not an address of this machine
--bind 999.1.1.1|2|2|bad bind address
--host-name --window-table X|2|2|missing value for --host-name
--nonsense|2|2|unknown option: --nonsense
--time-scale 0|2|2|bad time scale
-h|0|0|Launch Service for Varno
--help|0|0|Launch Service for Varno
--version|0|0|launch-agent
TABLE
exit $fail
