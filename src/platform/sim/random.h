#pragma once
// The simulator's own random numbers: splitmix64 for seeding, xoshiro256** for the
// streams, and our own distributions, so that a seed gives the same draws with every
// standard library.
#include <cstdint>
#include <string>

namespace launchagent::sim {

// One step of splitmix64: advances `state` and returns the next output.
std::uint64_t SplitMix64(std::uint64_t& state);

// A seed for an independent stream: the parent seed mixed with a purpose and a number.
std::uint64_t DeriveSeed(std::uint64_t seed, const std::string& sPurpose,
                         std::uint64_t nNumber = 0);

class Rng {
 public:
  explicit Rng(std::uint64_t seed = 0);
  std::uint64_t Next();
  // Uniform in [lo, hi] (inclusive); lo when hi < lo.
  std::int64_t UniformInt(std::int64_t lo, std::int64_t hi);
  // Uniform in [0, 1).
  double UniformReal();
  // True with probability p.
  bool Chance(double p);

 private:
  std::uint64_t s_[4];
};

}  // namespace launchagent::sim
