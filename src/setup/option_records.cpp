// Record layouts of the option files: filled by the setup capability.
#include "setup/option_records.h"

namespace launchagent {
void FixedText64::Assign(const std::string&) {}
std::string FixedText64::Text() const { return ""; }
std::string FixedText64::Trimmed() const { return ""; }
Bytes EncodeAgentOptions(const AgentOptions&) { return {}; }
bool DecodeAgentOptions(const Bytes&, AgentOptions&) { return false; }
Bytes EncodeAgentInfoRecord(const AgentInfoRecord&) { return {}; }
bool DecodeAgentInfoRecord(const Bytes&, std::size_t, AgentInfoRecord&) { return false; }
}  // namespace launchagent
