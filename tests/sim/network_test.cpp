// Socket tables, connections, arrivals, merges and splits, partitions, crashes, names.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent::sim {
namespace {

using platform::Platform;
using platform::SocketArray;

Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }
std::string S(const Bytes& b) { return std::string(b.begin(), b.end()); }

// One process with a server table (listening on 1230, accepting like frmServer) and
// a client table; what arrives is kept per position.
struct Peer {
  ProcessId pid = 0;
  Platform* p = nullptr;
  std::unique_ptr<SocketArray> server;
  std::unique_ptr<SocketArray> client;
  Long nAccepted = 0;
  bool bRead = true;                  // read at each arrival
  std::vector<std::string> arrivals;  // "position:total:bytes read"
};

// A world with peers; tables are dropped inside their processes at the end.
struct Lan {
  explicit Lan(std::uint64_t seed = 11) : w(seed) {
    w.RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
  }
  ~Lan() {
    for (auto& peer : peers) {
      if (!w.Alive(peer->pid)) continue;
      w.Call(peer->pid, [&] {
        peer->server.reset();
        peer->client.reset();
      });
    }
  }

  Peer& Start(HostId h, bool bListen = true) {
    peers.push_back(std::make_unique<Peer>());
    Peer& peer = *peers.back();
    peer.pid = w.StartProcess(h, "idle");
    w.RunFor(0);
    peer.p = w.PlatformOf(peer.pid);
    w.Call(peer.pid, [&] {
      peer.server = peer.p->network.CreateSocketArray("tcpServer");
      peer.client = peer.p->network.CreateSocketArray("tcpClient");
      peer.server->SetLocalPort(0, 1230);
      if (bListen) {
        EXPECT_TRUE(peer.server->Listen(0));
      }
      peer.server->OnConnectionRequest = [&peer](Long i, Long id) {
        if (i != 0) return;
        ++peer.nAccepted;
        peer.server->Load(peer.nAccepted);
        peer.server->SetLocalPort(peer.nAccepted, 0);
        peer.server->Accept(peer.nAccepted, id);
      };
      auto arrival = [&peer](SocketArray& a, Long i, Long total) {
        std::string got;
        if (peer.bRead) got = S(*a.GetData(i));
        peer.arrivals.push_back(std::to_string(i) + ":" + std::to_string(total) + ":" + got);
      };
      peer.server->OnDataArrival = [&peer, arrival](Long i, Long total) {
        arrival(*peer.server, i, total);
      };
      peer.client->OnDataArrival = [&peer, arrival](Long i, Long total) {
        arrival(*peer.client, i, total);
      };
    });
    return peer;
  }

  // Client position 1 of `from` towards host:port.
  bool Connect(Peer& from, const std::string& sHost, Long port = 1230, Long i = 1) {
    bool ok = false;
    w.Call(from.pid, [&] {
      if (!from.client->Exists(i)) from.client->Load(i);
      from.client->SetLocalPort(i, 0);
      from.client->SetRemoteHost(i, sHost);
      from.client->SetRemotePort(i, port);
      ok = from.client->Connect(i);
    });
    return ok;
  }
  Integer ClientState(Peer& peer, Long i = 1) { return *peer.client->State(i); }
  Integer ServerState(Peer& peer, Long i) { return *peer.server->State(i); }
  bool Send(Peer& from, const std::string& s, Long i = 1) {
    bool ok = false;
    w.Call(from.pid, [&] { ok = from.client->SendData(i, B(s)); });
    return ok;
  }

  World w;
  std::vector<std::unique_ptr<Peer>> peers;
};

TEST(SimNetwork, ConnectAcceptAndSend) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  ASSERT_TRUE(lan.Connect(a, "PC2"));
  // Never connected at once: resolving the name first.
  EXPECT_EQ(lan.ClientState(a), platform::kSckResolvingHost);
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnected);
  EXPECT_EQ(b.nAccepted, 1);
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckConnected);
  EXPECT_EQ(b.server->UBound(), 1);
  // Load copied the template's port, the accept handler set 0 afterwards.
  EXPECT_TRUE(lan.Send(a, "hello"));
  w.RunFor(Seconds(1));
  EXPECT_EQ(b.arrivals, (std::vector<std::string>{"1:5:hello"}));
  // Data flows back the other way too.
  w.Call(b.pid, [&] { EXPECT_TRUE(b.server->SendData(1, B("back"))); });
  w.RunFor(Seconds(1));
  EXPECT_EQ(a.arrivals, (std::vector<std::string>{"1:4:back"}));
}

