// A stand-in for the main application: one window of class "ThunderRT6FormDC" titled
// "Varno" that closes when asked (or refuses the first N requests). With a display it
// is a real X window; without one it lives in the session's window table.
#include <xcb/xcb.h>

#include <QApplication>
#include <QCloseEvent>
#include <QFileSystemWatcher>
#include <QGuiApplication>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "platform/native/settings.h"
#include "platform/native/window_system.h"
#include "platform/native/window_table.h"

namespace {

using launchagent::kFormWindowClass;
using launchagent::kMainAppTitle;

struct Options {
  int nRefuse = 0;
  int nDelayMs = 0;
  std::string sTitle = kMainAppTitle;
  std::string sLog;
  std::string sArgs;  // what the agent passed, for the log
};

std::string Env(const char* sz, const std::string& sDefault = "") {
  const char* v = std::getenv(sz);
  return v ? std::string(v) : sDefault;
}

class Log {
 public:
  explicit Log(std::string sPath) : sPath_(std::move(sPath)) {}
  void Line(const std::string& s) const {
    std::printf("stand-in %ld: %s\n", static_cast<long>(QCoreApplication::applicationPid()),
                s.c_str());
    std::fflush(stdout);
    if (sPath_.empty()) return;
    std::ofstream out(sPath_, std::ios::app);
    out << QCoreApplication::applicationPid() << " " << s << "\n";
  }

 private:
  std::string sPath_;
};

class Window : public QWidget {
 public:
  Window(const Options& o, const Log& log) : nRefuse_(o.nRefuse), log_(log) {
    setWindowTitle(QString::fromStdString(o.sTitle));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(
        new QLabel("Varno (stand-in)\nstarted with: " + QString::fromStdString(o.sArgs)));
    resize(320, 120);
  }

 protected:
  void closeEvent(QCloseEvent* e) override {
    if (nRefuse_ > 0) {
      --nRefuse_;
      log_.Line("close refused");
      e->ignore();
      return;
    }
    log_.Line("closed");
    e->accept();
  }

 private:
  int nRefuse_;
  const Log& log_;
};

void Usage() {
  std::puts(
      "Usage: Varno2.exe [-default | -ReindexVarno USER] [options]\n"
      "  --refuse N     refuse the first N close requests [LA_STANDIN_REFUSE]\n"
      "  --delay-ms N   open the window after N ms [LA_STANDIN_DELAY_MS]\n"
      "  --title TEXT   window title (default Varno)\n"
      "  --log FILE     append what happens to FILE [LA_STANDIN_LOG]\n"
      "Without a display the window lives in the window table [LA_WINDOW_TABLE].");
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  o.nRefuse = std::atoi(Env("LA_STANDIN_REFUSE", "0").c_str());
  o.nDelayMs = std::atoi(Env("LA_STANDIN_DELAY_MS", "0").c_str());
  o.sLog = Env("LA_STANDIN_LOG");
  for (int i = 1; i < argc; ++i) {
    const std::string s = argv[i];
    auto next = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
    if (s == "--refuse") {
      o.nRefuse = std::atoi(next().c_str());
    } else if (s == "--delay-ms") {
      o.nDelayMs = std::atoi(next().c_str());
    } else if (s == "--title") {
      o.sTitle = next();
    } else if (s == "--log") {
      o.sLog = next();
    } else if (s == "--help") {
      Usage();
      return 0;
    } else {
      o.sArgs += (o.sArgs.empty() ? "" : " ") + s;  // the agent's parameters
    }
  }

  launchagent::native::NativeSettings settings;
  std::string sError;
  launchagent::native::ParseNativeSettings({}, launchagent::native::ProcessEnv, settings, sError);
  if (settings.bOffscreen) qputenv("QT_QPA_PLATFORM", "offscreen");
  const bool bTable = settings.bOffscreen || qgetenv("QT_QPA_PLATFORM") == "offscreen";

  QApplication app(argc, argv);
  QCoreApplication::setApplicationName(kFormWindowClass);
  Log log(o.sLog);
  log.Line("started " + o.sArgs);

  Window window(o, log);
  launchagent::native::WindowTable table(settings.sWindowTable);
  std::int64_t lngHandle = 0;
  int nRefuse = o.nRefuse;

  auto open = [&] {
    if (!bTable) {
      window.show();
      // The class the agent looks for, whatever this program is called.
      if (auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()) {
        const std::string sClass = launchagent::native::FormWmClass();
        xcb_change_property(x11->connection(), XCB_PROP_MODE_REPLACE,
                            static_cast<xcb_window_t>(window.winId()), XCB_ATOM_WM_CLASS,
                            XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(sClass.size()),
                            sClass.data());
        xcb_flush(x11->connection());
      }
      log.Line("window open");
      return;
    }
    lngHandle = table.Add(kFormWindowClass, o.sTitle);
    log.Line(lngHandle ? "window open" : "window table not writable");
  };
  QTimer::singleShot(o.nDelayMs, &app, open);

  if (bTable) {
    auto check = [&] {
      for (std::int64_t h : table.TakeCloseRequests()) {
        if (h != lngHandle) continue;
        if (nRefuse > 0) {
          --nRefuse;
          log.Line("close refused");
          continue;
        }
        log.Line("closed");
        table.Remove(lngHandle);
        QCoreApplication::quit();
      }
    };
    auto* watcher = new QFileSystemWatcher(&app);
    watcher->addPath(QString::fromStdString(table.Path()));
    QObject::connect(watcher, &QFileSystemWatcher::fileChanged, &app, check);
    auto* poll = new QTimer(&app);
    QObject::connect(poll, &QTimer::timeout, &app, check);
    poll->start(500);
  }
  return app.exec();
}
