#!/usr/bin/env bash
# Three real agents, each in a network namespace of its own with its own address and
# host name, joined by a bridge in a fourth namespace: the agents reach each other over a
# real (virtual) Ethernet, not loopback. Needs root and network namespaces; where they
# cannot be made the test reports itself skipped (exit 77).
#   netns_lan.sh LAUNCH_EXECUTABLE
set -u
launch=$1
skip() { echo "skipped: $*"; exit 77; }
[ "$(id -u)" = 0 ] || skip "needs root"
command -v ip >/dev/null || skip "no ip command"

tag=la$$
lan=${tag}lan
dir=$(mktemp -d)
pids=()
cleanup() {
  for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done
  wait 2>/dev/null
  for i in 1 2 3; do ip netns del "${tag}pc$i" 2>/dev/null; done
  ip netns del "$lan" 2>/dev/null
  rm -rf "$dir"
}
trap cleanup EXIT

ip netns add "$lan" 2>/dev/null || skip "cannot make network namespaces"
ip -n "$lan" link add br0 type bridge 2>/dev/null || skip "cannot make a bridge"
ip -n "$lan" link set br0 up
: >"$dir/hosts"
for i in 1 2 3; do
  ns=${tag}pc$i
  ip netns add "$ns" || skip "cannot make namespace $ns"
  ip link add "${tag}a$i" type veth peer name "${tag}b$i" 2>/dev/null || skip "cannot make veth"
  ip link set "${tag}a$i" netns "$ns" name eth0
  ip link set "${tag}b$i" netns "$lan"
  ip -n "$lan" link set "${tag}b$i" master br0 up
  ip -n "$ns" addr add "10.77.0.$i/24" dev eth0
  ip -n "$ns" link set eth0 up
  ip -n "$ns" link set lo up
  echo "10.77.0.$i pc$i" >>"$dir/hosts"
done

for i in 1 2 3; do
  r=$dir/pc$i
  mkdir -p "$r/c/Launch" "$r/c/sys" "$dir/net/pc$i"
  ln -s "$r/c" "$dir/net/pc$i/c"
  cp "$launch" "$r/c/Launch/Launch.exe"
  ip netns exec "${tag}pc$i" env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM \
    "$r/c/Launch/Launch.exe" --host-name "pc$i" --bind "10.77.0.$i" --drive "C:=$r/c" \
    --mount-root "$dir/net" --hosts-file "$dir/hosts" --time-scale 60 \
    --window-table "$r/windows" --system-folder "$r/c/sys" \
    --registry-file "$r/etc/registry" --autostart-dir "$r/etc/autostart" \
    --user-registry-file "$r/home/registry" --user-autostart-dir "$r/home/autostart" \
    --log-stdout >"$r/out.txt" 2>"$r/err.txt" &
  pids+=($!)
done

# At 60 agent seconds per real second a broadcast goes out about every half second.
heard_all() {
  for i in 1 2 3; do
    for j in 1 2 3; do
      [ "$i" = "$j" ] && continue
      grep -qx "HostInfoFrom=pc$j" "$dir/pc$i/out.txt" 2>/dev/null || return 1
    done
  done
}
for _ in $(seq 1 120); do
  heard_all && { echo "each agent heard the other two from its own namespace"; exit 0; }
  sleep 0.5
done
for i in 1 2 3; do
  echo "== pc$i"
  tail -n 15 "$dir/pc$i/out.txt"
  tail -n 5 "$dir/pc$i/err.txt"
done
echo "FAILED: not every agent heard the other two within 60 s"
exit 1