TEST(SimNetwork, ConnectByAddressStartsConnecting) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1", "192.168.0.5"), h2 = *w.AddHost("PC2", "192.168.0.6");
  Peer& a = lan.Start(h1);
  lan.Start(h2);
  ASSERT_TRUE(lan.Connect(a, "192.168.0.6"));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnecting);
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnected);
}

TEST(SimNetwork, SocketTablePositions) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1");
  Peer& a = lan.Start(h1, false);
  w.Call(a.pid, [&] {
    SocketArray& t = *a.client;
    t.SetLocalPort(0, 1230);
    t.SetRemoteHost(0, "PC9");
    t.SetRemotePort(0, 1231);
    t.SetTag(0, "template");
    EXPECT_TRUE(t.Exists(0));
    EXPECT_FALSE(t.Exists(1));
    EXPECT_EQ(t.UBound(), 0);
    EXPECT_FALSE(t.SetLocalPort(1, 0));  // no such position
    EXPECT_FALSE(t.State(1).has_value());
    EXPECT_FALSE(t.GetData(1).has_value());
    EXPECT_FALSE(t.Close(1));
    EXPECT_FALSE(t.Load(0));
    EXPECT_FALSE(t.Load(32768));
    EXPECT_FALSE(t.Load(-1));
    EXPECT_TRUE(t.Load(3));
    EXPECT_FALSE(t.Load(3));
    EXPECT_EQ(t.UBound(), 3);
    EXPECT_EQ(t.Tag(3), "");  // the tag is not copied
    EXPECT_EQ(t.State(3), platform::kSckClosed);
    EXPECT_TRUE(t.Load(32767));
    EXPECT_EQ(t.UBound(), 32767);
    EXPECT_TRUE(t.SetTag(3, "7"));
    EXPECT_EQ(t.Tag(3), "7");
    EXPECT_FALSE(t.SendData(3, B("x")));  // not connected
    EXPECT_EQ(t.GetData(3), Bytes{});
  });
}

TEST(SimNetwork, LoadCopiesTemplatePortsAndHost) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1, false);
  lan.Start(h2);
  w.Call(a.pid, [&] {
    a.client->SetRemoteHost(0, "PC2");
    a.client->SetRemotePort(0, 1230);
    a.client->Load(1);
    EXPECT_TRUE(a.client->Connect(1));  // remote host and port came from position 0
  });
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnected);
}

TEST(SimNetwork, ConnectOutcomes) {
  struct Case {
    const char* sName;
    std::string sTarget;
    Long port;
    std::function<void(World&, HostId, HostId)> setup;
    Nanos wait;
    Integer want;
  };
  const std::vector<Case> cases = {
      {"listener answers", "PC2", 1230, nullptr, Seconds(1), platform::kSckConnected},
      {"nothing listens: refused", "PC2", 1231, nullptr, Seconds(1), platform::kSckError},
      {"unknown name", "PC77", 1230, nullptr, Seconds(1), platform::kSckError},
      {"lookup fails", "PC2", 1230,
       [](World& w, HostId h1, HostId) { w.FailLookup(h1, "pc2", true); }, Seconds(1),
       platform::kSckError},
      {"extra name entry", "files", 1230,
       [](World& w, HostId h1, HostId h2) { w.AddNameEntry(h1, "FILES", w.HostAddress(h2)); },
       Seconds(1), platform::kSckConnected},
      {"partition: still connecting", "PC2", 1230,
       [](World& w, HostId h1, HostId h2) { w.Partition(h1, h2, 0); }, Seconds(20),
       platform::kSckConnecting},
      {"partition: times out", "PC2", 1230,
       [](World& w, HostId h1, HostId h2) { w.Partition(h1, h2, 0); }, Seconds(22),
       platform::kSckError},
      {"answer lost on the way back", "PC2", 1230,
       [](World& w, HostId h1, HostId h2) { w.Partition(h2, h1, 0); }, Seconds(22),
       platform::kSckError},
      {"partition healed before", "PC2", 1230,
       [](World& w, HostId h1, HostId h2) { w.Partition(h1, h2, 0, 0); }, Seconds(1),
       platform::kSckConnected},
      {"host down", "PC2", 1230, [](World& w, HostId, HostId h2) { w.CrashHost(h2); }, Seconds(22),
       platform::kSckError},
      {"own host by name", "PC1", 1230, nullptr, Seconds(1), platform::kSckConnected},
      {"own host by localhost", "localhost", 1230, nullptr, Seconds(1), platform::kSckConnected},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    Lan lan;
    World& w = lan.w;
    const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
    Peer& a = lan.Start(h1);
    lan.Start(h2);
    if (c.setup) c.setup(w, h1, h2);
    ASSERT_TRUE(lan.Connect(a, c.sTarget, c.port));
    w.RunFor(c.wait);
    EXPECT_EQ(lan.ClientState(a), c.want);
  }
}

