#pragma once
// Helpers of the native tests: temporary folders, small files, waiting on the loop.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "platform/native/event_loop.h"

namespace launchagent::native::test {

// A fresh folder under /tmp, removed with all it holds when the test ends.
class TempDir {
 public:
  TempDir() : sPath_(::mkdtemp(szTemplate_) ? szTemplate_ : "/tmp") {}
  ~TempDir() {
    if (std::error_code e; sPath_ != "/tmp") std::filesystem::remove_all(sPath_, e);
  }
  const std::string& Path() const { return sPath_; }
  std::string operator/(const std::string& s) const { return sPath_ + "/" + s; }

 private:
  char szTemplate_[22] = "/tmp/la-native-XXXXXX";
  std::string sPath_;
};

inline void MakeDirs(const std::string& s) { std::filesystem::create_directories(s); }

inline void WriteText(const std::string& sPath, const std::string& sText) {
  std::ofstream(sPath, std::ios::binary) << sText;
}

inline std::string ReadText(const std::string& sPath) {
  std::ostringstream s;
  s << std::ifstream(sPath, std::ios::binary).rdbuf();
  return s.str();
}

// Runs the loop until cond holds or about nMaxWaits waits (of 0.05 s) have passed.
inline bool WaitUntil(NativeEventLoop& loop, const std::function<bool()>& cond,
                      int nMaxWaits = 200) {
  for (int i = 0; i < nMaxWaits && !cond(); ++i) loop.WaitForEvents(0.05);
  return cond();
}

// Sleeps in real time until cond holds, for programs outside our loop.
inline bool PollUntil(const std::function<bool()>& cond, int nMaxMs = 10000) {
  for (int i = 0; i < nMaxMs / 20 && !cond(); ++i) ::usleep(20000);
  return cond();
}

}  // namespace launchagent::native::test
