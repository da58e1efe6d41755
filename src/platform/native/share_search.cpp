#include "platform/native/share_search.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace launchagent::native {

NativeShareSearch::~NativeShareSearch() { Join(); }

void NativeShareSearch::Join() {
  if (worker_.joinable()) worker_.join();
}

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
  Join();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    names_.clear();
    nNext_ = 0;
    bError_ = false;
  }
  dReadyAt_ = time_.NowUnix() + dDelay_;
  bRunning_ = true;
  worker_ = std::thread([this] {
    std::vector<std::string> names;
    const bool bOk = ListShares(sMountRoot_, names);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      names_ = std::move(names);
      bError_ = !bOk;
    }
    bRunning_ = false;
  });
}

Long NativeShareSearch::StillProcessing() {
  return bRunning_ || time_.NowUnix() < dReadyAt_ ? 1 : 0;
}

Long NativeShareSearch::ErrorOccurred() {
  std::lock_guard<std::mutex> lock(mutex_);
  return bError_ ? 1 : 0;
}

void NativeShareSearch::GetNResources(Long& lngCount) {
  std::lock_guard<std::mutex> lock(mutex_);
  lngCount = static_cast<Long>(std::min<size_t>(names_.size(), 0x7fffffff));
}

void NativeShareSearch::GetResource(std::array<char, 257>& buffer) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (nNext_ >= names_.size()) {
    buffer[0] = '\0';
    return;
  }
  const std::string& s = names_[nNext_++];
  const size_t n = std::min<size_t>(s.size(), 255);
  std::memcpy(buffer.data(), s.data(), n);
  buffer[n] = '\0';
}

void NativeShareSearch::FreeResources() {
  // A search still running is not stopped; the next start waits for it and clears.
  std::lock_guard<std::mutex> lock(mutex_);
  names_.clear();
  nNext_ = 0;
}

}  // namespace launchagent::native
