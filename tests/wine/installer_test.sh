#!/usr/bin/env bash
# setup.exe under Wine: a silent install into Program Files and into a folder of the
# administrator's choice puts Launch.exe (alone) in place, writes the Run value and
# starts the agent; the version resources read back; a silent uninstall ends the agent
# and leaves no file of ours and no Run value behind.
#   installer_test.sh SETUP.EXE WINE-DRIVER.EXE PRODUCT-NAME VERSION AGENT-DESCRIPTION
# Needs a prepared prefix in WINEPREFIX (scripts/wine-prefix); 77 (skipped) without.
set -uo pipefail
setup=$1 driver=$2 product=$3 version=$4 description=$5
[ -n "${WINEPREFIX:-}" ] && [ -d "$WINEPREFIX/drive_c" ] || { echo "no Wine prefix"; exit 77; }

run_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Run'
title="Launch Service for Varno"
# The agent the installer starts reads its backend settings from the environment: a
# loopback address of its own keeps it off port 1230 of every other address here.
export LA_BIND_ADDRESS=127.0.0.31 LA_HOST_NAME=pcinst
failures=0
fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}
# Every Wine program runs detached from our output: an agent it starts must not hold
# the test's pipe open.
quiet() { "$@" </dev/null >/dev/null 2>&1; }
run_value() {
  wine reg query "$run_key" /v 1 </dev/null 2>/dev/null | tr -d '\r' |
    sed -n 's/^ *1 *REG_SZ *//p'
}
# Waits up to $1 tenths of a second for the command to succeed.
wait_until() {
  local n=$1
  shift
  for ((i = 0; i < n; i++)); do "$@" && return 0; sleep 0.1; done
  "$@"
}
gone() { [ ! -e "$1" ]; }
# Process ids of the agents running in this prefix (other prefixes may run agents too).
agent_pids() {
  for p in $(pgrep -f 'Launch\.exe'); do
    tr '\0' '\n' <"/proc/$p/environ" 2>/dev/null | grep -qxF "WINEPREFIX=$WINEPREFIX" &&
      printf '%s ' "$p"
  done
}

# The version resources, as a desktop's file properties read them.
check_version() {
  local file=$1 description=$2 out
  out=$(wine "$driver" version "$(winepath -w "$file")" </dev/null 2>/dev/null | tr -d '\r')
  for want in "ProductName=$product" "ProductVersion=$version" "FileVersion=$version" \
    "FileDescription=$description" "Fixed=$version.0"; do
    grep -qxF "$want" <<<"$out" || fail "$(basename "$file"): no '$want' in: $out"
  done
}
check_version "$setup" "$product Setup"

# Install folder (Windows form), its Unix form, extra installer options, and whether
# to install a second time over the running agent (an upgrade: the old copy is ended
# and uninstalled first).
cases=(
  "C:\\Program Files\\Launch|$WINEPREFIX/drive_c/Program Files/Launch||twice"
  "C:\\Apps\\Launch Agent|$WINEPREFIX/drive_c/Apps/Launch Agent|/D=C:\\Apps\\Launch Agent|once"
)
for c in "${cases[@]}"; do
  IFS='|' read -r win unix option times <<<"$c"
  echo "-- install into $win"
  # /D= takes the rest of the command line as it stands, spaces included, never quoted:
  # its words go as separate arguments, which Wine joins with single spaces.
  # shellcheck disable=SC2086
  quiet wine "$setup" /S $option || fail "setup.exe /S $option failed"
  if [ "$times" = twice ]; then
    quiet wine "$driver" wait "$title" present 15 || fail "the agent was not started"
    old=$(agent_pids)
    # shellcheck disable=SC2086
    quiet wine "$setup" /S $option || fail "setup.exe /S $option over a running agent failed"
    wait_until 100 eval '[ -n "$(agent_pids)" ] && [ "$(agent_pids)" != "$old" ]' ||
      fail "the running agent was not replaced: '$old' -> '$(agent_pids)'"
  fi
  files=$(cd "$unix" 2>/dev/null && ls -A | sort | tr '\n' ' ')
  [ "$files" = "Launch.exe Uninstall.exe " ] || fail "installed files: '$files'"
  [ "$(run_value)" = "$win\\Launch.exe" ] || fail "Run value: '$(run_value)'"
  quiet wine "$driver" wait "$title" present 15 || fail "the agent was not started"
  [ -f "$unix/Launch.exe" ] && check_version "$unix/Launch.exe" "$description"

  echo "-- uninstall from $win"
  quiet wine "$unix/Uninstall.exe" /S || fail "Uninstall.exe /S failed"
  # The uninstaller runs from a copy of itself and returns at once: wait for its work.
  wait_until 150 gone "$unix" || fail "left behind: $(ls -A "$unix" | tr '\n' ' ')"
  [ -z "$(run_value)" ] || fail "Run value left: '$(run_value)'"
  quiet wine "$driver" wait "$title" gone 10 || fail "the agent still runs"
done

[ $failures -eq 0 ] && echo "installer: all checks passed"
exit $((failures > 0))
