// Arbitrary bytes as "agent.dat" and as an agent-info file: the record decoders never
// crash, read only whole records, and every text field survives the trip through UTF-8
// and back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "setup/option_records.h"

namespace {

using launchagent::AgentInfoRecord;
using launchagent::AgentOptions;
using launchagent::Bytes;
using launchagent::FixedText64;

void Check(bool b) {
  if (!b) std::abort();
}

void CheckText(const FixedText64& t) {
  FixedText64 u;
  u.Assign(t.Text());
  Check(u.bytes == t.bytes);
  const std::string s = t.Trimmed();
  Check(s.empty() || (s.front() != ' ' && s.back() != ' '));
  // Arbitrary UTF-8 (here: the raw bytes) always fills all 64 bytes.
  FixedText64 v;
  v.Assign(std::string(t.bytes.begin(), t.bytes.end()));
  Check(v.bytes.size() == 64);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes file(data, data + size);

  AgentOptions opts;
  const bool bOptions = launchagent::DecodeAgentOptions(file, opts);
  Check(bOptions == (size >= AgentOptions::kRecordLength));
  if (bOptions) {
    for (const FixedText64& t : opts.sActiveHost) CheckText(t);
    // Re-encoding gives back the text bytes; flags come back as -1 or 0.
    const Bytes again = launchagent::EncodeAgentOptions(opts);
    Check(again.size() == AgentOptions::kRecordLength);
    for (std::size_t i = 0; i < 12800; ++i) Check(again[i] == file[i]);
    for (std::size_t i = 12800; i < again.size(); i += 2) {
      const bool bSet = file[i] != 0 || file[i + 1] != 0;
      Check(again[i] == (bSet ? 0xFF : 0) && again[i + 1] == again[i]);
    }
  }

  const std::size_t nWhole = size / AgentInfoRecord::kRecordLength;
  AgentInfoRecord rec;
  Check(!launchagent::DecodeAgentInfoRecord(file, 0, rec));
  std::size_t k = 1;
  for (; launchagent::DecodeAgentInfoRecord(file, k, rec); ++k) {
    CheckText(rec.sHostName);
    for (const auto& slot : rec.Users) {
      CheckText(slot.sUserName);
      CheckText(slot.sContext);
    }
    const Bytes again = launchagent::EncodeAgentInfoRecord(rec);
    const std::size_t nBase = (k - 1) * AgentInfoRecord::kRecordLength;
    for (std::size_t i = 0; i < again.size(); ++i) Check(again[i] == file[nBase + i]);
  }
  Check(k - 1 == nWhole);
  return 0;
}
