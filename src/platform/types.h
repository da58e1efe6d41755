#pragma once
// Value types shared by the whole agent. The agent's data model speaks of 16-bit
// integers, 32-bit integers, single-precision numbers and byte images; these names
// keep that vocabulary visible in signatures.
#include <cstdint>
#include <string>
#include <vector>

namespace launchagent {

using Integer = std::int16_t;  // counters, ports, list positions, table counts
using Long = std::int32_t;     // socket and registry positions
using Single = float;          // message identifiers, seconds since midnight
using Bytes = std::vector<std::uint8_t>;

// Booleans as they are stored in files: True = -1, False = 0.
constexpr Integer kTrue16 = -1;
constexpr Integer kFalse16 = 0;

}  // namespace launchagent
