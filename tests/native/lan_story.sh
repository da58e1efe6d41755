#!/usr/bin/env bash
# scripts/lan-story against agents' log lines: each case is the lines fed in and the
# events told (time stamps cut off), so a change in the agent's lines or in the story's
# reading of them shows here.
set -u
story=$1
fail=0
check() {  # name, input, expected events
  local got
  got=$(printf '%b' "$2" | "$story" --time-scale 20 | cut -c24- | sed 's/ *$//' |
    grep -v 'log lines in all')
  if [ "$got" != "$(printf '%b' "$3")" ]; then
    echo "FAIL: $1"
    diff <(printf '%b\n' "$3") <(echo "$got") | sed 's/^/  /'
    fail=1
  fi
}

check "first contact, own check-in, launch from another host's site" \
  '[pc2] HostInfoFrom=pc1\n[pc2] HostInfoFrom=pc1\n[pc2] HostInfoFrom=pc2\n[pc2] *** Launching Varno now ... ***\n[pc2] *** Launching From: \\\\pc1\\c\\Varno2.exe\n[pc2] *** Launch Successful ***\n' \
  "pc2  agent started\npc2  first contact: heard from pc1\npc2  first check-in: its own broadcast came back to it\npc2  Varno launched from \\\\\\\\pc1\\\\c\\\\Varno2.exe (another host's launch site)"

check "a lapse: ages from 2 minutes, the close, the new launch" \
  '[pc3] Last Updated=2026-01-01 10:00:00(1)\n[pc3] Last Updated=2026-01-01 10:00:00(2)\n[pc3] Last Updated=2026-01-01 10:00:00(2)\n[pc3] Last Updated=2026-01-01 10:00:00(9)\n[pc3] Shutting Down Varno.\n[pc3] stand-in 42: closed\n[pc3] *** Launching From: C:\\Launch\\Varno2.exe\n[pc3] *** Launch Successful ***\n' \
  "pc3  agent started\npc3  its own check-in is 2 minutes old (Last Updated=...(2))\npc3  its own check-in is 9 minutes old (Last Updated=...(9))\npc3  check-in lapsed for 9 minutes: Shutting Down Varno.\npc3  Varno closed (the next watch, within 30 agent seconds, launches it again)\npc3  Varno launched again from C:\\\\Launch\\\\Varno2.exe"

check "ports stepped only past the first one; reached again once" \
  '[pc1] Trying to connect to pc3 via port  1230 and Socket  3\n[pc1] WARNING: No connection to host pc3\n[pc1] Trying to connect to pc3 via port  1231 and Socket  3\n[pc1] Trying to connect to pc3 via port  1232 and Socket  3\n[pc1] Connected to host pc3\n[pc1] Connected to host pc3\n' \
  "pc1  agent started\npc1  cannot reach pc3: trying the next agent ports (1231, ...)\npc1  reaches pc3 again"

check "errors are told, chatter and other programs' lines are not" \
  '[pc1] Verifying Agent  pc2\n[pc1] ERROR: Verification.\n[pc1] *** ERROR ***\n[pc1] Winsock.dll is not responding.\nnative-lan: stopped\n' \
  "pc1  agent started\npc1  ERROR: Verification. (a host it sends to has not answered yet, so its registry entry is empty)\npc1  ERROR: Varno could not be launched from ?\npc1  Winsock.dll is not responding.\n     stopped"
exit $fail