TEST(SimNetwork, ConnectOnABusySocketFailsWithoutEffect) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1");
  *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  ASSERT_TRUE(lan.Connect(a, "PC2"));
  w.Call(a.pid, [&] {
    a.client->SetRemoteHost(1, "PC1");
    EXPECT_FALSE(a.client->Connect(1));
    EXPECT_EQ(a.client->State(1), platform::kSckResolvingHost);
    EXPECT_FALSE(a.client->Listen(1));
  });
  w.RunFor(Seconds(1));
  // The first connect went on (to PC2, which does not listen).
  EXPECT_EQ(lan.ClientState(a), platform::kSckError);
  EXPECT_FALSE(lan.Connect(a, "PC1"));  // state 9 is not closed either
  w.Call(a.pid, [&] { EXPECT_TRUE(a.client->Close(1)); });
  EXPECT_EQ(lan.ClientState(a), platform::kSckClosed);
  EXPECT_TRUE(lan.Connect(a, "PC1"));
}

TEST(SimNetwork, PeerCloseGivesClosingAndCloseGivesClosed) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  w.Call(a.pid, [&] { EXPECT_TRUE(a.client->Close(1)); });
  EXPECT_EQ(lan.ClientState(a), platform::kSckClosed);
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckConnected);  // not yet arrived
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckClosing);
  // A new connection gets a new position; position 1 stays.
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  EXPECT_EQ(b.nAccepted, 2);
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckClosing);
  EXPECT_EQ(lan.ServerState(b, 2), platform::kSckConnected);
}

TEST(SimNetwork, ListenOnAPortInUseFails) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1");
  lan.Start(h1);
  Peer& second = lan.Start(h1, false);
  w.Call(second.pid, [&] { EXPECT_FALSE(second.server->Listen(0)); });
  EXPECT_EQ(*second.server->State(0), platform::kSckClosed);
  // Another host may listen on the same port.
  const HostId h2 = *w.AddHost("PC2");
  lan.Start(h2);
}

TEST(SimNetwork, ListenerVanishesWithItsTable) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  w.Call(b.pid, [&] { b.server.reset(); });
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ClientState(a), platform::kSckError);
}

TEST(SimNetwork, UnreadBytesStayAndComeWithTheNextArrival) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  b.bRead = false;
  lan.Send(a, "one");
  w.RunFor(Seconds(1));
  b.bRead = true;
  lan.Send(a, "two");
  w.RunFor(Seconds(1));
  EXPECT_EQ(b.arrivals, (std::vector<std::string>{"1:3:", "1:6:onetwo"}));
}

TEST(SimNetwork, EachSendIsOneArrivalEvenWhenTheReceiverIsBusy) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  // The receiver sleeps without handling events while both sends arrive.
  w.At(w.Now() + Milliseconds(1), [&] {
    w.Call(b.pid, [&] {
      auto& sockets = b.p->sockets;
      w.SocketsLibrary(1).lookupTime = Seconds(2);
      sockets.HostByName("PC1");  // a blocking look-up of 2 s
    });
  });
  lan.Send(a, "one");
  lan.Send(a, "two");
  w.RunFor(Seconds(5));
  EXPECT_EQ(b.arrivals, (std::vector<std::string>{"1:3:one", "1:3:two"}));
}

