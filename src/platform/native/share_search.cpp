#include "platform/native/share_search.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>

namespace launchagent::native {

NativeShareSearch::NativeShareSearch(const TimeBase& time, std::string sMountRoot,
                                     double dDelaySeconds)
    : platform::BackgroundShareSearch([sMountRoot = std::move(sMountRoot)](auto& names) {
        return ListShares(sMountRoot, names);
      }),
      time_(time),
      dDelay_(dDelaySeconds) {}

bool NativeShareSearch::ListShares(const std::string& sMountRoot, std::vector<std::string>& names) {
  names.clear();
  DIR* root = ::opendir(sMountRoot.c_str());
  if (!root) return false;
  std::vector<std::string> hosts;
  while (dirent* e = ::readdir(root))
    if (e->d_name[0] != '.') hosts.emplace_back(e->d_name);
  ::closedir(root);
  std::sort(hosts.begin(), hosts.end());
  for (const auto& sHost : hosts) {
    const std::string sHostDir = sMountRoot + "/" + sHost;
    DIR* dir = ::opendir(sHostDir.c_str());
    if (!dir) continue;  // an unreachable host shows nothing
    std::vector<std::string> shares;
    while (dirent* e = ::readdir(dir)) {
      if (e->d_name[0] == '.') continue;
      struct stat st {};
      if (::stat((sHostDir + "/" + e->d_name).c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        shares.emplace_back(e->d_name);
    }
    ::closedir(dir);
    std::sort(shares.begin(), shares.end());
    for (const auto& sShare : shares) names.push_back("\\\\" + sHost + "\\" + sShare);
  }
  return true;
}

void NativeShareSearch::FindResources() {
  platform::BackgroundShareSearch::FindResources();
  dReadyAt_ = time_.NowUnix() + dDelay_;
}

Long NativeShareSearch::StillProcessing() {
  return platform::BackgroundShareSearch::StillProcessing() != 0 || time_.NowUnix() < dReadyAt_ ? 1
                                                                                                : 0;
}

}  // namespace launchagent::native
