// The hardened mode's rules on their own: positions taken again, idle and crowding
// connections closed, strangers capped, launch sites only from their own host.
#include "hardening/hardening_policy.h"

#include <gtest/gtest.h>

#include "platform/backend/socket_positions.h"

namespace launchagent {
namespace {

// The backends' socket positions with a peer per accepted connection and no wire.
struct PeerSlot : platform::SocketPosition {
  std::string sPeer;
};
class FakeTable : public platform::SocketPositions<PeerSlot> {
 public:
  FakeTable() { slots_[0].nState = platform::kSckListening; }
  bool Listen(Long) override { return false; }
  bool Accept(Long i, Long) override {
    PeerSlot* slot = Find(i);
    if (!slot || slot->nState != platform::kSckClosed) return false;
    slot->nState = platform::kSckConnected;
    slot->sPeer = sNextPeer;
    return true;
  }
  bool Connect(Long) override { return false; }
  bool SendData(Long, const Bytes&) override { return false; }
  std::optional<std::string> RemoteHostIP(Long i) const override {
    const PeerSlot* slot = Find(i);
    return slot && !slot->sPeer.empty() ? std::optional(slot->sPeer) : std::nullopt;
  }
  void PeerCloses(Long i) { Find(i)->nState = platform::kSckClosing; }

  std::string sNextPeer = "10.0.0.1";

