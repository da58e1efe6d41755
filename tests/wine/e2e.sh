#!/usr/bin/env bash
# Windows agents under Wine, end to end, on loopback addresses of their own.
#   e2e.sh CASE LAUNCH.EXE STAND-IN.EXE WINE-DRIVER.EXE [LINUX-LAUNCH]
# Cases:
#   two-agents     two Windows agents log "HostInfoFrom=" for each other
#   linux          a Windows agent and a Linux agent do the same within two broadcasts
#   stand-in       Varno is launched when missing, closed with WM_CLOSE when the
#                  check-in lapses, and launched again
#   launch-site    an agent without Varno launches it from the network path another
#                  agent announced (\\pca\c\...), reached through Wine's UNC links
#   hardened       a hardened agent refuses the launch site of an impostor that calls
#                  itself pca from another address, says so on the debug output, and
#                  launches from the real pca's site
#   second-agent   a second agent on the desktop ends at once, before its Run value
#   setup-files    clicks on the Agent Setup window's boxes write agent.dat and
#                  AgentInfo_1 byte for byte
# Agents run at a raised time scale so whole cycles take seconds. Two agents on one
# Wine prefix share its desktop, where the second would see the first's window and end;
# each of them therefore runs on a desktop of its own (--desktop), as on two computers.
# Needs a prepared prefix in WINEPREFIX; 77 (skipped) without.
set -uo pipefail
case_name=$1 launch=$2 standin=$3 driver=$4 linux_launch=${5:-}
[ -n "${WINEPREFIX:-}" ] && [ -d "$WINEPREFIX/drive_c" ] || { echo "no Wine prefix"; exit 77; }

work_win="C:\\e2e\\$case_name"
work=$WINEPREFIX/drive_c/e2e/$case_name
rm -rf "$work"
mkdir -p "$work"
title="Launch Service for Varno"
run_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Run'
failures=0
linux_pid=

fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}
# Wine programs never get our output pipe: what they start could hold ctest's open.
quiet() { "$@" </dev/null >/dev/null 2>&1; }
end_all() {
  quiet wine taskkill /F /IM Launch.exe
  quiet wine taskkill /F /IM Varno2.exe
  [ -n "$linux_pid" ] && kill "$linux_pid" 2>/dev/null
  wait 2>/dev/null
}
trap end_all EXIT
end_all

# Waits up to $1 tenths of a second for the command to succeed.
wait_until() {
  local n=$1
  shift
  for ((i = 0; i < n; i++)); do "$@" && return 0; sleep 0.1; done
  "$@"
}
logged() { grep -qF -- "$2" "$work/$1.log" 2>/dev/null; }
count() { grep -cF -- "$2" "$work/$1.log" 2>/dev/null; }
# Line number of the first line holding $2 in agent $1's log (a large one when none).
first_line() { grep -nF -- "$2" "$work/$1.log" 2>/dev/null | head -1 | cut -d: -f1 | grep . || echo 999999; }

# start NAME ADDRESS DESKTOP(yes|no) TIME-SCALE SHARES [more options]
# Runs the agent from C:\e2e\CASE\NAME\Launch.exe; its log goes to NAME.log.
start() {
  local name=$1 address=$2 desktop=$3 scale=$4 shares=$5
  shift 5
  mkdir -p "$work/$name"
  cp "$launch" "$work/$name/Launch.exe"
  local exe="$work_win\\$name\\Launch.exe"
  local -a own=()
  [ "$desktop" = yes ] && own=(--desktop "$name")
  wine "$exe" "${own[@]}" --host-name "$name" --computer-name "$name" --bind "$address" \
    --hosts-file "$work_win\\hosts" --time-scale "$scale" --shares "$shares" --log-stdout \
    "$@" </dev/null >"$work/$name.log" 2>&1 &
}

# Both directions of an exchange: each agent logs the other's host information.
check_exchange() {
  local a=$1 b=$2
  logged "$a" "HostInfoFrom=$b" || fail "$a never logged HostInfoFrom=$b"
  logged "$b" "HostInfoFrom=$a" || fail "$b never logged HostInfoFrom=$a"
}

