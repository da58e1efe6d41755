// LAN resource discovery: one share search per call, the \\host\share resources found,
// those of this computer, and local paths turned into network paths through them.
#include "lanresources/frm_lan_resources.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/shared_steps.h"
#include "platform/text.h"

namespace launchagent {

namespace {

// The search runs in the background; it is given at most this many one-second waits.
constexpr int kMaxSearchWaits = 60;
constexpr std::size_t kBufferLen = 256;

}  // namespace

void FrmLANResources::UpdateResources(std::vector<std::string>& sResources) {
  platform::ShareSearch& shares = platform_.shares;
  colLANResources.clear();
  shares.FindResources();
  for (int nWait = 0; nWait < kMaxSearchWaits; ++nWait) {
    Pause(platform_.clock, platform_.loop, 1);
    if (shares.StillProcessing() == 0) break;
  }
  // A search still running after the last wait is read as it stands.

  if (shares.ErrorOccurred() == 0) {
    Long lngCount = 0;
    shares.GetNResources(lngCount);
    for (std::int64_t i = 1; i <= lngCount; ++i) {
      std::array<char, kBufferLen + 1> buffer{};
      std::fill(buffer.begin(), buffer.begin() + kBufferLen, ' ');
      buffer[kBufferLen] = '\0';
      shares.GetResource(buffer);
      // Only the 256 characters of the buffer come back; the terminator behind them is
      // the caller's, so a name that fills the buffer has no zero and reads as empty.
      const std::string sBuffer(buffer.data(), kBufferLen);
      if (sBuffer.compare(0, 2, "\\\\") != 0) continue;
      colLANResources.push_back({std::to_string(i), TrimAtNull(sBuffer)});
    }
  }
  shares.FreeResources();

  // Nothing found: the caller's list and the local shares stay as they were.
  if (colLANResources.empty()) return;

  sResources.assign(colLANResources.size() + 1, std::string());
  for (std::size_t i = 0; i < colLANResources.size(); ++i)
    sResources[i + 1] = colLANResources[i].sText;

  colLocalShares.clear();
  // A containment test: \\pc070\x counts as a share of pc07 too.
  const std::string sLocalPrefix = "\\\\" + AsciiLower(localHostName_());
  for (const KeyedText& entry : colLANResources) {
    if (AsciiLower(entry.sText).find(sLocalPrefix) != std::string::npos)
      colLocalShares.push_back(entry);
  }
}

std::string FrmLANResources::GetUNC(const std::string& sPath) {
  const std::size_t nColon = sPath.find(':');
  if (nColon == std::string::npos) return "";
  // The drive letter is dropped: a share reaches the file only when its root is the
  // drive's root.
  const std::string sTail = sPath.substr(nColon + 1);
  // A copy: checking access may let events run, and a search may replace the shares.
  const std::vector<KeyedText> shares = colLocalShares;
  for (const KeyedText& share : shares) {
    const std::string sCandidate = share.sText + sTail;
    if (CanAccessFile(sCandidate) || CanAccessFolder(sCandidate)) return sCandidate;
  }
  return "";
}

bool FrmLANResources::CanAccessFile(const std::string& sPath) {
  if (sPath.empty()) return false;
  return platform_.files.CanOpenForReading(sPath);
}

bool FrmLANResources::CanAccessFolder(const std::string& sPath) {
  if (sPath.empty()) return false;
  return platform_.files.FolderExists(sPath);
}

std::string FrmLANResources::TrimAtNull(const std::string& s) {
  const std::size_t nPos = s.find('\0');
  if (nPos == std::string::npos) return "";
  return s.substr(0, nPos);
}

}  // namespace launchagent
