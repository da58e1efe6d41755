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
  // The limit is tested before appending: past it the whole log starts afresh. Below it
  // the line is appended in place, so a line costs its own length, not the log's.
  if (txtInfo.Text().size() > kLogLimit)
    txtInfo.SetText(sText + "\r\n");
  else
    txtInfo.Append(sText, "\r\n");
  // Selecting the new line scrolls it into view.
  const Long lngLine = static_cast<Long>(sText.size()) + 2;
  txtInfo.Select(static_cast<Long>(txtInfo.Text().size()) - lngLine, lngLine);

  platform_.trace.ActivityLine(sText);
  // The setup window's "Log" box shows the same lines while that window is loaded.
  if (forms_.IsAgentSetupLoaded()) forms_.frmAgentSetup().log.Display(sText, 5);
}

}  // namespace launchagent