case $case_name in
two-agents)
  printf '127.0.0.21 pca\n127.0.0.22 pcb\n' >"$work/hosts"
  start pca 127.0.0.21 yes 30 '\\pca\c;\\pcb\c'
  start pcb 127.0.0.22 yes 30 '\\pca\c;\\pcb\c'
  wait_until 300 eval 'logged pca HostInfoFrom=pcb && logged pcb HostInfoFrom=pca'
  check_exchange pca pcb
  ;;

linux)
  [ -x "$linux_launch" ] || { echo "no Linux agent"; exit 77; }
  printf '127.0.0.23 pcw\n127.0.0.24 pcl\n' >"$work/hosts"
  # The Linux agent finds its LAN as \\host\share folders under a mount root.
  mkdir -p "$work/linux/net/pcw/c" "$work/linux/net/pcl/c" "$work/linux/c"
  # An agent whose first connection to a peer fails steps to the next port of
  # 1230..1235 and comes back to 1230 only many broadcasts later. So both listeners must
  # be up before either agent's first broadcast: the Linux agent's start-up share search
  # is made to last 30 agent seconds (3 real ones), between its listener and its first
  # broadcast, and the Windows agent starts within them.
  "$linux_launch" --host-name pcl --computer-name pcl --bind 127.0.0.24 --offscreen \
    --hosts-file "$work/hosts" --time-scale 10 --share-search-delay 30 \
    --drive "C:=$work/linux/c" --mount-root "$work/linux/net" \
    --window-table "$work/linux/windows" --registry-file "$work/linux/registry" \
    --autostart-dir "$work/linux/autostart" --user-registry-file "$work/linux/user-registry" \
    --user-autostart-dir "$work/linux/user-autostart" --log-stdout \
    </dev/null >"$work/pcl.log" 2>&1 &
  linux_pid=$!
  listening() { [ -n "$(ss -Hltn "src $1:1230")" ]; }
  wait_until 100 listening 127.0.0.24 || fail "the Linux agent does not listen"
  start pcw 127.0.0.23 no 10 '\\pcw\c;\\pcl\c'
  wait_until 100 listening 127.0.0.23 || fail "the Windows agent does not listen"
  # The first broadcast to a peer opens the connection, later ones carry the message.
  # From the Linux agent's first broadcast on, both have made one; an agent verifies its
  # check-in every 30 agent seconds and logs it, and broadcasts every 31, so each must
  # have heard the other before its third verification from there: two broadcasts.
  wait_until 100 logged pcl "to connect to pcw" || fail "the Linux agent did not broadcast"
  declare -A since=([pcw]=$(wc -l <"$work/pcw.log") [pcl]=$(wc -l <"$work/pcl.log"))
  verify="Verifying Agent CheckIn"
  third_verify() {
    local n
    n=$(tail -n +$((since[$1] + 1)) "$work/$1.log" | grep -nF -- "$verify" | sed -n 3p |
      cut -d: -f1)
    [ -n "$n" ] && echo $((n + since[$1]))
  }
  wait_until 300 eval '[ -n "$(third_verify pcw)" ] && [ -n "$(third_verify pcl)" ]'
  check_exchange pcw pcl
  for pair in pcw:pcl pcl:pcw; do
    me=${pair%%:*} peer=${pair##*:}
    limit=$(third_verify "$me")
    [ "$(first_line "$me" "HostInfoFrom=$peer")" -lt "${limit:-0}" ] ||
      fail "$me heard $peer only after two broadcasts"
  done
  ;;

stand-in)
  printf '127.0.0.25 pcs\n' >"$work/hosts"
  mkdir -p "$work/pcs"
  cp "$standin" "$work/pcs/Varno2.exe"
  export LA_STANDIN_LOG="$work_win\\standin.log"
  start pcs 127.0.0.25 no 60 '\\pcs\c'
  # Missing at start: the window watch launches it.
  quiet wine "$driver" wait Varno present 15 || fail "Varno was not launched"
  # The own broadcast came back: the check-in is fresh.
  wait_until 150 logged pcs "Last Updated=" || fail "no check-in"
  # A desktop that sleeps: for ten agent minutes nothing runs and no broadcast comes
  # back, so at waking the check-in is nine minutes old or more. The agent's own
  # broadcast follows each check-in at once; it sleeps once that broadcast has come back,
  # since one still on its way would refresh the check-in at waking. Every process of the
  # agent sleeps, whichever of them Wine runs it in, and again should a refresh win.
  arrived_since() { [ "$(count pcs "HostInfoFrom=pcs")" -gt "$1" ]; }
  sleep_agent() {
    local p n pids=()
    n=$(count pcs "HostInfoFrom=pcs")
    wait_until 20 arrived_since "$n"
    for p in $(pgrep -f 'e2e\\stand-in\\pcs\\Launch.exe'); do
      tr '\0' '\n' <"/proc/$p/environ" 2>/dev/null | grep -qxF "WINEPREFIX=$WINEPREFIX" && pids+=("$p")
    done
    [ ${#pids[@]} -gt 0 ] || return 1
    kill -STOP "${pids[@]}"
    sleep 10
    kill -CONT "${pids[@]}"
  }
  lapsed=no
  for attempt in 1 2 3; do
    sleep_agent || {
      fail "no agent process to suspend"
      break
    }
    if wait_until 100 logged pcs "Shutting Down Varno."; then
      lapsed=yes
      break
    fi
  done
  [ "$lapsed" = yes ] || fail "the lapsed check-in closed nothing (after $attempt sleeps)"
  wait_until 100 grep -q closed "$work/standin.log" || fail "Varno got no WM_CLOSE"
  # Launched again by the next watch.
  wait_until 150 eval '[ "$(grep -c " started" "$work/standin.log")" -ge 2 ]' ||
    fail "Varno was not launched again"
  quiet wine "$driver" wait Varno present 5 || fail "no Varno window at the end"
  ;;

launch-site)
  printf '127.0.0.32 pca\n127.0.0.33 pcb\n' >"$work/hosts"
  # \\pca\c and \\pcb\c are drive C: of this prefix, as two computers sharing their
  # drives: Wine reaches \\HOST\SHARE through dosdevices/unc/HOST/SHARE.
  for h in pca pcb; do
    mkdir -p "$WINEPREFIX/dosdevices/unc/$h"
    ln -sfn "$WINEPREFIX/drive_c" "$WINEPREFIX/dosdevices/unc/$h/c"
  done
  mkdir -p "$work/pca"
  cp "$standin" "$work/pca/Varno2.exe"
  start pca 127.0.0.32 yes 30 '\\pca\c;\\pcb\c'
  start pcb 127.0.0.33 yes 30 '\\pca\c;\\pcb\c'
  site='\\pca\c\e2e\'"$case_name"'\pca\Varno2.exe'
  wait_until 300 logged pcb "*** Launching From: $site" ||
    fail "pcb did not launch from $site"
  wait_until 100 logged pcb "*** Launch Successful ***" || fail "pcb's launch failed"
  logged pcb "Host=pca LaunchSite=$site" || fail "pcb does not list pca's launch site"
  cmp -s "$standin" "$work/pcb/Varno2.exe" || fail "Varno2.exe was not copied to pcb's folder"
  logged pca "*** Launching From: C:\\e2e\\$case_name\\pca\\Varno2.exe" ||
    fail "pca did not launch its own copy"
  rm -f "$WINEPREFIX/dosdevices/unc/pca/c" "$WINEPREFIX/dosdevices/unc/pcb/c"
  ;;

hardened)
  printf '127.0.0.34 pca\n127.0.0.35 pcb\n' >"$work/hosts"
  for h in pca pcb; do
    mkdir -p "$WINEPREFIX/dosdevices/unc/$h"
    ln -sfn "$WINEPREFIX/drive_c" "$WINEPREFIX/dosdevices/unc/$h/c"
  done
  # The impostor has a copy of Varno too, so its site is one pcb could open.
  mkdir -p "$work/pca" "$work/evil"
  cp "$standin" "$work/pca/Varno2.exe"
  cp "$standin" "$work/evil/Varno2.exe"
  # pcb's debug output (its refusals) joins its log.
  WINEDEBUG=-all,warn+debugstr start pcb 127.0.0.35 yes 30 '\\pca\c;\\pcb\c' --hardened
  start evil 127.0.0.36 yes 30 '\\pca\c;\\pcb\c' --host-name pca --computer-name PCA
  real_site='\\pca\c\e2e\'"$case_name"'\pca\Varno2.exe'
  evil_site='\\pca\c\e2e\'"$case_name"'\evil\Varno2.exe'
  wait_until 300 logged pcb "at 127.0.0.36 refused" ||
    fail "pcb did not refuse the impostor's site on its debug output"
  start pca 127.0.0.34 yes 30 '\\pca\c;\\pcb\c'
  wait_until 300 logged pcb "*** Launching From: $real_site" ||
    fail "pcb did not launch from $real_site"
  logged pcb "Launching From: $evil_site" && fail "pcb launched the impostor's site"
  logged pcb "LaunchSite=$evil_site" && fail "pcb stored the impostor's site"
  rm -f "$WINEPREFIX/dosdevices/unc/pca/c" "$WINEPREFIX/dosdevices/unc/pcb/c"
  ;;

