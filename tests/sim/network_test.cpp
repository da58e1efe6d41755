// Socket tables, connections, arrivals, merges and splits, names. Connect outcomes,
// lost sends, broken connections and crashes over time: tests/scenarios/sim-connects.scn
// and sim-partition.scn; the same transcript from the same seed: scenario.determinism,
// another from another seed: scenario.command_line.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent::sim {
namespace {

using platform::kSckClosed, platform::kSckConnected, platform::kSckConnecting, platform::kSckError;
using platform::Platform;
using platform::SocketArray;
using Strings = std::vector<std::string>;

Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }

// A process with a server table (listening on 1230, accepting into the next position
// like frmServer) and a client table; each arrival is logged and kept.
struct Peer {
  ProcessId pid = 0;
  Platform* p = nullptr;
  std::unique_ptr<SocketArray> server, client;
  bool bBlock = false;  // the next arrival's handler blocks in a name look-up
  Strings arrivals;     // "position:total:bytes read"
};

// PC1 and PC2 with a listening peer each, a and b; tables are dropped inside their
// processes at the end.
struct Lan {
  explicit Lan(std::uint64_t seed = 11) : w(seed) {
    w.Programs().RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
    h1 = *w.Hosts().AddHost("PC1");
    h2 = *w.Hosts().AddHost("PC2");
    a = &Start(h1);
    b = &Start(h2);
  }
  ~Lan() {
    for (auto& peer : peers)
      if (w.Programs().Alive(peer->pid))
        In(*peer, [&] { peer->server.reset(), peer->client.reset(); });
  }
  // bListens: whether port 1230 is still free for the new peer to listen on.
  Peer& Start(HostId h, bool bListens = true) {
    Peer& peer = *peers.emplace_back(std::make_unique<Peer>());
    peer.pid = w.Programs().StartProcess(h, "idle");
    w.RunFor(0);
    peer.p = w.Programs().PlatformOf(peer.pid);
    In(peer, [&] {
      peer.server = peer.p->network.CreateSocketArray("tcpServer");
      peer.client = peer.p->network.CreateSocketArray("tcpClient");
      peer.server->SetLocalPort(0, 1230);
      EXPECT_EQ(peer.server->Listen(0), bListens);
      peer.server->OnConnectionRequest = [&peer](Long, Long id) {
        const Long i = peer.server->UBound() + 1;
        peer.server->Load(i);
        peer.server->SetLocalPort(i, 0);
        peer.server->Accept(i, id);
      };
      for (SocketArray* t : {peer.server.get(), peer.client.get()})
        t->OnDataArrival = [&peer, t](Long i, Long total) {
          const Bytes got = *t->GetData(i);
          peer.arrivals.push_back(std::to_string(i) + ":" + std::to_string(total) + ":" +
                                  std::string(got.begin(), got.end()));
          peer.p->trace.ActivityLine(peer.arrivals.back());
          if (std::exchange(peer.bBlock, false)) peer.p->sockets.HostByName("PC1");
        };
    });
    return peer;
  }
  void In(Peer& peer, const std::function<void()>& fn) { ASSERT_TRUE(w.Call(peer.pid, fn)); }
  // Client position i of `from` towards host:port.
  bool Connect(Peer& from, const std::string& sHost, Long port = 1230, Long i = 1) {
    bool ok = false;
    In(from, [&] {
      if (!from.client->Exists(i)) from.client->Load(i);
      from.client->SetRemoteHost(i, sHost);
      from.client->SetRemotePort(i, port);
      ok = from.client->Connect(i);
    });
    return ok;
  }
  bool Send(Peer& from, const std::string& s, Long i = 1) {
    bool ok = false;
    In(from, [&] { ok = from.client->SendData(i, B(s)); });
    return ok;
  }
  static Integer State(SocketArray& t, Long i = 1) { return t.State(i).value_or(-1); }

  World w;
  HostId h1 = 0, h2 = 0;
  std::vector<std::unique_ptr<Peer>> peers;
  Peer *a = nullptr, *b = nullptr;
};

// Loaded positions take remote host and port from position 0 (not its tag); by name a
// connect resolves first, by address it connects at once; each is accepted into the next
// free server position as it arrives. Data both ways and the peer's close are the seam's contract.
TEST(SimNetwork, LoadedPositionsConnectByNameOrAddress) {
  Lan lan;
  Peer &a = *lan.a, &b = *lan.b;
  lan.In(a, [&] {
    a.client->SetRemoteHost(0, "PC2");
    a.client->SetRemotePort(0, 1230);
    a.client->SetTag(0, "template");
    a.client->Load(1);
    EXPECT_EQ(a.client->Tag(1), "");
    EXPECT_TRUE(a.client->Connect(1));
    EXPECT_EQ(a.client->State(1), platform::kSckResolvingHost);
  });
  ASSERT_TRUE(lan.Connect(a, lan.w.Hosts().HostAddress(lan.h2), 1230, 2));
  EXPECT_EQ(lan.State(*a.client, 2), kSckConnecting);
  lan.w.RunFor(Seconds(1));
  EXPECT_EQ(b.server->UBound(), 2);
  for (Long i : {1, 2}) EXPECT_EQ(lan.State(*b.server, i), kSckConnected);
  EXPECT_TRUE(lan.Send(a, "hello", 2));
  lan.w.RunFor(Seconds(1));
  EXPECT_EQ(b.arrivals, Strings{"1:5:hello"}) << "by address, it connected first";
  // Ports belong to the host: PC2 listens on 1230 as well, another process on PC1 cannot.
  EXPECT_EQ(lan.State(*lan.Start(lan.h1, false).server, 0), kSckClosed);
}

