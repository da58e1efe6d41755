#pragma once
// Helpers of the native tests: temporary folders, small files, waiting on the loop.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "platform/native/event_loop.h"

namespace launchagent::native::test {

class TempDir {
 public:
  TempDir() {
    char buf[] = "/tmp/la-native-XXXXXX";
    sPath_ = ::mkdtemp(buf) ? buf : "/tmp";
  }
  ~TempDir() {
    const std::string sCmd = "rm -rf '" + sPath_ + "'";
    if (sPath_ != "/tmp") (void)!std::system(sCmd.c_str());
  }
  const std::string& Path() const { return sPath_; }
  std::string operator/(const std::string& s) const { return sPath_ + "/" + s; }

 private:
  std::string sPath_;
};

inline void MakeDirs(const std::string& s) {
  const std::string sCmd = "mkdir -p '" + s + "'";
  (void)!std::system(sCmd.c_str());
}

inline void WriteText(const std::string& sPath, const std::string& sText) {
  std::ofstream(sPath, std::ios::binary) << sText;
}

inline std::string ReadText(const std::string& sPath) {
  std::ifstream in(sPath, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
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
