// Real agents (Launch.exe) on this machine: each on its own loopback address with its
// own drive, all sharing one mount root of shares and one hosts file, at a time scale
// of 60 so that minutes of agent life pass in seconds.
#include <gtest/gtest.h>
#include <signal.h>

#include <QEventLoop>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <map>
#include <sstream>

#include "platform/native/registry.h"
#include "platform/native/x11_windows.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

// Lets this process's own loop run (the proxy below) while waiting for others.
bool PumpUntil(const std::function<bool()>& cond, int nSeconds) {
  for (int i = 0; i < nSeconds * 20 && !cond(); ++i) {
    QEventLoop loop;
    QTimer::singleShot(50, &loop, &QEventLoop::quit);
    loop.exec();
  }
  return cond();
}

size_t Count(const std::string& s, const std::string& sPart) {
  size_t n = 0;
  for (auto p = s.find(sPart); p != std::string::npos; p = s.find(sPart, p + 1)) ++n;
  return n;
}

class AgentsTest : public ::testing::Test {
 protected:
  struct Host {
    std::string sRoot;
    std::unique_ptr<QProcess> process;
    std::string Log() const { return test::ReadText(sRoot + "/out.txt"); }
    std::string StandInLog() const { return test::ReadText(sRoot + "/standin.log"); }
  };

  ~AgentsTest() override {
    for (auto& [name, h] : hosts_) {
      if (h.process) {
        h.process->kill();
        h.process->waitForFinished(3000);
      }
      // Stand-ins run detached: end them by the ids they logged.
      std::istringstream in(h.StandInLog());
      std::string sLine;
      while (std::getline(in, sLine))
        if (long pid = std::atol(sLine.c_str()); pid > 1) ::kill(static_cast<pid_t>(pid), SIGKILL);
    }
  }

  // Gives the host its folders and programs and starts its agent, with or without a display.
  Host& Start(const std::string& sName, const std::string& sAddress, bool bStandIn, bool bDisplay) {
    Host& h = hosts_[sName];
    const std::string r = h.sRoot = dir_ / sName, sShares = dir_ / ("net/" + sName);
    std::string sCmd = "mkdir -p '" + r + "/c/Launch' '" + r + "/c/sys' '" + sShares +
                       "' && ln -s '" + r + "/c' '" + sShares + "/c' && cp '" LA_LAUNCH_PATH "' '" +
                       r + "/c/Launch/Launch.exe'";
    if (bStandIn) sCmd += " && cp '" LA_STANDIN_PATH "' '" + r + "/c/Launch/Varno2.exe'";
    EXPECT_EQ(std::system(sCmd.c_str()), 0);

    // Paths under the temporary folder hold no blanks.
    const std::string sArgs =
        "--host-name " + sName + " --bind " + sAddress + " --drive C:=" + r + "/c --mount-root " +
        (dir_ / "net") + " --hosts-file " + (dir_ / "hosts") + " --time-scale 60 --window-table " +
        r + "/windows --system-folder " + r + "/c/sys --registry-file " + r +
        "/etc/registry --autostart-dir " + r + "/etc/autostart --user-registry-file " + r +
        "/home/registry --user-autostart-dir " + r + "/home/autostart --log-stdout";
    h.process = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("LA_STANDIN_LOG", QString::fromStdString(r + "/standin.log"));
    if (!bDisplay)
      for (const char* sz : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) env.remove(sz);
    h.process->setProcessEnvironment(env);
    h.process->setStandardOutputFile(QString::fromStdString(r + "/out.txt"));
    h.process->setStandardErrorFile(QString::fromStdString(r + "/err.txt"));
    h.process->start(QString::fromStdString(r + "/c/Launch/Launch.exe"),
                     QString::fromStdString(sArgs).split(' '));
    EXPECT_TRUE(h.process->waitForStarted(5000));
    return h;
  }

  test::TempDir dir_;
  std::map<std::string, Host> hosts_;
};

TEST_F(AgentsTest, ThreeAgentsExchangeHostInformationOverTcp) {
  test::WriteText(dir_ / "hosts", "127.0.0.21 pc1\n127.0.0.22 pc2\n127.0.0.23 pc3\n");
  for (int i = 1; i <= 3; ++i)
    Start("pc" + std::to_string(i), "127.0.0.2" + std::to_string(i), i == 1, false);
  auto heardAll = [&] {
    for (auto& [name, h] : hosts_)
      for (auto& [other, o] : hosts_)
        if (h.Log().find("HostInfoFrom=" + other + "\n") == std::string::npos) return false;
    return true;
  };
  EXPECT_TRUE(PumpUntil(heardAll, 60));
  // Only pc1 has the main application; the others learn its launch site.
  for (auto& [name, h] : hosts_)
    EXPECT_NE(h.Log().find("LaunchSite=\\\\pc1\\c\\Launch\\Varno2.exe"), std::string::npos) << name;
  // pc2 and pc3 start it from pc1's share, after copying it into their own folder.
  auto opened = [&](const char* sz) { return Count(hosts_[sz].StandInLog(), "window open") > 0; };
  EXPECT_TRUE(PumpUntil([&] { return opened("pc2") && opened("pc3"); }, 30));
  EXPECT_NE(hosts_["pc2"].Log().find("*** Launching From: \\\\pc1\\c\\Launch\\Varno2.exe"),
            std::string::npos);
  EXPECT_EQ(::access((hosts_["pc3"].sRoot + "/c/Launch/Varno2.exe").c_str(), X_OK), 0);
}

