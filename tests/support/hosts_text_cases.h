#pragma once
// One table for the hosts-file text and the dotted quads that both desktop backends
// read (native and win32): each backend's test runs its own parser over it.
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace launchagent::testing {

// Comments, a name's first address winning, other names of a line, bad addresses, a
// name before its address, blank and binary lines, a last line without its end.
inline const std::string kHostsText =
    "# comment\n127.0.0.11 pc1 PC-One  # the first\n127.0.0.12 pc1\n\n127.0.0.3\tpc3 # x\n"
    "300.1.1.1 bad\npc4 127.0.0.14\n  \t\n10.0.0.1\n\xff\xfe garbage \x01\n10.0.0.2 pc2";
inline const std::map<std::string, std::array<std::uint8_t, 4>> kHostsNames = {
    {"pc1", {127, 0, 0, 11}},
    {"pc-one", {127, 0, 0, 11}},
    {"pc3", {127, 0, 0, 3}},
    {"pc2", {10, 0, 0, 2}}};

inline const std::pair<const char*, bool> kDottedQuads[] = {
    {"10.0.0.1", true},   {"255.255.255.255", true}, {"010.000.000.007", true},
    {"256.0.0.1", false}, {"1.2.3", false},          {"1.2.3.4.5", false},
    {"a.b.c.d", false},   {"1..2.3", false},         {"", false},
    {" 1.2.3.4", false},  {"1.2.3.4 ", false},       {"1234.1.1.1", false}};

}  // namespace launchagent::testing