 protected:
  void Release(PeerSlot&) override {}
  void ReadMore(PeerSlot&, Bytes&, std::size_t) override {}
};

class PolicyTest : public ::testing::Test {
 protected:
  PolicyTest() : policy_(HardeningRules{60, 3, 2}, Hooks()) {}
  HardeningHooks Hooks() {
    HardeningHooks h;
    h.secondsNow = [this] { return dNow_; };
    h.addressOf = [](const std::string& s) -> std::optional<std::string> {
      if (s == "pc9") return "10.0.0.9";
      if (s == "pc8") return "10.0.0.8";
      return std::nullopt;
    };
    h.isLanHost = [](const std::string& s) { return s == "lan1"; };
    h.isMainAppFileName = [](const std::string& s) { return s == "Varno2.exe"; };
    h.isActiveComputer = [](const std::string& s) { return s == "pc9"; };
    h.note = [this](const std::string& s) { notes_.push_back(s); };
    return h;
  }
  // A connection request the way the server handles it; the position, 0 when refused.
  Long Request(const std::string& sPeer) {
    table_.sNextPeer = sPeer;
    const Long i = policy_.PositionForRequest(table_);
    if (i <= 0) return 0;
    if (!table_.Exists(i)) table_.Load(i);
    table_.Accept(i, 1);
    if (policy_.KeepAccepted(table_, i)) return i;
    table_.Close(i);
    return 0;
  }
  double dNow_ = 100;
  std::vector<std::string> notes_;
  FakeTable table_;
  HardeningPolicy policy_;
};

TEST_F(PolicyTest, FortyThousandConnectionsNeverRunOutOfPositions) {
  Long lngHighest = 0;
  for (int n = 0; n < 40000; ++n) {
    const Long i = Request("10.0.0." + std::to_string(1 + n % 5));
    ASSERT_GT(i, 0) << n;
    lngHighest = std::max(lngHighest, i);
    table_.PeerCloses(i);
  }
  EXPECT_EQ(lngHighest, 1);
}

TEST_F(PolicyTest, CrowdingAndIdleConnectionsAreClosed) {
  // Three from one address are kept, the fourth is not; another address still gets in.
  std::vector<Long> kept;
  for (int n = 0; n < 4; ++n) kept.push_back(Request("10.0.0.1"));
  EXPECT_EQ(kept, (std::vector<Long>{1, 2, 3, 0}));
  EXPECT_EQ(Request("10.0.0.2"), 4);
  // A word keeps a connection alive; silence past the limit closes it on the sweep, every
  // ten seconds and at each request (without one: the hostile suite's real agent).
  EXPECT_EQ(policy_.SweepIntervalMs(), 10000);
  dNow_ += 50;
  policy_.NoteArrival(2);
  dNow_ += 20;
  EXPECT_EQ(Request("10.0.0.3"), 1);  // 1 was idle: closed and taken again
  EXPECT_EQ(table_.State(2), std::optional<Integer>(platform::kSckConnected));
  EXPECT_EQ(table_.State(3), std::optional<Integer>(platform::kSckClosed));
  EXPECT_EQ(policy_.SenderOf(1), std::optional<std::string>("10.0.0.3"));
}

TEST_F(PolicyTest, StrangersAreCappedAndLaunchSitesComeOnlyFromTheirOwnHost) {
  // Host, already known, sender; whether the registry takes it. Cap: two strangers.
  const std::tuple<const char*, bool, const char*, bool> hosts[] = {
      {"x1", false, "10.0.0.5", true},  {"x2", false, "10.0.0.5", true},
      {"x3", false, "10.0.0.5", false}, {"X1", false, "10.0.0.5", true},
      {"x4", true, "10.0.0.5", true},   {"lan1", false, "10.0.0.5", true},
      {"pc9", false, "10.0.0.9", true}, {"pc8", false, "10.0.0.9", false}};
  for (const auto& [szHost, bKnown, szSender, bAdmitted] : hosts)
    EXPECT_EQ(policy_.AdmitHost(szHost, bKnown, std::string(szSender)), bAdmitted) << szHost;

  // Whether only active computers (pc9) may announce sites; host, site, sender; kept. The
  // plain cases (a host's own site, another's address, share or program, the active
  // computers) are the hostile suite's, against a real agent.
  const std::tuple<bool, const char*, const char*, std::optional<std::string>, bool> sites[] = {
      {false, "pc9", "\\\\PC9\\c\\apps\\Varno2.exe", "10.0.0.9", true},
      {false, "pc9", "\\\\pc9\\c\\Varno2.exe", std::nullopt, false},
      {false, "pc9", "\\\\pc9\\c\\..\\Varno2.exe", "10.0.0.9", false},
      {false, "pc9", "\\\\pc9\\Varno2.exe", "10.0.0.9", false},
      {false, "pc9", "C:\\Varno2.exe", "10.0.0.9", false},
      {false, "evil", "\\\\evil\\c\\Varno2.exe", "10.0.0.9", false},
      {true, "pc9", "\\\\pc9\\c\\Varno2.exe", "10.0.0.8", false}};  // active, other address
  for (const auto& [bActiveOnly, szHost, szSite, sender, bAccepted] : sites) {
    HardeningRules rules{60, 3, 2};
    rules.bActiveComputersOnly = bActiveOnly;
    EXPECT_EQ(HardeningPolicy(rules, Hooks()).AcceptLaunchSite(szHost, szSite, sender), bAccepted)
        << bActiveOnly << " " << szSite << " " << sender.value_or("-");
  }
}

TEST_F(PolicyTest, RefusalsAreNotedAtMostOncePerIntervalForEachKind) {
  // Cap: two strangers. Forty more at one moment give one line; a refused launch site at
  // that moment still gets its own.
  for (int n = 1; n <= 42; ++n) policy_.AdmitHost("x" + std::to_string(n), false, "10.0.0.5");
  policy_.AcceptLaunchSite("pc9", R"(\\pc9\c\Varno2.exe)", std::string("10.0.0.5"));
  EXPECT_EQ(notes_,
            (std::vector<std::string>{
                "hardened: no room for the stranger x3",
                R"(hardened: launch site \\pc9\c\Varno2.exe from pc9 at 10.0.0.5 refused)"}));
  // Ten seconds after the last line, the lines held back are counted; none held back, no
  // count (nullptr: held back); a clock gone back passes at once.
  const std::pair<double, const char*> later[] = {
      {10, " (39 more like it since the last such line)"},
      {5, nullptr},
      {5, " (1 more like it since the last such line)"},
      {-100, ""}};
  std::size_t nNotes = notes_.size();
  for (const auto& [dStep, szCount] : later) {
    dNow_ += dStep;
    policy_.AdmitHost("x43", false, "10.0.0.5");
    nNotes += szCount != nullptr;
    ASSERT_EQ(notes_.size(), nNotes) << dNow_;
    const std::string sLine =
        "hardened: no room for the stranger x43" + std::string(szCount ? szCount : "");
    EXPECT_TRUE(!szCount || notes_.back() == sLine) << notes_.back();
  }
}

}  // namespace
}  // namespace launchagent
