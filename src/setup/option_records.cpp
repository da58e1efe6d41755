// Byte layouts of "agent.dat" and the agent-info file. Text fields are Windows-1252,
// one byte per character; flags are 16-bit little-endian with True = -1.
#include "setup/option_records.h"

#include <cstring>

namespace launchagent {

namespace {

constexpr std::size_t kTextLen = 64;
constexpr std::size_t kFlagsOffset = 200 * kTextLen;  // 12800
constexpr std::uint8_t kBlank = 0x20;
constexpr std::uint8_t kUnknown = '?';

// Code points of bytes 0x80 to 0x9F. The five bytes that Windows-1252 leaves unassigned
// stand for the control characters of the same number, as the system's own conversion
// does, so every byte survives a round trip through UTF-8.
constexpr char32_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t ByteToCodePoint(std::uint8_t b) {
  if (b >= 0x80 && b <= 0x9F) return kHighControls[b - 0x80];
  return b;
}

// The single byte of a code point, or '?' when Windows-1252 has no such character.
std::uint8_t CodePointToByte(char32_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<std::uint8_t>(c);
  for (std::uint8_t i = 0; i < 32; ++i)
    if (kHighControls[i] == c) return static_cast<std::uint8_t>(0x80 + i);
  return kUnknown;
}

void AppendUtf8(std::string& s, char32_t c) {
  if (c < 0x80) {
    s += static_cast<char>(c);
  } else if (c < 0x800) {
    s += static_cast<char>(0xC0 | (c >> 6));
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    s += static_cast<char>(0xE0 | (c >> 12));
    s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Reads one code point from UTF-8 at i and moves i past it. A malformed sequence
// (stray continuation byte, truncated, overlong, surrogate, beyond U+10FFFF) yields
// one replacement per offending lead byte.
char32_t NextCodePoint(const std::string& s, std::size_t& i, bool& bValid) {
  const auto b0 = static_cast<std::uint8_t>(s[i]);
  bValid = true;
  if (b0 < 0x80) {
    ++i;
    return b0;
  }
  std::size_t nLen = 0;
  char32_t c = 0;
  char32_t cMin = 0;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    nLen = 2;
    c = b0 & 0x1F;
    cMin = 0x80;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    nLen = 3;
    c = b0 & 0x0F;
    cMin = 0x800;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    nLen = 4;
    c = b0 & 0x07;
    cMin = 0x10000;
  }
  if (nLen == 0 || i + nLen > s.size()) {
    bValid = false;
    ++i;
    return 0;
  }
  for (std::size_t k = 1; k < nLen; ++k) {
    const auto b = static_cast<std::uint8_t>(s[i + k]);
    if ((b & 0xC0) != 0x80) {
      bValid = false;
      ++i;
      return 0;
    }
    c = (c << 6) | (b & 0x3F);
  }
  if (c < cMin || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
    bValid = false;
    ++i;
    return 0;
  }
  i += nLen;
  return c;
}

std::string BytesToUtf8(const std::uint8_t* p, std::size_t n) {
  std::string s;
  s.reserve(n);
  for (std::size_t i = 0; i < n; ++i) AppendUtf8(s, ByteToCodePoint(p[i]));
  return s;
}

void PutFlag(Bytes& out, std::size_t nOffset, bool b) {
  const std::uint16_t w = b ? 0xFFFF : 0x0000;
  out[nOffset] = static_cast<std::uint8_t>(w & 0xFF);
  out[nOffset + 1] = static_cast<std::uint8_t>(w >> 8);
}

// Any non-zero value counts as True.
bool GetFlag(const Bytes& in, std::size_t nOffset) {
  return in[nOffset] != 0 || in[nOffset + 1] != 0;
}

void PutText(Bytes& out, std::size_t nOffset, const FixedText64& t) {
  std::memcpy(out.data() + nOffset, t.bytes.data(), kTextLen);
}

void GetText(const Bytes& in, std::size_t nOffset, FixedText64& t) {
  std::memcpy(t.bytes.data(), in.data() + nOffset, kTextLen);
}

}  // namespace

void FixedText64::Assign(const std::string& sUtf8) {
  std::size_t nOut = 0;
  std::size_t i = 0;
  while (i < sUtf8.size() && nOut < kTextLen) {
    bool bValid = true;
    const char32_t c = NextCodePoint(sUtf8, i, bValid);
    bytes[nOut++] = bValid ? CodePointToByte(c) : kUnknown;
  }
  while (nOut < kTextLen) bytes[nOut++] = kBlank;
}

std::string FixedText64::Text() const { return BytesToUtf8(bytes.data(), kTextLen); }

std::string FixedText64::Trimmed() const {
  auto isPad = [](std::uint8_t b) { return b == kBlank || b == 0; };
  std::size_t nStart = 0;
  std::size_t nEnd = kTextLen;
  while (nStart < nEnd && isPad(bytes[nStart])) ++nStart;
  while (nEnd > nStart && isPad(bytes[nEnd - 1])) --nEnd;
  return BytesToUtf8(bytes.data() + nStart, nEnd - nStart);
}

Bytes EncodeAgentOptions(const AgentOptions& rec) {
  Bytes out(AgentOptions::kRecordLength, 0);
  for (std::size_t k = 0; k < rec.sActiveHost.size(); ++k)
    PutText(out, k * kTextLen, rec.sActiveHost[k]);
  PutFlag(out, kFlagsOffset, rec.bActiveAgentServices);
  PutFlag(out, kFlagsOffset + 2, rec.bSeekIntranet);
  PutFlag(out, kFlagsOffset + 4, rec.bSeekWeb);
  PutFlag(out, kFlagsOffset + 6, rec.bSeekNews);
  PutFlag(out, kFlagsOffset + 8, rec.bSeekJobs);
  PutFlag(out, kFlagsOffset + 10, rec.bSeekStocks);
  return out;
}

bool DecodeAgentOptions(const Bytes& file, AgentOptions& rec) {
  if (file.size() < AgentOptions::kRecordLength) return false;
  for (std::size_t k = 0; k < rec.sActiveHost.size(); ++k)
    GetText(file, k * kTextLen, rec.sActiveHost[k]);
  rec.bActiveAgentServices = GetFlag(file, kFlagsOffset);
  rec.bSeekIntranet = GetFlag(file, kFlagsOffset + 2);
  rec.bSeekWeb = GetFlag(file, kFlagsOffset + 4);
  rec.bSeekNews = GetFlag(file, kFlagsOffset + 6);
  rec.bSeekJobs = GetFlag(file, kFlagsOffset + 8);
  rec.bSeekStocks = GetFlag(file, kFlagsOffset + 10);
  return true;
}

Bytes EncodeAgentInfoRecord(const AgentInfoRecord& rec) {
  Bytes out(AgentInfoRecord::kRecordLength, 0);
  PutText(out, 0, rec.sHostName);
  for (std::size_t k = 0; k < rec.Users.size(); ++k) {
    PutText(out, kTextLen + 2 * kTextLen * k, rec.Users[k].sUserName);
    PutText(out, 2 * kTextLen + 2 * kTextLen * k, rec.Users[k].sContext);
  }
  return out;
}

bool DecodeAgentInfoRecord(const Bytes& file, std::size_t k, AgentInfoRecord& rec) {
  constexpr std::size_t kLen = AgentInfoRecord::kRecordLength;
  if (k < 1 || k > file.size() / kLen) return false;
  const std::size_t nBase = (k - 1) * kLen;
  GetText(file, nBase, rec.sHostName);
  for (std::size_t u = 0; u < rec.Users.size(); ++u) {
    GetText(file, nBase + kTextLen + 2 * kTextLen * u, rec.Users[u].sUserName);
    GetText(file, nBase + 2 * kTextLen + 2 * kTextLen * u, rec.Users[u].sContext);
  }
  return true;
}

std::vector<std::string> ActiveHosts(const AgentOptions& rec) {
  std::vector<std::string> hosts;
  for (const FixedText64& entry : rec.sActiveHost) {
    const std::uint8_t b = entry.bytes[0];
    if (b == ' ' || b == 0) break;
    hosts.push_back(entry.Trimmed());
  }
  return hosts;
}

}  // namespace launchagent
