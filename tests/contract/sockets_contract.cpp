// TCP socket arrays: positions, states 0..9 through a connection's life, arrivals and
// their counts, the peer's close, refused and failed connects; the sockets library.
#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "backend.h"

namespace launchagent::contract {
namespace {

using platform::kSckClosed;
using platform::kSckClosing;
using platform::kSckConnected;
using platform::kSckError;
using platform::kSckListening;
using platform::SocketArray;

// A listening table and a dialling table of one process, as the agent's server and
// client forms hold them.
struct Link {
  Link(platform::Platform& p, Backend& b)
      : server(p.network.CreateSocketArray("sckServer")),
        client(p.network.CreateSocketArray("sckClient")),
        p_(p),
        b_(b) {
    server->OnConnectionRequest = [this](Long i, Long id) {
      requests.push_back({i, id});
      if (!bAccept) return;
      // The first closed position, as the hardened server takes ended positions again.
      Long n = 1;
      while (server->Exists(n) && server->State(n) != kSckClosed) ++n;
      if (!server->Exists(n)) server->Load(n);
      server->Accept(n, id);
    };
    server->OnDataArrival = [this](Long i, Long n) { arrivals.push_back({i, n}); };
  }
  bool Dial(Long i, Long lngPort) {
    if (!client->Exists(i)) client->Load(i);
    return client->SetRemoteHost(i, b_.LoopbackHost()) && client->SetRemotePort(i, lngPort) &&
           client->Connect(i);
  }
  // Listens on a free port and dials it from client position 1 until both ends are
  // connected; the server's position 1 is the accepted connection.
  void Open() {
    const Long lngPort = b_.FreePort();
    ASSERT_TRUE(server->SetLocalPort(0, lngPort));
    ASSERT_TRUE(server->Listen(0));
    EXPECT_EQ(server->State(0), kSckListening);
    ASSERT_TRUE(Dial(1, lngPort));
    EXPECT_NE(client->State(1), kSckConnected) << "a connect never completes at once";
    ASSERT_TRUE(WaitOn(p_.loop, [&] {
      return client->State(1) == kSckConnected && server->State(1) == kSckConnected;
    }));
  }
  std::unique_ptr<SocketArray> server, client;
  bool bAccept = true;
  std::vector<std::pair<Long, Long>> requests, arrivals;

