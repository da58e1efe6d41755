#include "platform/sim/random.h"

namespace launchagent::sim {

std::uint64_t SplitMix64(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

std::uint64_t DeriveSeed(std::uint64_t seed, const std::string& sPurpose, std::uint64_t nNumber) {
  // FNV-1a over the purpose keeps names apart; splitmix spreads the bits.
  std::uint64_t h = 0xCBF29CE484222325ULL;
  for (unsigned char c : sPurpose) {
    h ^= c;
    h *= 0x100000001B3ULL;
  }
  std::uint64_t state = seed ^ h;
  SplitMix64(state);
  state ^= nNumber * 0xD1B54A32D192ED03ULL;
  return SplitMix64(state);
}

Rng::Rng(std::uint64_t seed) {
  std::uint64_t state = seed;
  for (auto& s : s_) s = SplitMix64(state);
}

namespace {
std::uint64_t Rotl(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
}  // namespace

std::uint64_t Rng::Next() {
  const std::uint64_t result = Rotl(s_[1] * 5, 7) * 9;
  const std::uint64_t t = s_[1] << 17;
  s_[2] ^= s_[0];
  s_[3] ^= s_[1];
  s_[1] ^= s_[2];
  s_[0] ^= s_[3];
  s_[2] ^= t;
  s_[3] = Rotl(s_[3], 45);
  return result;
}

std::int64_t Rng::UniformInt(std::int64_t lo, std::int64_t hi) {
  if (hi <= lo) return lo;
  const std::uint64_t range = static_cast<std::uint64_t>(hi) - static_cast<std::uint64_t>(lo);
  if (range == UINT64_MAX) return static_cast<std::int64_t>(Next());
  const std::uint64_t n = range + 1;
  // Rejection keeps the draw exactly uniform.
  const std::uint64_t limit = UINT64_MAX - (UINT64_MAX % n);
  std::uint64_t x = Next();
  while (x >= limit) x = Next();
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(lo) + x % n);
}

double Rng::UniformReal() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }

bool Rng::Chance(double p) { return UniformReal() < p; }

}  // namespace launchagent::sim