// What sends of a scenario cannot show: an extra name entry and localhost connect, a
// position in error neither connects nor listens until closed, and a table whose
// process has ended refuses every change. Refusals, time-outs, failed look-ups and the
// closes of a process's end: tests/scenarios/sim-connects.scn.
TEST(SimNetwork, NamesPositionsAndEndedTables) {
  Lan lan;
  Peer& a = *lan.a;
  lan.w.Net().AddNameEntry(lan.h1, "FILES", lan.w.Hosts().HostAddress(lan.h2));
  ASSERT_TRUE(lan.Connect(a, "files", 1230, 1));
  ASSERT_TRUE(lan.Connect(a, "localhost", 1230, 2));
  ASSERT_TRUE(lan.Connect(a, "PC2", 1231, 3));
  lan.w.RunFor(Seconds(1));
  EXPECT_EQ(lan.State(*lan.b->server, 1), kSckConnected);
  EXPECT_EQ(lan.State(*a.server, 1), kSckConnected);
  EXPECT_EQ(lan.State(*a.client, 3), kSckError);
  EXPECT_FALSE(lan.Connect(a, "PC1", 1230, 3));
  lan.In(a, [&] { EXPECT_FALSE(a.client->Listen(3)); });
  lan.In(a, [&] { EXPECT_TRUE(a.client->Close(3)); });
  EXPECT_EQ(lan.State(*a.client, 3), kSckClosed);
  EXPECT_TRUE(lan.Connect(a, "PC1", 1230, 3));
  lan.w.Programs().Kill(a.pid);
  EXPECT_FALSE(a.client->Connect(1));
  EXPECT_FALSE(a.client->Load(5));
}

// Three sends 100 ms apart, as the receiver sees them. Unread bytes counting again in the
// next arrival are the seam's contract; a merge only in its own direction is
// tests/scenarios/merged-and-split-sends.scn.
TEST(SimNetwork, ArrivalsMergeAndSplit) {
  struct Case {
    const char* sName;
    std::function<void(Lan&)> arrange;
    Strings want;
  };
  const std::vector<Case> cases = {
      {"plain", nullptr, {"1:3:one", "1:3:two", "1:5:three"}},
      {"merge next two",
       [](Lan& l) { l.w.Net().MergeNextSends(l.h1, l.h2); },
       {"1:6:onetwo", "1:5:three"}},
      {"split next",
       [](Lan& l) { l.w.Net().SplitNextSend(l.h1, l.h2); },
       {"1:1:o", "1:2:ne", "1:3:two", "1:5:three"}},
      {"one arrival per send even while the receiver is busy",
       [](Lan& l) {
         l.w.Net().SocketsLibrary(l.h2).lookupTime = Seconds(1);
         l.b->bBlock = true;
       },
       {"1:3:one", "1:3:two", "1:5:three"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    Lan lan;
    lan.Connect(*lan.a, "PC2");
    lan.w.RunFor(Seconds(1));
    if (c.arrange) c.arrange(lan);
    for (const char* s : {"one", "two", "three"}) {
      lan.Send(*lan.a, s);
      lan.w.RunFor(Milliseconds(100));
    }
    lan.w.RunFor(Seconds(2));
    EXPECT_EQ(lan.b->arrivals, c.want);
  }
}

// Names as the agent looks them up. Startup, version and clean-up faults and a failing
// host name: tests/contract, tests/scenarios/sockets-*.scn and tests/agent.
TEST(SimNetwork, SocketsLibraryLooksUpTheLansNames) {
  Lan lan;
  platform::SocketsLibrary& lib = lan.a->p->sockets;
  lan.In(*lan.a, [&] {
    EXPECT_EQ(lib.HostName(), "PC1");
    EXPECT_EQ(lib.HostByName("pc2")->addresses.at(0), (Address{10, 0, 0, 2}));
    EXPECT_FALSE(lib.HostByName("nowhere").has_value());
    EXPECT_EQ(lib.LastError(), 11001);
    EXPECT_FALSE(lib.HostByName("").has_value());
  });
}

// Addresses are drawn from the host's position; names and addresses stay unique.
TEST(SimNetwork, AddHostKeepsNamesAndAddressesUnique) {
  World w(9);
  for (int i = 0; i < 10000; ++i)
    ASSERT_TRUE(w.Hosts().AddHost("H" + std::to_string(i)).has_value());
  EXPECT_EQ(w.Hosts().FindHost("h9999"), 9999u);
  EXPECT_EQ(w.Hosts().FindHost("10.0.30.98"), 7777u);
  EXPECT_FALSE(w.Hosts().FindHost("h10000") || w.Hosts().FindHost("10.0.39.17"));
  EXPECT_FALSE(w.Hosts().AddHost("h17").has_value());                          // names are unique
  EXPECT_FALSE(w.Hosts().AddHost("X", w.Hosts().HostAddress(5)).has_value());  // so are addresses
  EXPECT_FALSE(w.Hosts().AddHost("bad name").has_value());
  EXPECT_FALSE(w.Hosts().AddHost("Y", "300.1.1.1").has_value());
}

}  // namespace
}  // namespace launchagent::sim