// This computer's check-in travels through a relay that the test cuts: nine agent
// minutes later the agent closes the main application, and its watch starts it again.
TEST_F(AgentsTest, CheckInLapseClosesTheMainApplicationWhichComesBack) {
  if (!std::getenv("DISPLAY")) GTEST_SKIP() << "needs a display";
  test::WriteText(dir_ / "hosts", "127.0.0.32 pc1\n");
  QTcpServer relay;
  std::vector<QTcpSocket*> sockets;
  QObject::connect(&relay, &QTcpServer::newConnection, [&] {
    while (QTcpSocket* in = relay.nextPendingConnection()) {
      auto* out = new QTcpSocket(&relay);
      out->connectToHost(QHostAddress("127.0.0.31"), 1230);
      QObject::connect(in, &QTcpSocket::readyRead, out, [in, out] { out->write(in->readAll()); });
      QObject::connect(out, &QTcpSocket::connected, out, [in, out] { out->write(in->readAll()); });
      sockets.push_back(in);
      sockets.push_back(out);
    }
  });
  ASSERT_TRUE(relay.listen(QHostAddress("127.0.0.32"), 1230));
  Host& h = Start("pc1", "127.0.0.31", true, true);
  ASSERT_TRUE(PumpUntil([&] { return Count(h.Log(), "HostInfoFrom=pc1") >= 2; }, 60)) << h.Log();
  ASSERT_TRUE(PumpUntil([&] { return Count(h.StandInLog(), "window open") >= 1; }, 30));

  relay.close();
  for (auto* s : sockets) s->abort();
  ASSERT_TRUE(PumpUntil([&] { return h.StandInLog().find("closed") != std::string::npos; }, 90))
      << h.Log();
  EXPECT_NE(h.Log().find("Shutting Down Varno."), std::string::npos);
  EXPECT_TRUE(PumpUntil([&] { return Count(h.StandInLog(), "window open") >= 2; }, 30))
      << h.StandInLog();
  const std::string s = h.StandInLog();
  EXPECT_LT(s.find("closed"), s.rfind("window open"));
}

TEST_F(AgentsTest, OneAgentPerDisplayAndItRegistersItsAutostart) {
  if (!std::getenv("DISPLAY")) GTEST_SKIP() << "needs a display";
  test::WriteText(dir_ / "hosts", "127.0.0.41 pc1\n");
  Host& first = Start("pc1", "127.0.0.41", false, true);
  auto x11 = X11Windows::Open();
  ASSERT_TRUE(x11);
  auto agentWindow = [&] {
    for (auto w : x11->TopLevels())
      if (x11->Title(w) == "Launch Service for Varno") return true;
    return false;
  };
  ASSERT_TRUE(PumpUntil(agentWindow, 30));

  // The Run value names Launch.exe in the agent's folder, mirrored as an autostart entry.
  ASSERT_TRUE(
      PumpUntil([&] { return !test::ReadText(first.sRoot + "/etc/registry").empty(); }, 10));
  const auto store = NativeRegistry::ParseStore(test::ReadText(first.sRoot + "/etc/registry"));
  EXPECT_EQ(store.at("Software\\Microsoft\\Windows\\CurrentVersion\\Run").at("1"),
            "C:\\Launch\\Launch.exe");
  // The entry is written just after the store, so it may still be on its way.
  const std::string sEntryFile = first.sRoot + "/etc/autostart/launch-agent-run-1.desktop";
  EXPECT_TRUE(PumpUntil(
      [&] {
        return test::ReadText(sEntryFile).find(first.sRoot + "/c/Launch/Launch.exe") !=
               std::string::npos;
      },
      10))
      << test::ReadText(sEntryFile);

  // A second agent on the same display ends at once, before it registers anything.
  Host& second = Start("pc2", "127.0.0.42", false, true);
  ASSERT_TRUE(second.process->waitForFinished(20000));
  EXPECT_EQ(second.process->exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(second.process->exitCode(), 0);
  EXPECT_EQ(test::ReadText(second.sRoot + "/etc/registry"), "");
  EXPECT_EQ(first.process->state(), QProcess::Running);
}

}  // namespace
}  // namespace launchagent::native
