#pragma once
// What the world knows of one host: its windows, its network endpoints and listeners,
// its disk, shares, registry, name table and clock.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/sim/disk.h"
#include "platform/sim/random.h"
#include "platform/sim/world.h"
#include "platform/ui/form.h"

namespace launchagent::sim {

class SimSocketArray;

// ---- Windows ------------------------------------------------------------------------
struct WindowRec {
  platform::WindowHandle hWnd = 0;
  HostId host = 0;
  std::string sClass;
  std::string sTitle;
  bool bVisible = false;
  ProcessId owner = 0;
  ui::Form* form = nullptr;
  std::string sFormName;
  int nRefuseClose = 0;  // windows placed by the scenario
};

// ---- Network ------------------------------------------------------------------------
// One end of a TCP connection. A socket position holds one while it connects or is
// connected; a new connection on the same position gets a new one, so late events of
// the old connection find it dead.
struct Endpoint {
  std::uint64_t id = 0;
  HostId host = 0;
  ProcessId pid = 0;  // 0: owned by the world (a scenario's raw connection)
  SimSocketArray* array = nullptr;
  std::weak_ptr<int> arrayAlive;
  Long index = 0;
  Integer state = platform::kSckClosed;
  Bytes inbox;
  std::weak_ptr<Endpoint> peer;
  HostId peerHost = 0;
  Long localPort = 0;
  Long remotePort = 0;
  Nanos fifo = 0;                     // latest arrival scheduled towards the peer
  bool bDead = false;                 // closed or aborted: no further events
  std::function<void()> onConnected;  // raw connections
};

struct ListenerRef {
  SimSocketArray* array = nullptr;
  std::weak_ptr<int> alive;
  Long index = 0;
  ProcessId pid = 0;
};

// ---- Hosts --------------------------------------------------------------------------
struct Share {
  std::string sName;
  char cDrive = 'C';
  std::vector<std::string> folder;
  bool bReadable = true;
};

struct RegKey {
  std::string sPath;  // as first written, "HKLM\Software\..."
  // lower-case name -> (name, data), in name order
  std::map<std::string, std::pair<std::string, std::string>> values;
};

struct HostState {
  HostId id = 0;
  std::string sName;
  std::string sComputerName;
  Address address{};
  bool bUp = true;
  bool bCrashing = false;

  // Clock: local = world time + skew + offset.
  double dSkewPpm = 0;
  Nanos offset = 0;

  Rng netRng{0};
  Rng shareRng{0};

  Disk disk;
  std::optional<std::string> systemFolder = std::string("C:\\Windows\\System32");
  std::vector<Share> shares;
  std::optional<std::vector<std::string>> visibleShares;
  std::optional<Nanos> searchTime;
  bool bSearchError = false;

  std::map<std::string, RegKey> registry;  // lower-case key path
  bool bDenyLocalMachine = false;
  bool bComputerNameFails = false;

  SocketsLibrarySettings sockets;
  std::map<std::string, Address> nameEntries;  // lower-case name
  std::set<std::string> failedLookups;         // lower-case name

  std::vector<std::shared_ptr<WindowRec>> windows;  // topmost first
  std::vector<ProcessId> processes;                 // alive, oldest first

  std::map<Long, ListenerRef> listeners;
  Long nextEphemeral = 49152;
  Long nextRequestId = 1;
  std::map<std::uint64_t, std::weak_ptr<Endpoint>> endpoints;
};

}  // namespace launchagent::sim
