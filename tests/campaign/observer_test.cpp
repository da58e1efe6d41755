// The campaign's invariant checks, fed transcript lines of one host by hand.
#include "observer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/sim/transcript_text.h"
#include "platform/sim/world.h"

namespace launchagent::campaign {
namespace {

using sim::Seconds;

// One step: at world time t, either a line of pc10 ("log ...", "process ...") or a
// file of that size written first, or a clock step of pc10.
struct Step {
  sim::Nanos t;
  std::string sLine;
  std::string sFile = "";
  std::size_t nBytes = 0;
  double dClockStep = 0;
};

struct Case {
  const char* sName;
  std::vector<Step> steps;
  const char* sBroken;  // "" when every invariant holds
};

// The check-in names the entry it looks at, then closes Varno for it.
const char* kClose = "log Verifying Agent  pc10\nlog Shutting Down Varno.";
const char* kStart = "process #2 started launch \"C:\\Program Files\\Launch\\Launch.exe\" \"\"";
const char* kSecond = "process #4 started launch \"C:\\Program Files\\Launch\\Launch.exe\" \"\"";
const char* kInfo = "C:\\Program Files\\Launch\\AgentInfo_1";
const char* kOptions = "C:\\Program Files\\Launch\\agent.dat";

TEST(CampaignObserver, ChecksCheckInClosesProcessEndsSecondAgentsAndOptionFiles) {
  const std::vector<Case> cases = {
      {"close at nine whole minutes",
       {{Seconds(30), "log HostInfoFrom=pc10"}, {Seconds(570), kClose}},
       ""},
      {"close at eight minutes",
       {{Seconds(30), "log HostInfoFrom=pc10"}, {Seconds(539), kClose}},
       "only 8 minutes old"},
      {"close without an own entry", {{Seconds(1200), kClose}}, "which its agent never had"},
      {"another host's entry is not the own one",
       {{Seconds(30), "log HostInfoFrom=PC11"}, {Seconds(600), kClose}},
       "which its agent never had"},
      {"the close stamps the entry anew",
       {{Seconds(30), "log HostInfoFrom=pc10"}, {Seconds(570), kClose}, {Seconds(900), kClose}},
       "only 6 minutes old"},
      {"age counts on the host's clock",
       {{Seconds(30), "log HostInfoFrom=pc10"},
        {Seconds(60), "", "", 0, 600},
        {Seconds(90), kClose}},
       ""},
      {"a new agent starts without an own entry",
       {{Seconds(30), "log HostInfoFrom=pc10"},
        {Seconds(40), "process #2 killed launch"},
        {Seconds(600), kClose}},
       "which its agent never had"},
      {"Varno ends while its agent closes it",
       {{Seconds(30), "log HostInfoFrom=pc10"},
        {Seconds(570), kClose},
        {Seconds(570), "process #3 ended varno"}},
       ""},
      {"Varno ends after the close loop",
       {{Seconds(30), "log HostInfoFrom=pc10"},
        {Seconds(570), kClose},
        {Seconds(570), "log Verification completed."},
        {Seconds(575), "process #3 ended varno"}},
       "not closing it"},
      {"killed processes are the campaign's own",
       {{Seconds(5), "process #3 killed varno"}, {Seconds(5), "process #2 killed launch"}},
       ""},
      {"an agent ending by itself", {{Seconds(5), "process #2 ended launch"}}, "ended by itself"},
      {"an agent ends as its sockets library fails",
       {{Seconds(5), "log Winsock.dll is not responding."},
        {Seconds(5), "process #2 ended launch"}},
       ""},
      {"a library that failed earlier is no cause",
       {{Seconds(5), "log Winsock.dll is not responding."},
        {Seconds(9), "process #2 ended launch"}},
       "ended by itself"},
      {"the entry the check-in names is the one that counts",
       {{Seconds(30), "log HostInfoFrom="},
        {Seconds(300), "log HostInfoFrom=pc10"},
        {Seconds(570), "log Verifying Agent  \nlog Shutting Down Varno."}},
       ""},
      {"a second agent ends as it starts and leaves the first's entries",
       {{Seconds(5), kStart},
        {Seconds(30), "log HostInfoFrom=pc10"},
        {Seconds(60), kSecond},
        {Seconds(60), "process #4 ended launch"},
        {Seconds(570), kClose}},
       ""},
      {"a second agent that lingers",
       {{Seconds(5), kStart}, {Seconds(60), kSecond}, {Seconds(62), "process #4 ended launch"}},
       "ended only after 00:00:02.000"},
      {"an agent started after the first was killed is the first again",
       {{Seconds(5), kStart},
        {Seconds(30), "process #2 killed launch"},
        {Seconds(31), kSecond},
        {Seconds(40), "process #4 ended launch"}},
       "ended by itself"},
      {"whole agent-info records",
       {{Seconds(5), std::string("file ") + kInfo + " written 16512 bytes, new", kInfo, 16512}},
       ""},
      {"a partial agent-info record",
       {{Seconds(5), std::string("file ") + kInfo + " written 9000 bytes, new", kInfo, 9000}},
       "partial record"},
      {"a whole options record",
       {{Seconds(5), std::string("file ") + kOptions + " written 12812 bytes", kOptions, 12812}},
       ""},
      {"a cut options record",
       {{Seconds(5), std::string("file ") + kOptions + " written 12000 bytes", kOptions, 12000}},
       "not one whole record"},
  };
  for (const Case& c : cases) {
    sim::World world(7);
    const sim::HostId pc10 = *world.Hosts().AddHost("pc10");
    world.Hosts().AddHost("pc11");
    Observer observer(world);
    for (const Step& s : c.steps) {
      world.RunUntil(s.t);
      if (s.dClockStep != 0) world.Hosts().JumpClock(pc10, s.t, s.dClockStep);
      if (!s.sFile.empty()) world.Files().WriteFile(pc10, s.sFile, Bytes(s.nBytes, 0x20));
      for (std::size_t at = 0; at < s.sLine.size();) {
        const std::size_t end = std::min(s.sLine.find('\n', at), s.sLine.size());
        observer.OnLine(sim::ClockTime(s.t) + " pc10 " + s.sLine.substr(at, end - at));
        at = end + 1;
      }
    }
    const auto& broken = observer.Broken();
    if (std::string(c.sBroken).empty()) {
      EXPECT_FALSE(broken) << c.sName << ": " << broken->sInvariant;
    } else {
      ASSERT_TRUE(broken) << c.sName;
      EXPECT_NE(broken->sInvariant.find(c.sBroken), std::string::npos)
          << c.sName << ": " << broken->sInvariant;
    }
  }
}

}  // namespace
}  // namespace launchagent::campaign
