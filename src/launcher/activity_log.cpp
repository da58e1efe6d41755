#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "launcher/launcher_forms.h"
#include "setup/frm_agent_setup.h"

namespace launchagent {

namespace {
constexpr std::size_t kLogLimit = 2048;
}

void Launcher::LogActivity(const std::string& sText, Integer /*nLevel*/) {
  ui::TextBox& txtInfo = forms_.frmLaunch().txtInfo;
  // The limit is tested before appending: past it the whole log starts afresh.
  std::string sLog = txtInfo.Text().size() > kLogLimit ? std::string() : txtInfo.Text();
  sLog += sText;
  sLog += "\r\n";
  const Long lngLength = static_cast<Long>(sLog.size());
  const Long lngLine = static_cast<Long>(sText.size()) + 2;
  txtInfo.SetText(std::move(sLog));
  // Selecting the new line scrolls it into view.
  txtInfo.SetSelStart(lngLength - lngLine);
  txtInfo.SetSelLength(lngLine);

  platform_.trace.ActivityLine(sText);
  // The setup window's "Log" box shows the same lines while that window is loaded.
  if (forms_.IsAgentSetupLoaded()) forms_.frmAgentSetup().txtAgentLog_Display(sText, 5);
}

}  // namespace launchagent
