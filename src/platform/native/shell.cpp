#include "platform/native/shell.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <cctype>

#include "platform/text.h"

namespace launchagent::native {
namespace {

// ShellExecute's results.
constexpr Long kStarted = 42;
constexpr Long kFileNotFound = 2;
constexpr Long kPathNotFound = 3;
constexpr Long kAccessDenied = 5;
constexpr Long kOutOfResources = 0;

std::string ParentOf(const std::string& s) {
  const auto n = s.find_last_of('/');
  if (n == std::string::npos) return ".";
  return n == 0 ? "/" : s.substr(0, n);
}

}  // namespace

Long NativeShell::Execute(const std::string&, const std::string& sFile,
                          const std::string& sParameters, const std::string& sFolder, Long) {
  auto local = paths_.ToLocal(sFile);
  if (!local) return kPathNotFound;
  struct stat st {};
  if (::stat(local->c_str(), &st) != 0) {
    struct stat parent {};
    return ::stat(ParentOf(*local).c_str(), &parent) == 0 ? kFileNotFound : kPathNotFound;
  }
  if (S_ISDIR(st.st_mode) || ::access(local->c_str(), X_OK) != 0) return kAccessDenied;

  std::string sWorkDir;
  if (!sFolder.empty()) {
    auto dir = paths_.ToLocal(sFolder);
    struct stat dst {};
    if (!dir || ::stat(dir->c_str(), &dst) != 0 || !S_ISDIR(dst.st_mode)) return kPathNotFound;
    sWorkDir = *dir;
  }
  QStringList args;
  for (const auto& s : SplitWindowsArgs(sParameters)) args << QString::fromLocal8Bit(s.c_str());

  QProcess process;
  process.setProgram(QString::fromLocal8Bit(local->c_str()));
  process.setArguments(args);
  if (!sWorkDir.empty()) process.setWorkingDirectory(QString::fromLocal8Bit(sWorkDir.c_str()));
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  if (!sSystemFolder_.empty()) {
    const QString sOld = env.value("LD_LIBRARY_PATH");
    const QString sDir = QString::fromLocal8Bit(sSystemFolder_.c_str());
    env.insert("LD_LIBRARY_PATH", sOld.isEmpty() ? sDir : sDir + ":" + sOld);
  }
  process.setProcessEnvironment(env);
  process.setStandardInputFile(QProcess::nullDevice());
  qint64 lngPid = 0;
  if (!process.startDetached(&lngPid)) return kOutOfResources;
  lngLastPid_ = static_cast<long>(lngPid);
  return kStarted;
}

std::optional<std::string> NativeKernel::ComputerName() {
  std::string s = sOverride_;
  if (s.empty()) {
    char buf[256] = {};
    if (::gethostname(buf, sizeof buf - 1) != 0) return std::nullopt;
    s = buf;
    // The computer name is the first label, in capitals, as on the system's desktops.
    if (auto n = s.find('.'); n != std::string::npos) s.resize(n);
    s = AsciiUpper(s);
  }
  return s.substr(0, 255);
}

}  // namespace launchagent::native
