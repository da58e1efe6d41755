#pragma once
// The seam's contract, written once and run against every backend. A backend joins by
// giving a small factory (one file per backend) that builds its Platform and offers the
// few things a test needs from outside the seam: placing files, reading a value back,
// a free port, the stand-in program at a path of the system's form.
//
// Every case runs its whole body through Backend::In, because a simulated process may
// only touch its platform on its own fiber; the real backends just call the body.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "platform/services.h"

namespace launchagent::contract {

// Where backends legitimately differ. Each case that depends on one says why.
struct Traits {
  // Listings come in creation order (the simulator's disks) rather than in an order
  // the file system chose (directory hash order, name order).
  bool bCreationOrder = false;
  // One data arrival hands over at most 64 KiB. The simulator models the network at
  // the connection level: a send arrives whole, whatever its size.
  bool bCapsArrivals = true;
  // A listing of a folder's content with folders holds "." and ".." as the desktop's
  // own listings do. The simulator's disks keep no such entries. The agent only asks
  // whether a listing is empty, which both answer alike.
  bool bDotFolders = true;
  // A program in a folder that does not exist gives 3 (path not found). Wine's shell
  // answers 2 (file not found) there; the agent only tells > 32 from the rest.
  bool bMissingFolderIsPathNotFound = true;
  // A detached form's window is gone at once. On an X display it goes when the main
  // loop takes control again (Qt's deferred deletion), which the case does not run.
  bool bDetachedWindowGoesAtOnce = true;
};

class Backend {
 public:
  virtual ~Backend() = default;
  virtual platform::Platform& Get() = 0;
  virtual Traits Differences() const { return {}; }
  // Runs fn as the agent process would run it: the real backends just call it.
  virtual void In(const std::function<void()>& fn) { fn(); }

  // A folder of the system's form ("C:\ct") that exists, empty, for this test.
  virtual std::string Scratch() = 0;
  // Where a name of that folder lies for the C library of the test (the real backends).
  virtual std::string Local(const std::string& sName) { return Scratch() + "\\" + sName; }
  // Places a file there from outside the seam; hidden as this backend marks files hidden
  // (a leading dot hides a file on the desktop without further ado).
  virtual void PutFile(const std::string& sName, const std::string& sContent, bool) {
    std::ofstream(Local(sName), std::ios::binary) << sContent;
  }
  virtual void PutFolder(const std::string& sName) {
    std::filesystem::create_directories(Local(sName));
  }
  // What the file system holds under this name, read from outside the seam.
  virtual std::optional<std::string> FileContent(const std::string& sName) {
    if (!std::filesystem::is_regular_file(Local(sName))) return std::nullopt;
    return ReadAll(Local(sName));
  }
  static std::string ReadAll(const std::string& sPath) {
    std::ostringstream s;
    s << std::ifstream(sPath, std::ios::binary).rdbuf();
    return s.str();
  }
  // The names in the scratch folder in the order this file system keeps them, read
  // without the seam; empty when the backend has no such view (the order is then
  // only checked to be stable).
  virtual std::vector<std::string> RawOrder() = 0;
  // The agent's folder as this backend sets it up for the test.
  virtual std::string ExpectedAgentFolder() = 0;

  // The stand-in main application at a path of the system's form: one top-level window
  // of class "ThunderRT6FormDC" titled "Varno" that closes on a close request.
  virtual std::string StandInPath() = 0;
  // A TCP port nobody listens on, and the name this machine reaches itself by. The real
  // backends bind to 127.0.0.2, so a connection that did not leave from the bound address
  // shows as one from 127.0.0.1.
  virtual Long FreePort() {
    // One that a listener of this backend can take, from a random start so that runs
    // at the same time seldom try the same ports.
    static Long lngNext = 20000 + static_cast<Long>(std::random_device{}() % 30000);
    auto probe = Get().network.CreateSocketArray("sckProbe");
    for (int i = 0; i < 100; ++i, ++lngNext)
      if (probe->SetLocalPort(0, lngNext) && probe->Listen(0)) {
        probe->Close(0);
        return lngNext++;
      }
    return 0;
  }
  virtual std::string LoopbackHost() { return "127.0.0.2"; }
  // A value written through the registry, read back from outside the seam.
  virtual std::optional<std::string> RegistryValue(platform::RegistryRoot root,
                                                   const std::string& sSubKey,
                                                   const std::string& sName) = 0;
};

struct BackendMaker {
  std::string sName;
  std::function<std::unique_ptr<Backend>()> make;
};

// Test names and messages show the backend's name, not the factory's bytes.
inline void PrintTo(const BackendMaker& maker, std::ostream* os) { *os << maker.sName; }

inline std::string BackendName(const ::testing::TestParamInfo<BackendMaker>& info) {
  return info.param.sName;
}

// Waits on the loop until cond holds, for at least nMaxWaits waits (of 0.05 agent seconds)
// and at least 20 real seconds: each event ends a wait early, and a busy machine hands a
// large send over in many small arrivals.
inline bool WaitOn(platform::EventLoop& loop, const std::function<bool()>& cond,
                   int nMaxWaits = 200) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (int i = 0; !cond(); ++i) {
    if (i >= nMaxWaits && std::chrono::steady_clock::now() >= deadline) return false;
    loop.WaitForEvents(0.05);
  }
  return true;
}

class Contract : public ::testing::TestWithParam<BackendMaker> {
 protected:
  void SetUp() override { backend_ = GetParam().make(); }
  void TearDown() override { backend_.reset(); }

  Backend& B() { return *backend_; }
  platform::Platform& P() { return backend_->Get(); }
  Traits Differences() const { return backend_->Differences(); }
  void In(const std::function<void()>& fn) { backend_->In(fn); }

  // Waits on the loop (inside In) until cond holds or about ten agent seconds passed.
  bool Until(const std::function<bool()>& cond, int nMaxWaits = 200) {
    return WaitOn(P().loop, cond, nMaxWaits);
  }
  // Agent seconds since midnight, wrapped so a span across midnight stays positive.
  double Since(double dStart) {
    double d = P().clock.SecondsSinceMidnight() - dStart;
    return d < 0 ? d + 86400 : d;
  }

 private:
  std::unique_ptr<Backend> backend_;
};

inline Bytes ToBytes(const std::string& s) { return Bytes(s.begin(), s.end()); }
inline std::string ToText(const Bytes& b) { return std::string(b.begin(), b.end()); }

}  // namespace launchagent::contract