TEST(SimNetwork, MergeAndSplit) {
  struct Case {
    const char* sName;
    std::function<void(World&, HostId, HostId)> arrange;
    std::vector<std::string> want;
  };
  const std::vector<Case> cases = {
      {"plain", nullptr, {"1:3:one", "1:3:two", "1:5:three"}},
      {"merge next two",
       [](World& w, HostId a, HostId b) { w.MergeNextSends(a, b); },
       {"1:6:onetwo", "1:5:three"}},
      {"merge only in its direction",
       [](World& w, HostId a, HostId b) { w.MergeNextSends(b, a); },
       {"1:3:one", "1:3:two", "1:5:three"}},
      {"split next",
       [](World& w, HostId a, HostId b) { w.SplitNextSend(a, b); },
       {"1:1:o", "1:2:ne", "1:3:two", "1:5:three"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    Lan lan(3);
    World& w = lan.w;
    const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
    Peer& a = lan.Start(h1);
    Peer& b = lan.Start(h2);
    lan.Connect(a, "PC2");
    w.RunFor(Seconds(1));
    if (c.arrange) c.arrange(w, h1, h2);
    for (const char* s : {"one", "two", "three"}) {
      lan.Send(a, s);
      w.RunFor(Milliseconds(100));
    }
    w.RunFor(Seconds(1));
    EXPECT_EQ(b.arrivals, c.want);
  }
}

TEST(SimNetwork, PartitionLosesSendsAndBreaksTheConnection) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  w.Partition(h1, h2, w.Now(), w.Now() + Minutes(1));
  EXPECT_TRUE(lan.Send(a, "lost"));
  w.RunFor(Seconds(5));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnected);  // not known yet
  w.RunFor(Seconds(6));
  EXPECT_TRUE(b.arrivals.empty());
  EXPECT_EQ(lan.ClientState(a), platform::kSckError);
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckError);
  // After healing, a new connection works.
  w.RunFor(Minutes(1));
  w.Call(a.pid, [&] { a.client->Close(1); });
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnected);
  lan.Send(a, "after");
  w.RunFor(Seconds(1));
  EXPECT_EQ(b.arrivals, (std::vector<std::string>{"2:5:after"}));
}

TEST(SimNetwork, HostCrashKillsProcessesAndErrorsPeers) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  w.CrashHost(h2);
  EXPECT_FALSE(w.HostUp(h2));
  EXPECT_FALSE(w.Alive(b.pid));
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ClientState(a), platform::kSckError);
  // Its listener is gone: a connect now times out, it is not refused.
  w.Call(a.pid, [&] { a.client->Close(1); });
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(5));
  EXPECT_EQ(lan.ClientState(a), platform::kSckConnecting);
  w.RestartHost(h2);
  EXPECT_TRUE(w.HostUp(h2));
  w.RunFor(Seconds(20));
  EXPECT_EQ(lan.ClientState(a), platform::kSckError);
}

TEST(SimNetwork, RawSendReachesAListener) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& b = lan.Start(h2);
  w.RawSend(h1, "PC2", 1230, B("raw bytes"));
  w.RunFor(Seconds(1));
  EXPECT_EQ(b.nAccepted, 1);
  EXPECT_EQ(b.arrivals, (std::vector<std::string>{"1:9:raw bytes"}));
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckClosing);
}

TEST(SimNetwork, NetTraceIsOffByDefault) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  lan.Start(h2);
  w.RawSend(h1, "PC2", 1230, B("x"));
  w.RawSend(h1, "PC2", 1299, B("x"));
  w.RunFor(Seconds(1));
  for (auto& line : w.Transcript()) EXPECT_EQ(line.find(" net "), std::string::npos) << line;
  w.SetNetTrace(true);
  w.RawSend(h1, "PC2", 1299, B("x"));
  w.RunFor(Seconds(1));
  int nRefused = 0;
  for (auto& line : w.Transcript()) nRefused += line.find(" refused") != std::string::npos;
  EXPECT_EQ(nRefused, 2);  // the listener's side and the caller's
}

