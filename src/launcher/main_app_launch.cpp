// Launching the main application: from the agent's own folder, or from the launch site
// that another computer's agent announced.
#include <algorithm>
#include <cctype>
#include <memory>

#include "launcher/main_app.h"
#include "messages/cls_msg_host_info.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"

namespace launchagent {

namespace {

constexpr Integer kLogLevel = 1;
constexpr const char* kMainAppName = "Varno";
constexpr const char* kExeExtension = ".exe";
constexpr const char* kLibraryExtension = ".dll";
// The show command for a normal window.
constexpr Long kShowNormal = 1;
// Start results above this are successes.
constexpr Long kShellSuccessFloor = 32;

// Reads a number the way the runtime's numeric-text reader does: leading blanks skipped,
// then sign, digits and a point up to the first character that cannot continue it; no
// digits read as 0. Only whole-number parts matter for the main application's names.
double ReadLeadingNumber(const std::string& sText) {
  std::size_t i = 0;
  while (i < sText.size() && (sText[i] == ' ' || sText[i] == '\t' || sText[i] == '\n')) ++i;
  bool bNegative = false;
  if (i < sText.size() && (sText[i] == '+' || sText[i] == '-')) {
    bNegative = sText[i] == '-';
    ++i;
  }
  double dValue = 0;
  while (i < sText.size() && std::isdigit(static_cast<unsigned char>(sText[i]))) {
    dValue = dValue * 10 + (sText[i] - '0');
    ++i;
  }
  if (i < sText.size() && sText[i] == '.') {
    ++i;
    double dScale = 0.1;
    while (i < sText.size() && std::isdigit(static_cast<unsigned char>(sText[i]))) {
      dValue += (sText[i] - '0') * dScale;
      dScale /= 10;
      ++i;
    }
  }
  return bNegative ? -dValue : dValue;
}

}  // namespace

bool MainApp::HasExtension(const std::string& sFileName, const std::string& sExtension) {
  if (sFileName.size() <= sExtension.size()) return false;
  return EqualsIgnoringCase(sFileName.substr(sFileName.size() - sExtension.size()), sExtension);
}

bool MainApp::IsMainAppFileName(const std::string& sFileName) {
  const std::string sName = kMainAppName;
  if (!EqualsIgnoringCase(sFileName.substr(0, sName.size()), sName)) return false;
  // The two characters after the name hold the version; Varno1 was never a release.
  const std::string sVersion =
      sFileName.size() > sName.size() ? sFileName.substr(sName.size(), 2) : std::string();
  return ReadLeadingNumber(sVersion) > 1;
}

std::string MainApp::FindMainAppFile() {
  const std::string sFolder = AppPath();
  const auto entries = platform_.files.List(sFolder + "\\*", true, false);
  if (!entries) return "";
  for (const platform::DirEntry& entry : *entries) {
    if (entry.bFolder) continue;
    if (HasExtension(entry.sName, kExeExtension) && IsMainAppFileName(entry.sName))
      return entry.sName;
  }
  return "";
}

std::vector<std::string> MainApp::GetLibraryFiles(const std::string& sFolder) {
  std::vector<std::string> sFiles;
  const auto entries = platform_.files.List(sFolder + "\\*", true, false);
  if (!entries) return sFiles;
  for (const platform::DirEntry& entry : *entries) {
    if (entry.bFolder) continue;
    if (HasExtension(entry.sName, kLibraryExtension)) sFiles.push_back(entry.sName);
  }
  return sFiles;
}

std::string MainApp::GetSystemFolder() {
  auto sFolder = platform_.files.SystemFolder();
  // Without a system folder the libraries go beside the agent.
  if (!sFolder) return AppPath();
  return *sFolder;
}

bool MainApp::CopyAppFile(std::string& sSource, std::string& sDestination) {
  return platform_.files.CopyFile(sSource, sDestination) == 0;
}

std::string MainApp::GetFileName(const std::string& sPath) {
  const std::size_t nPos = sPath.rfind('\\');
  if (nPos == std::string::npos) return sPath;
  return sPath.substr(nPos + 1);
}

std::string MainApp::GetFolderName(const std::string& sPath) {
  const std::size_t nPos = sPath.rfind('\\');
  if (nPos == std::string::npos) return sPath;
  return sPath.substr(0, nPos);
}

bool MainApp::LaunchMainApp(std::string& sPath) {
  const std::string sFolder = GetFolderName(sPath);
  logActivity_("*** Launching Varno now ... ***", kLogLevel);
  logActivity_("*** Launching From: " + sPath, kLogLevel);

  // The application needs its libraries in the system folder; one that cannot be copied
  // (in use, say) does not stop the launch.
  for (const std::string& sLibrary : GetLibraryFiles(sFolder)) {
    std::string sSource = sFolder + "\\" + sLibrary;
    std::string sDestination = GetSystemFolder() + "\\" + sLibrary;
    CopyAppFile(sSource, sDestination);
  }

  platform::Shell& shell = platform_.shell;
  Long lngResult = 0;
  if (launch_.bLaunchIndexing) {
    logActivity_("*** User=" + launch_.sLaunchUserName + " ***", kLogLevel);
    lngResult =
        shell.Execute("open", sPath, "-ReindexVarno " + launch_.sLaunchUserName, "", kShowNormal);
  } else {
    lngResult = shell.Execute("open", sPath, "-default", "", kShowNormal);
  }

  if (lngResult > kShellSuccessFloor) {
    logActivity_("*** Launch Successful ***", kLogLevel);
    return true;
  }
  logActivity_("*** ERROR ***", kLogLevel);
  return false;
}

void MainApp::LaunchFromLaunchSite() {
  AgentHostInfo& registry = registry_;
  const Long lngCount = registry.GetAgentCount();
  for (Long i = 1; i <= lngCount; ++i) {
    std::shared_ptr<clsMsgHostInfo> objHostInfo;
    if (!registry.GetAgentHostInfo(i, objHostInfo) || !objHostInfo) continue;
    std::string sAppPath = objHostInfo->GetAppPath();
    if (sAppPath.empty()) continue;
    // A copy under the executable's own name lets the next search find it locally; this
    // launch still runs from the other computer.
    std::string sLocalCopy = AppPath() + "\\" + GetFileName(sAppPath);
    CopyAppFile(sAppPath, sLocalCopy);
    if (LaunchMainApp(sAppPath)) break;
  }
}

}  // namespace launchagent
