// The Agent Setup window: its controls and layout, its initialisation from "agent.dat",
// the local option check boxes, the Set and Ok buttons and the "Log" box. Loading the
// window also starts the internet-check timer and reads the agent-info file, since the
// window serves host names and addresses while hidden.
#include "setup/frm_agent_setup.h"

#include "messages/message_context.h"

namespace launchagent {

namespace {

constexpr std::size_t kLogCutLength = 2048;
constexpr Integer kLogModeCut = 5;

// Places a control: coordinates are relative to its frame, or to the form when the
// container is empty.
template <class T>
T* Place(T& control, const std::string& sContainer, int nLeft, int nTop, int nWidth, int nHeight) {
  control.sContainer = sContainer;
  control.nLeft = nLeft;
  control.nTop = nTop;
  control.nWidth = nWidth;
  control.nHeight = nHeight;
  return &control;
}

// The start of the UTF-8 character at or after i, so a cut never splits one.
std::size_t CharBoundary(const std::string& s, std::size_t i) {
  while (i < s.size() && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) ++i;
  return i;
}

}  // namespace

FrmAgentSetup::FrmAgentSetup(platform::Platform& platform, AgentHostInfo& registry,
                             MessageContext& context, LogActivityFn logActivity,
                             bool& bActiveAgentServices, Links links)
    : platform_(platform),
      registry_(registry),
      context_(context),
      bActiveAgentServices_(bActiveAgentServices),
      links_(std::move(links)),
      identity_(platform.sockets, platform.loop, std::move(logActivity)),
      localOptions_(registry, context, identity_,
                    [this](std::string& sHostName) { AddHostToNeighborhood(sHostName); }),
      form_("frmAgentSetup", "Agent Setup") {
  CreateControls();
  TimerCheckInternet = &form_.Add<ui::Timer>("TimerCheckInternet", 60000, true);
  TimerCheckInternet->OnTick = Handler(&FrmAgentSetup::TimerCheckInternet_Timer);
  // Unloading runs inside this window's close handler, so the window counts as busy.
  form_.OnUserClose = [this] {
    const HandlerScope scope(*this);
    links_.unload();
  };
  platform_.windows.AttachForm(form_);
  TimerCheckInternet->AttachDriver(&platform_.loop.Timers());
  SetAgentInfoFN(1);
  LoadAgentInfo();
}

FrmAgentSetup::~FrmAgentSetup() {
  if (TimerCheckInternet) TimerCheckInternet->SetTimerEnabled(false);
  platform_.windows.DetachForm(form_);
}

void FrmAgentSetup::Form_Unload() {
  TimerCheckInternet->SetTimerEnabled(false);
  platform_.windows.DetachForm(form_);
  identity_.SocketsCleanup();
}

std::function<void()> FrmAgentSetup::Handler(void (FrmAgentSetup::*fn)()) {
  return [this, fn] {
    const HandlerScope scope(*this);
    (this->*fn)();
  };
}

// Top to bottom: the neighbourhood (left) and active (right) frames with their buttons
// below, the selected-host frame across the full width, the local frame, the log frame
// and "Ok" centred at the bottom.
void FrmAgentSetup::CreateControls() {
  ui::Form& f = form_;
  f.nWidth = 600;
  f.nHeight = 700;

  // Top row.
  neighborhood.fraNeighborhood =
      Place(f.Add<ui::Frame>("fraNeighborhood", "Neighborhood Computers "), "", 8, 8, 288, 160);
  neighborhood.lstNeighborhood =
      Place(f.Add<ui::ListBox>("lstNeighborhood"), "fraNeighborhood", 8, 20, 272, 132);
  neighborhood.cmdRefresh =
      Place(f.Add<ui::CommandButton>("cmdRefresh", "Refresh"), "", 8, 172, 90, 26);

  active.fraActive = Place(f.Add<ui::Frame>("fraActive", "Active Computers"), "", 304, 8, 288, 160);
  active.lstActive = Place(f.Add<ui::ListBox>("lstActive", true), "fraActive", 8, 20, 272, 132);
  active.cmdActiveAdd =
      Place(f.Add<ui::CommandButton>("cmdActiveAdd", "Add"), "", 304, 172, 90, 26);
  active.cmdActiveDelete =
      Place(f.Add<ui::CommandButton>("cmdActiveDelete", "Delete"), "", 400, 172, 90, 26);
  active.cmdActiveClear =
      Place(f.Add<ui::CommandButton>("cmdActiveClear", "Clear"), "", 496, 172, 90, 26);

  // The selected (remote) host.
  const std::string sSel = "fraSelectedHost";
  selectedHost.fraSelectedHost = Place(
      f.Add<ui::Frame>(sSel, "Selected (Remote) Host Agent Properties"), "", 8, 206, 584, 230);
  Place(f.Add<ui::Label>("lblHostUsers", "Select Host Users:"), sSel, 8, 20, 180, 18);
  selectedHost.lstHostUsers = Place(f.Add<ui::ListBox>("lstHostUsers"), sSel, 8, 40, 180, 110);
  Place(f.Add<ui::Label>("lblContexts", "Select Active Context:"), sSel, 196, 20, 180, 18);
  selectedHost.lstContexts =
      Place(f.Add<ui::ListBox>("lstContexts", true), sSel, 196, 40, 180, 110);
  selectedHost.chkRemoteWeb =
      Place(f.Add<ui::CheckBox>("chkRemoteWeb", "Web"), sSel, 388, 20, 188, 20);
  selectedHost.chkRemoteNews =
      Place(f.Add<ui::CheckBox>("chkRemoteNews", "News"), sSel, 388, 42, 188, 20);
  selectedHost.chkRemoteJobs =
      Place(f.Add<ui::CheckBox>("chkRemoteJobs", "Jobs"), sSel, 388, 64, 188, 20);
  selectedHost.chkRemoteStocks =
      Place(f.Add<ui::CheckBox>("chkRemoteStocks", "Stocks"), sSel, 388, 86, 188, 20);
  selectedHost.chkRemoteIntranet =
      Place(f.Add<ui::CheckBox>("chkRemoteIntranet", "Intranet"), sSel, 388, 108, 188, 20);
  selectedHost.chkActiveHost =
      Place(f.Add<ui::CheckBox>("chkActiveHost", "Seek Host Services"), sSel, 388, 130, 188, 20);
  Place(f.Add<ui::Label>("lblHostName", "HostName : "), sSel, 8, 160, 90, 20);
  selectedHost.txtHostName = Place(f.Add<ui::TextBox>("txtHostName"), sSel, 100, 158, 180, 22);
  Place(f.Add<ui::Label>("lblIPAddress", "IP Address : "), sSel, 8, 186, 90, 20);
  selectedHost.txtIP1 = Place(f.Add<ui::TextBox>("txtIP1"), sSel, 100, 184, 40, 22);
  selectedHost.txtIP2 = Place(f.Add<ui::TextBox>("txtIP2"), sSel, 146, 184, 40, 22);
  selectedHost.txtIP3 = Place(f.Add<ui::TextBox>("txtIP3"), sSel, 192, 184, 40, 22);
  selectedHost.txtIP4 = Place(f.Add<ui::TextBox>("txtIP4"), sSel, 238, 184, 40, 22);
  Place(f.Add<ui::Label>("lblLocalPort", "Local Port # : "), sSel, 300, 160, 100, 20);
  selectedHost.txtLocalPortNumber =
      Place(f.Add<ui::TextBox>("txtLocalPortNumber", "1030"), sSel, 400, 158, 70, 22);
  selectedHost.cmdSet = Place(f.Add<ui::CommandButton>("cmdSet", "Set"), sSel, 490, 184, 80, 26);

  // The local host.
  const std::string sLoc = "fraLocalHost";
  localHost.fraLocalHost =
      Place(f.Add<ui::Frame>(sLoc, "Local Host Agent Properties"), "", 8, 444, 584, 76);
  localHost.chkSeekWeb = Place(f.Add<ui::CheckBox>("chkSeekWeb", "Web"), sLoc, 8, 20, 100, 20);
  localHost.chkSeekNews = Place(f.Add<ui::CheckBox>("chkSeekNews", "News"), sLoc, 112, 20, 100, 20);
  localHost.chkSeekJobs = Place(f.Add<ui::CheckBox>("chkSeekJobs", "Jobs"), sLoc, 216, 20, 100, 20);
  localHost.chkSeekStocks =
      Place(f.Add<ui::CheckBox>("chkSeekStocks", "Stocks"), sLoc, 320, 20, 100, 20);
  localHost.chkSeekIntranet =
      Place(f.Add<ui::CheckBox>("chkSeekIntranet", "Intranet"), sLoc, 424, 20, 100, 20);
  localHost.chkActiveAgentServices =
      Place(f.Add<ui::CheckBox>("chkActiveAgentServices", "Activate Agent Services for local Host"),
            sLoc, 8, 46, 300, 20);

  // The log and the closing button.
  log.fraLog = Place(f.Add<ui::Frame>("fraLog", "Log"), "", 8, 528, 584, 130);
  log.rtbAgentLog = Place(f.Add<ui::TextBox>("rtbAgentLog", "", true), "fraLog", 8, 20, 568, 102);
  cmdOk = Place(f.Add<ui::CommandButton>("cmdOk", "Ok"), "", 255, 666, 90, 26);

  neighborhood.cmdRefresh->OnClick = Handler(&FrmAgentSetup::cmdRefresh_Click);
  active.cmdActiveAdd->OnClick = Handler(&FrmAgentSetup::cmdActiveAdd_Click);
  active.cmdActiveDelete->OnClick = Handler(&FrmAgentSetup::cmdActiveDelete_Click);
  active.cmdActiveClear->OnClick = Handler(&FrmAgentSetup::cmdActiveClear_Click);
  neighborhood.lstNeighborhood->OnClick = Handler(&FrmAgentSetup::lstNeighborhood_Click);
  selectedHost.lstHostUsers->OnClick = Handler(&FrmAgentSetup::lstHostUsers_Click);
  selectedHost.lstContexts->OnClick = Handler(&FrmAgentSetup::lstContexts_Click);
  localHost.chkActiveAgentServices->OnClick = Handler(&FrmAgentSetup::chkActiveAgentServices_Click);
  localHost.chkSeekWeb->OnClick = Handler(&FrmAgentSetup::chkSeekWeb_Click);
  localHost.chkSeekNews->OnClick = Handler(&FrmAgentSetup::chkSeekNews_Click);
  localHost.chkSeekJobs->OnClick = Handler(&FrmAgentSetup::chkSeekJobs_Click);
  localHost.chkSeekStocks->OnClick = Handler(&FrmAgentSetup::chkSeekStocks_Click);
  localHost.chkSeekIntranet->OnClick = Handler(&FrmAgentSetup::chkSeekIntranet_Click);
  selectedHost.cmdSet->OnClick = Handler(&FrmAgentSetup::cmdSet_Click);
  cmdOk->OnClick = Handler(&FrmAgentSetup::cmdOk_Click);
}

void FrmAgentSetup::Init() {
  nInternetTicks = 0;
  LoadOptions();
  // A box whose value changes runs its click handler, so a restored option that differs
  // from what the box showed is saved and passed to the registry once more.
  localHost.chkActiveAgentServices->SetValue(bActiveAgentServices_ ? 1 : 0);
  localHost.chkSeekIntranet->SetValue(localHost.bSeekIntranet ? 1 : 0);
  localHost.chkSeekStocks->SetValue(localHost.bSeekStocks ? 1 : 0);
  localHost.chkSeekWeb->SetValue(localHost.bSeekWeb ? 1 : 0);
  localHost.chkSeekNews->SetValue(localHost.bSeekNews ? 1 : 0);
  localHost.chkSeekJobs->SetValue(localHost.bSeekJobs ? 1 : 0);
  bInternetAccess = false;
  identity_.SocketsInitialize();
  identity_.GetHostInfo();
  form_.SetCaption("Agent setup for " + std::string(" (") + identity_.GetIPAddress() + ") " +
                   identity_.GetHostName());
}

// Each local option: the field follows the box, "agent.dat" is written, then the
// local registry entry. The other agents learn of it with the next periodic broadcast.
void FrmAgentSetup::chkActiveAgentServices_Click() {
  bActiveAgentServices_ = localHost.chkActiveAgentServices->Value() == 1;
  SaveOptions();
  localOptions_.SetLocalProvideHostServices(bActiveAgentServices_);
}

void FrmAgentSetup::chkSeekWeb_Click() {
  localHost.bSeekWeb = localHost.chkSeekWeb->Value() == 1;
  SaveOptions();
  localOptions_.SetLocalProvideWeb(localHost.bSeekWeb);
}

void FrmAgentSetup::chkSeekNews_Click() {
  localHost.bSeekNews = localHost.chkSeekNews->Value() == 1;
  SaveOptions();
  localOptions_.SetLocalProvideNews(localHost.bSeekNews);
}

void FrmAgentSetup::chkSeekJobs_Click() {
  localHost.bSeekJobs = localHost.chkSeekJobs->Value() == 1;
  SaveOptions();
  localOptions_.SetLocalProvideJobs(localHost.bSeekJobs);
}

void FrmAgentSetup::chkSeekStocks_Click() {
  localHost.bSeekStocks = localHost.chkSeekStocks->Value() == 1;
  SaveOptions();
  localOptions_.SetLocalProvideStocks(localHost.bSeekStocks);
}

void FrmAgentSetup::chkSeekIntranet_Click() {
  localHost.bSeekIntranet = localHost.chkSeekIntranet->Value() == 1;
  SaveOptions();
  localOptions_.SetLocalProvideIntranet(localHost.bSeekIntranet);
}

void FrmAgentSetup::cmdSet_Click() {
  // The texts go as typed; the registry decides what a port that is no number means.
  const std::string sAddress = selectedHost.txtIP1->Text() + "." + selectedHost.txtIP2->Text() +
                               "." + selectedHost.txtIP3->Text() + "." +
                               selectedHost.txtIP4->Text();
  localOptions_.SetAgentAddress(selectedHost.txtHostName->Text(), sAddress,
                                selectedHost.txtLocalPortNumber->Text());
}

void FrmAgentSetup::cmdOk_Click() {
  SaveAgentInfo();
  form_.Hide();
}

void LogFrame::Display(const std::string& sText, Integer nMode) {
  const std::string& sLog = rtbAgentLog->Text();
  if (nMode == kLogModeCut && sLog.size() > kLogCutLength) {
    // The cut happens once per half of the limit; every other line is appended in place.
    const std::size_t nCut = CharBoundary(sLog, sLog.size() / 2);
    std::string sKept;
    sKept.reserve(sLog.size() - nCut + 2 + sText.size());
    sKept.append(sLog, nCut);
    if (!sKept.empty()) sKept += "\r\n";
    sKept += sText;
    rtbAgentLog->SetText(std::move(sKept));
  } else if (sLog.empty()) {
    rtbAgentLog->Append(sText);
  } else {
    rtbAgentLog->Append("\r\n", sText);
  }
  // Selecting the new text scrolls it into view.
  const Long lngNew = static_cast<Long>(sText.size());
  rtbAgentLog->Select(static_cast<Long>(rtbAgentLog->Text().size()) - lngNew, lngNew);
}

// The internet check runs on every sixth tick. The agent has no detection of internet
// access: the state it reads is always False, as the flag is, so the check never acts.
void FrmAgentSetup::TimerCheckInternet_Timer() {
  if (nInternetTicks < 5) {
    ++nInternetTicks;
    return;
  }
  nInternetTicks = 0;
  TimerCheckInternet->SetTimerEnabled(false);
  TimerCheckInternet->SetTimerEnabled(true);
}

}  // namespace launchagent