 private:
  platform::Platform& p_;
  Backend& b_;
};

TEST_P(Contract, SocketPositionsExistFromZeroTo32767Only) {
  In([&] {
    auto a = P().network.CreateSocketArray("sckTest");
    EXPECT_EQ(a->UBound(), 0);
    EXPECT_EQ(a->State(0), kSckClosed);
    for (Long i : {0, -1, 32768}) EXPECT_FALSE(a->Load(i)) << i;
    // Every operation on a position that does not exist fails.
    EXPECT_FALSE(a->Exists(3) || a->State(3) || a->Tag(3) || a->GetData(3));
    EXPECT_FALSE(a->SetLocalPort(3, 1) || a->SetRemoteHost(3, "x") || a->SetRemotePort(3, 1) ||
                 a->SetTag(3, "t") || a->Listen(3) || a->Connect(3) || a->SendData(3, {1}) ||
                 a->Close(3) || a->Accept(3, 1));
    ASSERT_TRUE(a->Load(32767));
    EXPECT_EQ(a->UBound(), 32767);
    EXPECT_FALSE(a->Load(32767));
    EXPECT_TRUE(a->SetTag(32767, "pc1"));
    EXPECT_EQ(a->Tag(32767), "pc1");
    EXPECT_FALSE(a->Accept(32767, 424242));  // no such request
    EXPECT_FALSE(a->SendData(32767, {1}));   // not connected
    EXPECT_EQ(a->State(32767), kSckClosed);
  });
}

// One connection through its life: request, accept, data both ways, the peer's close.
TEST_P(Contract, AConnectionFromAcceptToPeerClose) {
  In([&] {
    Link link(P(), B());
    ASSERT_NO_FATAL_FAILURE(link.Open());
    ASSERT_EQ(link.requests.size(), 1u);
    EXPECT_EQ(link.requests[0].first, 0) << "requests come to the listening position";

    const Bytes image = ToBytes(std::string("hello\0\xff", 7));
    ASSERT_TRUE(link.client->SendData(1, image));
    ASSERT_TRUE(Until([&] { return !link.arrivals.empty(); }));
    EXPECT_EQ(link.arrivals[0], (std::pair<Long, Long>{1, 7}));
    // Bytes left unread count again in the next arrival, and come in one read.
    ASSERT_TRUE(link.client->SendData(1, {'a'}));
    ASSERT_TRUE(Until([&] { return link.arrivals.size() == 2; }));
    EXPECT_EQ(link.arrivals[1].second, 8);
    Bytes all;
    Until([&] {
      const Bytes b = link.server->GetData(1).value_or(Bytes{});
      all.insert(all.end(), b.begin(), b.end());
      return all.size() >= 8;
    });
    EXPECT_EQ(all, ToBytes(std::string("hello\0\xff"
                                       "a",
                                       8)));
    EXPECT_EQ(link.server->GetData(1), Bytes{});

    Bytes received;
    link.client->OnDataArrival = [&](Long i, Long) { received = *link.client->GetData(i); };
    ASSERT_TRUE(link.server->SendData(1, {'o', 'k'}));
    ASSERT_TRUE(Until([&] { return !received.empty(); }));
    EXPECT_EQ(received, (Bytes{'o', 'k'}));

    // The peer sends its last byte and closes: the position stays, closing (8), its
    // last bytes can still be read, and sending to it fails.
    link.server->OnDataArrival = nullptr;
    ASSERT_TRUE(link.client->SendData(1, {'x'}));
    ASSERT_TRUE(link.client->Close(1));
    EXPECT_EQ(link.client->State(1), kSckClosed);
    ASSERT_TRUE(Until([&] { return link.server->State(1) == kSckClosing; }));
    const Bytes last = link.server->GetData(1).value_or(Bytes{});
    EXPECT_EQ(last, (Bytes{'x'}));
    EXPECT_FALSE(link.server->SendData(1, {'y'}));
    // A new connection from the same client position takes a new server position.
    ASSERT_TRUE(link.client->Connect(1));
    ASSERT_TRUE(Until([&] { return link.server->State(2) == kSckConnected; }));
    EXPECT_EQ(link.server->State(1), kSckClosing);
    EXPECT_TRUE(link.server->Close(1));
    EXPECT_EQ(link.server->State(1), kSckClosed);
    // A closed position takes the next connection.
    ASSERT_TRUE(link.client->Close(1) && link.client->Connect(1));
    ASSERT_TRUE(Until([&] {
      return link.server->State(1) == kSckConnected && link.client->State(1) == kSckConnected;
    }));
    ASSERT_TRUE(link.client->SendData(1, {'z'}));
    Bytes z;
    EXPECT_TRUE(Until([&] {
      const Bytes b = link.server->GetData(1).value_or(Bytes{});
      z.insert(z.end(), b.begin(), b.end());
      return !z.empty();
    }));
    EXPECT_EQ(z, Bytes{'z'});
  });
}

// The hardened mode asks where an accepted connection came from: the dialling host's
// address, as the sockets library resolves that host's name.
TEST_P(Contract, AnAcceptedConnectionTellsTheAddressItCameFrom) {
  In([&] {
    Link link(P(), B());
    ASSERT_NO_FATAL_FAILURE(link.Open());
    platform::SocketsStartupData data;
    ASSERT_EQ(P().sockets.Startup(0x0101, data), 0);
    const auto own = P().sockets.HostByName(B().LoopbackHost());
    P().sockets.Cleanup();
    ASSERT_TRUE(own && !own->addresses.empty());
    const auto& a = own->addresses[0];
    EXPECT_EQ(link.server->RemoteHostIP(1), std::to_string(a[0]) + "." + std::to_string(a[1]) +
                                                "." + std::to_string(a[2]) + "." +
                                                std::to_string(a[3]));
    // A listener and a position that does not exist came from nowhere.
    EXPECT_EQ(link.server->RemoteHostIP(0), std::nullopt);
    EXPECT_EQ(link.server->RemoteHostIP(7), std::nullopt);
  });
}

// A large send arrives in pieces of at most 64 KiB each, every byte in order.
TEST_P(Contract, LargeSendsArriveWholeInCappedPieces) {
  In([&] {
    Link link(P(), B());
    ASSERT_NO_FATAL_FAILURE(link.Open());
    Bytes flood(200 * 1024);
    for (size_t i = 0; i < flood.size(); ++i) flood[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    Bytes got;
    size_t nBiggest = 0;
    link.server->OnDataArrival = [&](Long i, Long n) {
      const Bytes b = link.server->GetData(i).value_or(Bytes{});
      // The count is what waited when the event was sent; more may come before the read.
      EXPECT_LE(static_cast<size_t>(n), b.size()) << "the read gave less than announced";
      EXPECT_GT(n, 0);
      nBiggest = std::max(nBiggest, b.size());
      got.insert(got.end(), b.begin(), b.end());
    };
    ASSERT_TRUE(link.client->SendData(1, flood));
    ASSERT_TRUE(Until([&] { return got.size() >= flood.size(); }));
    EXPECT_TRUE(got == flood);
    if (Differences().bCapsArrivals)
      EXPECT_LE(nBiggest, 64u * 1024u);
    else
      EXPECT_EQ(nBiggest, flood.size()) << "a connection-level network delivers a send whole";
  });
}

TEST_P(Contract, RefusedAndUnansweredConnectsEndInError) {
  In([&] {
    Link link(P(), B());
    const Long lngPort = B().FreePort();
    // A name nobody knows, and a port nobody listens on.
    link.client->Load(2);
    ASSERT_TRUE(link.client->SetRemoteHost(2, "no-such-host.invalid") &&
                link.client->SetRemotePort(2, lngPort) && link.client->Connect(2));
    ASSERT_TRUE(link.Dial(1, lngPort));
    EXPECT_FALSE(link.client->Connect(1)) << "busy connecting";
    ASSERT_TRUE(Until(
        [&] { return link.client->State(1) == kSckError && link.client->State(2) == kSckError; }));
    // A second listener on a port that is taken fails and stays closed.
    ASSERT_TRUE(link.server->SetLocalPort(0, lngPort) && link.server->Listen(0));
    EXPECT_FALSE(link.server->Listen(0)) << "already listening";
    auto other = P().network.CreateSocketArray("sckOther");
    ASSERT_TRUE(other->SetLocalPort(0, lngPort));
    EXPECT_FALSE(other->Listen(0));
    EXPECT_EQ(other->State(0), kSckClosed);
    // A listener whose owner does not accept: no server position is made and the caller
    // learns it as a closing or failed connection. How soon differs: a real stack refuses
    // at once, the simulator lets the connect time out (21 s), so the wait allows 35 s.
    link.bAccept = false;
    link.client->Close(1);
    ASSERT_TRUE(link.Dial(1, lngPort));
    ASSERT_TRUE(Until(
        [&] {
          const auto n = link.client->State(1);
          return !link.requests.empty() && (n == kSckClosing || n == kSckError);
        },
        700));
    EXPECT_FALSE(link.server->Exists(1));
  });
}

TEST_P(Contract, SocketsLibraryNamesThisMachine) {
  In([&] {
    auto& lib = P().sockets;
    platform::SocketsStartupData data;
    ASSERT_EQ(lib.Startup(0x0101, data), 0);
    EXPECT_EQ(data.wVersion, 0x0101);
    EXPECT_GE(data.lngMaxSockets, 1);
    const auto sName = lib.HostName();
    ASSERT_TRUE(sName.has_value());
    ASSERT_FALSE(sName->empty());
    const auto own = lib.HostByName(*sName);
    ASSERT_TRUE(own.has_value());
    EXPECT_EQ(own->nAddressLength, 4);
    EXPECT_FALSE(own->addresses.empty());
    // A dotted address as it stands; other names through the system's resolver.
    const std::pair<const char*, std::optional<std::array<std::uint8_t, 4>>> names[] = {
        {"10.1.2.3", std::array<std::uint8_t, 4>{10, 1, 2, 3}},
        {"localhost", std::array<std::uint8_t, 4>{127, 0, 0, 1}},
        {"no-such-host.invalid", std::nullopt}};
    for (const auto& [szName, address] : names) {
      const auto e = lib.HostByName(szName);
      EXPECT_EQ(e && !e->addresses.empty() ? std::optional(e->addresses[0]) : std::nullopt, address)
          << szName;
    }
    EXPECT_NE(lib.LastError(), 0) << "a name nobody knows";
    EXPECT_EQ(lib.Cleanup(), 0);
    EXPECT_EQ(lib.Cleanup(), -1) << "a cleanup without a startup";
    EXPECT_TRUE(P().kernel.ComputerName().has_value());
  });
}

}  // namespace
}  // namespace launchagent::contract