TEST(SimNetwork, ProcessEndClosesItsSockets) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1"), h2 = *w.AddHost("PC2");
  Peer& a = lan.Start(h1);
  Peer& b = lan.Start(h2);
  lan.Connect(a, "PC2");
  w.RunFor(Seconds(1));
  w.Kill(a.pid);
  w.RunFor(Seconds(1));
  EXPECT_EQ(lan.ServerState(b, 1), platform::kSckClosing);
  // The dead process's table refuses every change.
  EXPECT_FALSE(a.client->Connect(1));
  EXPECT_FALSE(a.client->Load(5));
}

TEST(SimNetwork, SocketsLibrary) {
  Lan lan;
  World& w = lan.w;
  const HostId h1 = *w.AddHost("PC1", "10.0.0.1");
  *w.AddHost("PC2", "10.0.0.2");
  Peer& a = lan.Start(h1, false);
  platform::SocketsLibrary& lib = a.p->sockets;
  w.Call(a.pid, [&] {
    platform::SocketsStartupData data;
    EXPECT_EQ(lib.Startup(0x0101, data), 0);
    EXPECT_EQ(data.wVersion, 0x0101);
    EXPECT_GE(data.lngMaxSockets, 1);
    EXPECT_EQ(lib.HostName(), "PC1");
    auto e = lib.HostByName("pc2");
    ASSERT_TRUE(e.has_value());
    EXPECT_EQ(e->nAddressLength, 4);
    EXPECT_EQ(e->addresses.at(0), (Address{10, 0, 0, 2}));
    EXPECT_EQ(lib.HostByName("10.9.8.7")->addresses.at(0), (Address{10, 9, 8, 7}));
    EXPECT_FALSE(lib.HostByName("nowhere").has_value());
    EXPECT_EQ(lib.LastError(), 11001);
    EXPECT_FALSE(lib.HostByName("").has_value());
    EXPECT_EQ(lib.Cleanup(), 0);
    EXPECT_EQ(lib.Cleanup(), -1);  // more stops than starts
  });
  SocketsLibrarySettings& s = w.SocketsLibrary(h1);
  s.lngStartupResult = 10091;
  s.bHostNameFails = true;
  s.lngLastError = 10050;
  w.Call(a.pid, [&] {
    platform::SocketsStartupData data;
    EXPECT_EQ(lib.Startup(0x0101, data), 10091);
    EXPECT_FALSE(lib.HostName().has_value());
    EXPECT_EQ(lib.LastError(), 10050);
  });
  s = SocketsLibrarySettings{};
  s.wVersion = 0x0001;
  s.lngMaxSockets = 0;
  s.lngCleanupResult = -1;
  w.Call(a.pid, [&] {
    platform::SocketsStartupData data;
    EXPECT_EQ(lib.Startup(0x0101, data), 0);
    EXPECT_EQ(data.wVersion, 0x0001);
    EXPECT_EQ(data.lngMaxSockets, 0);
    EXPECT_EQ(lib.Cleanup(), -1);
  });
}

TEST(SimNetworkScale, TenThousandHostsAreCheap) {
  World w(9);
  for (int i = 0; i < 10000; ++i) ASSERT_TRUE(w.AddHost("H" + std::to_string(i)).has_value());
  EXPECT_EQ(w.HostCount(), 10000u);
  EXPECT_EQ(w.FindHost("h9999"), 9999u);
  EXPECT_EQ(w.FindHost(w.HostAddress(4321)), 4321u);
  EXPECT_FALSE(w.AddHost("h17").has_value());                  // names are unique
  EXPECT_FALSE(w.AddHost("X", w.HostAddress(5)).has_value());  // so are addresses
  EXPECT_FALSE(w.AddHost("bad name").has_value());
  EXPECT_FALSE(w.AddHost("Y", "300.1.1.1").has_value());
  w.RegisterProgram("one", [](Platform& p, const ProgramStart&) {
    auto e = p.sockets.HostByName("H7777");
    p.trace.ActivityLine(e ? FormatAddress(e->addresses[0]) : "none");
  });
  w.StartProcess(17, "one");
  w.RunFor(Seconds(1));
  EXPECT_EQ(w.Transcript().at(1), "00:00:00.000 H17 log 10.0.30.98");
}

}  // namespace
}  // namespace launchagent::sim
