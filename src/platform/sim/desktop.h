#pragma once
// The hosts' desktops: top-level windows, topmost first, as the processes open, change
// and close them, and the close requests they get.
#include <memory>

#include "platform/services.h"
#include "platform/sim/host_state.h"
#include "platform/sim/host_table.h"
#include "platform/sim/world.h"

namespace launchagent::sim {

class Desktop {
 public:
  Desktop(WorldImpl& w, HostTable& hosts) : w_(w), hosts(hosts) {}

  std::shared_ptr<WindowRec> FindWindow(HostId host, platform::WindowHandle hWnd) const;
  void OpenWindow(HostState& h, std::shared_ptr<WindowRec> rec);
  void RemoveWindow(HostState& h, platform::WindowHandle hWnd);
  void FormChanged(WindowRec& rec);
  // Runs on the owner's fiber (or the scheduler's stack for scenario windows).
  void DeliverClose(HostId host, platform::WindowHandle hWnd);

 private:
  void Record(HostId host, TranscriptKind kind, const std::string& sText);

  WorldImpl& w_;
  HostTable& hosts;
  platform::WindowHandle nextWindow = 0;
};

}  // namespace launchagent::sim
