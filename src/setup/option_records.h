#pragma once
// The fixed-length records of the two option files. Text fields hold exactly 64
// single-byte (Windows-1252) characters: blank-padded or cut when assigned, all zero
// bytes when never assigned.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/types.h"

namespace launchagent {

struct FixedText64 {
  std::array<std::uint8_t, 64> bytes{};  // never assigned: all zero
  // From UTF-8: characters outside Windows-1252 become "?"; padded with blanks or cut.
  void Assign(const std::string& sUtf8);
  // The 64 characters as UTF-8 (zero bytes included as they are).
  std::string Text() const;
  // Text with leading and trailing blanks (and zero bytes) removed.
  std::string Trimmed() const;
};

struct UserContext {
  FixedText64 sUserName;
  FixedText64 sContext;
};

// One record of the agent-info file: 8256 bytes.
struct AgentInfoRecord {
  static constexpr std::size_t kRecordLength = 8256;
  FixedText64 sHostName;
  std::array<UserContext, 64> Users;  // slot k at Users[k - 1]
};

// The options file in the agent's folder.
inline constexpr const char* kAgentOptionsFileName = "agent.dat";

// The one record of "agent.dat": 12812 bytes.
struct AgentOptions {
  static constexpr std::size_t kRecordLength = 12812;
  std::array<FixedText64, 200> sActiveHost;  // entry k at sActiveHost[k - 1]
  bool bActiveAgentServices = false;
  bool bSeekIntranet = false;
  bool bSeekWeb = false;
  bool bSeekNews = false;
  bool bSeekJobs = false;
  bool bSeekStocks = false;
};

Bytes EncodeAgentOptions(const AgentOptions& rec);
// Reads record 1; false when fewer than 12812 bytes are given.
bool DecodeAgentOptions(const Bytes& file, AgentOptions& rec);
// The active computers in order. A blank entry ends the list; so does one that was never
// written (zero bytes), which only a file from elsewhere can hold before its end marker.
std::vector<std::string> ActiveHosts(const AgentOptions& rec);
Bytes EncodeAgentInfoRecord(const AgentInfoRecord& rec);
// Reads record k (1-based) of an agent-info file; false when it is not there in full.
bool DecodeAgentInfoRecord(const Bytes& file, std::size_t k, AgentInfoRecord& rec);

}  // namespace launchagent
