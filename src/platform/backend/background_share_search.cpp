#include "platform/backend/background_share_search.h"

#include <algorithm>
#include <cstring>

namespace launchagent::platform {

BackgroundShareSearch::~BackgroundShareSearch() { Join(); }

void BackgroundShareSearch::Join() {
  if (worker_.joinable()) worker_.join();
}

void BackgroundShareSearch::FindResources() {
  Join();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    names_.clear();
    nNext_ = 0;
    bError_ = false;
  }
  bRunning_ = true;
  worker_ = std::thread([this] {
    std::vector<std::string> names;
    const bool bOk = list_(names);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      names_ = std::move(names);
      bError_ = !bOk;
    }
    bRunning_ = false;
  });
}

Long BackgroundShareSearch::StillProcessing() { return bRunning_ ? 1 : 0; }

Long BackgroundShareSearch::ErrorOccurred() {
  std::lock_guard<std::mutex> lock(mutex_);
  return bError_ ? 1 : 0;
}

void BackgroundShareSearch::GetNResources(Long& lngCount) {
  std::lock_guard<std::mutex> lock(mutex_);
  lngCount = static_cast<Long>(std::min<size_t>(names_.size(), 0x7fffffff));
}

void BackgroundShareSearch::GetResource(std::array<char, 257>& buffer) {
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

void BackgroundShareSearch::FreeResources() {
  // A search still running is not stopped; the next start waits for it and clears.
  std::lock_guard<std::mutex> lock(mutex_);
  names_.clear();
  nNext_ = 0;
}

}  // namespace launchagent::platform
