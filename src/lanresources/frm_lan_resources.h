#pragma once
// Wraps the share search: runs one search per call, keeps the \\host\share resources
// found and those of this computer, and maps local paths to network paths.
#include <functional>
#include <string>
#include <vector>

#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class FrmLANResources {
 public:
  struct KeyedText {
    std::string sKey;
    std::string sText;
  };

  // localHostName names this computer, whose shares are kept apart.
  FrmLANResources(platform::Platform& platform, std::function<std::string()> localHostName)
      : platform_(platform), localHostName_(std::move(localHostName)) {}
  // Fills sResources (entries 1..n, entry 0 unused) with every UNC resource found. When
  // nothing is found the caller's list is left exactly as it was.
  void UpdateResources(std::vector<std::string>& sResources);
  std::string GetUNC(const std::string& sPath);
  bool CanAccessFile(const std::string& sPath);
  bool CanAccessFolder(const std::string& sPath);
  static std::string TrimAtNull(const std::string& s);

  std::vector<KeyedText> colLANResources;
  std::vector<KeyedText> colLocalShares;

 private:
  platform::Platform& platform_;
  std::function<std::string()> localHostName_;
};

}  // namespace launchagent
