// The World's public face: its seed, time and scheduling, and the transcript; the hosts,
// programs, network and disks are its facets' own files.
#include "platform/sim/world.h"

#include <cmath>
#include <cstdlib>

#include "platform/sim/impl.h"

namespace launchagent::sim {

Nanos FromSeconds(double dSeconds) {
  if (!(dSeconds == dSeconds)) return 0;  // NaN
  const double ns = dSeconds * 1e9;
  if (ns >= 9.2e18) return kForever;
  if (ns <= -9.2e18) return -kForever;
  return static_cast<Nanos>(std::llround(ns));
}

std::optional<Address> ParseAddress(const std::string& sText) {
  Address a{};
  std::size_t i = 0;
  for (int part = 0; part < 4; ++part) {
    if (part > 0) {
      if (i >= sText.size() || sText[i] != '.') return std::nullopt;
      ++i;
    }
    int value = 0, digits = 0;
    while (i < sText.size() && sText[i] >= '0' && sText[i] <= '9' && digits < 4) {
      value = value * 10 + (sText[i] - '0');
      ++i;
      ++digits;
    }
    if (digits == 0 || digits > 3 || value > 255) return std::nullopt;
    a[static_cast<std::size_t>(part)] = static_cast<std::uint8_t>(value);
  }
  if (i != sText.size()) return std::nullopt;
  return a;
}

std::string FormatAddress(const Address& a) {
  return std::to_string(a[0]) + "." + std::to_string(a[1]) + "." + std::to_string(a[2]) + "." +
         std::to_string(a[3]);
}

std::string ProgramStart::Option(const std::string& sKey, const std::string& sDefault) const {
  for (auto& [k, v] : options)
    if (EqualNoCase(k, sKey)) return v;
  return sDefault;
}

// ---- The world's inside ----------------------------------------------------------------

WorldImpl::WorldImpl(std::uint64_t s) : seed(s) {
  programs["varno"] = [this](platform::Platform& p, const ProgramStart& start) {
    VarnoProgram(*this, p, start);
  };
}

WorldImpl::~WorldImpl() {
  // Programs unwind first, while everything they touch still exists; nothing they do
  // now reaches the transcript or a sink that may already be gone.
  bTearingDown = true;
  transcript.Close();
  KillAll();
  sched.Clear();
  net.raw.Clear();
  processes.clear();
  hosts.clear();
}

World::World(std::uint64_t seed) : impl_(std::make_unique<WorldImpl>(seed)) {}
World::~World() = default;

std::uint64_t World::Seed() const { return impl_->seed; }
std::uint64_t World::SubSeed(const std::string& sPurpose) const {
  return DeriveSeed(impl_->seed, sPurpose);
}

// ---- Time -----------------------------------------------------------------------------

void World::SetStartDateTime(DateTime start) {
  if (impl_->hosts.empty() && impl_->now == 0) impl_->startDate = start;
}
DateTime World::StartDateTime() const { return impl_->startDate; }
Nanos World::Now() const { return impl_->now; }
void World::RunUntil(Nanos t) { impl_->sched.RunUntil(t); }
void World::RunFor(Nanos d) {
  impl_->sched.RunUntil(d >= kForever - impl_->now ? kForever : impl_->now + d);
}
bool World::Step() {
  if (impl_->sched.current) Fatal("World::Step from inside a process");
  return impl_->sched.Step();
}
void World::At(Nanos t, std::function<void()> fn) { impl_->sched.PostWorld(t, std::move(fn)); }
bool World::Call(ProcessId pid, std::function<void()> fn) {
  return impl_->sched.Call(pid, std::move(fn));
}

// ---- Transcript -------------------------------------------------------------------------

const std::vector<std::string>& World::Transcript() const { return impl_->transcript.Lines(); }

std::vector<std::string> World::TakeTranscript() { return impl_->transcript.TakeLines(); }

void World::SetTranscriptSink(std::function<void(const std::string&)> sink) {
  impl_->transcript.SetSink(std::move(sink));
}

void World::KeepTranscript(bool bKeep) { impl_->transcript.SetKeep(bKeep); }

void World::Record(std::optional<HostId> host, TranscriptKind kind, const std::string& sText) {
  impl_->Record(host, kind, sText);
}

void World::Note(std::optional<HostId> host, const std::string& sText) {
  impl_->Record(host, TranscriptKind::Note, sText);
}

}  // namespace launchagent::sim