second-agent)
  printf '127.0.0.26 pcx\n' >"$work/hosts"
  start pcx 127.0.0.26 no 1 '\\pcx\c'
  quiet wine "$driver" wait "$title" present 15 || fail "the first agent has no window"
  run_value=$(wine reg query "$run_key" /v 1 </dev/null 2>/dev/null | tr -d '\r' |
    sed -n 's/^ *1 *REG_SZ *//p')
  [ "$run_value" = "$work_win\\pcx\\Launch.exe" ] || fail "Run value: '$run_value'"
  # The second agent must end before it writes the Run value.
  quiet wine reg delete "$run_key" /v 1 /f
  mkdir -p "$work/second"
  cp "$launch" "$work/second/Launch.exe"
  timeout 20 wine "$work_win\\second\\Launch.exe" --bind 127.0.0.27 --log-stdout \
    </dev/null >"$work/second.log" 2>&1
  [ $? -ne 124 ] || fail "the second agent kept running"
  quiet wine reg query "$run_key" /v 1 && fail "the second agent wrote the Run value"
  [ -s "$work/second.log" ] && fail "the second agent logged: $(head -3 "$work/second.log")"
  quiet wine "$driver" wait "$title" present 0 || fail "the first agent is gone"
  ;;

setup-files)
  printf '127.0.0.28 pcf\n127.0.0.29 pcg\n' >"$work/hosts"
  start pcf 127.0.0.28 no 1 '\\pcf\c;\\pcg\c' --show-setup
  setup_title="Agent setup for  (127.0.0.28) pcf"
  quiet wine "$driver" wait "$setup_title" present 15 || fail "no Agent Setup window"
  # The local boxes come after the selected computer's boxes of the same captions.
  quiet wine "$driver" click "$setup_title" "Web#2" "Jobs#2" "Stocks#2" Ok ||
    fail "the clicks did not reach the window"
  wait_until 50 test -f "$work/pcf/AgentInfo_1" || fail "no AgentInfo_1"
  # agent.dat: 200 names of 64 bytes (the first blank, the end of an empty list; the
  # others never written) and six 16-bit flags, True = FFFF: services (on at start),
  # intranet, web, news, jobs, stocks.
  {
    printf '%64s' ''
    head -c $((199 * 64)) /dev/zero
    printf '\xff\xff\0\0\xff\xff\0\0\xff\xff\xff\xff'
  } >"$work/agent.dat.expected"
  # AgentInfo_1: one record of 8256 bytes per computer of the LAN, in its order: the
  # name padded with blanks, then 64 users and contexts never written.
  for h in pcf pcg; do
    printf '%-64s' "$h"
    head -c 8192 /dev/zero
  done >"$work/AgentInfo_1.expected"
  for f in agent.dat AgentInfo_1; do
    cmp "$work/$f.expected" "$work/pcf/$f" ||
      fail "$f: $(stat -c %s "$work/pcf/$f" 2>/dev/null) bytes, $(stat -c %s "$work/$f.expected") expected"
  done
  ;;

*)
  echo "unknown case $case_name"
  exit 2
  ;;
esac

if [ $failures -ne 0 ]; then
  for f in "$work"/*.log; do
    echo "== ${f##*/}"
    tail -25 "$f"
  done
  exit 1
fi
echo "$case_name: passed"
