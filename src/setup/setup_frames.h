#pragma once
// The Agent Setup window's frames. Each holds the controls it groups (the form owns
// them), so a caller reaches a control through the frame it sits in.
#include <string>

#include "platform/types.h"
#include "platform/ui/controls.h"

namespace launchagent {

// "Neighborhood Computers " and its "Refresh" button.
struct NeighborhoodFrame {
  ui::Frame* fraNeighborhood = nullptr;
  ui::ListBox* lstNeighborhood = nullptr;
  ui::CommandButton* cmdRefresh = nullptr;
};

// "Active Computers" and its "Add", "Delete" and "Clear" buttons.
struct ActiveFrame {
  ui::Frame* fraActive = nullptr;
  ui::ListBox* lstActive = nullptr;
  ui::CommandButton* cmdActiveAdd = nullptr;
  ui::CommandButton* cmdActiveDelete = nullptr;
  ui::CommandButton* cmdActiveClear = nullptr;
};

// "Selected (Remote) Host Agent Properties": what the registry knows of one computer.
struct SelectedHostFrame {
  ui::Frame* fraSelectedHost = nullptr;
  ui::ListBox* lstHostUsers = nullptr;
  ui::ListBox* lstContexts = nullptr;
  ui::CheckBox* chkRemoteWeb = nullptr;
  ui::CheckBox* chkRemoteNews = nullptr;
  ui::CheckBox* chkRemoteJobs = nullptr;
  ui::CheckBox* chkRemoteStocks = nullptr;
  ui::CheckBox* chkRemoteIntranet = nullptr;
  ui::CheckBox* chkActiveHost = nullptr;
  ui::TextBox* txtHostName = nullptr;
  ui::TextBox* txtIP1 = nullptr;
  ui::TextBox* txtIP2 = nullptr;
  ui::TextBox* txtIP3 = nullptr;
  ui::TextBox* txtIP4 = nullptr;
  ui::TextBox* txtLocalPortNumber = nullptr;
  ui::CommandButton* cmdSet = nullptr;
};

// "Local Host Agent Properties": the boxes and the five seek options they show, which
// "agent.dat" keeps.
struct LocalHostFrame {
  ui::Frame* fraLocalHost = nullptr;
  ui::CheckBox* chkSeekWeb = nullptr;
  ui::CheckBox* chkSeekNews = nullptr;
  ui::CheckBox* chkSeekJobs = nullptr;
  ui::CheckBox* chkSeekStocks = nullptr;
  ui::CheckBox* chkSeekIntranet = nullptr;
  ui::CheckBox* chkActiveAgentServices = nullptr;
  bool bSeekWeb = false;
  bool bSeekNews = false;
  bool bSeekJobs = false;
  bool bSeekStocks = false;
  bool bSeekIntranet = false;
};

// "Log": the activity log's copy while the window is loaded.
struct LogFrame {
  ui::Frame* fraLog = nullptr;
  ui::TextBox* rtbAgentLog = nullptr;
  // Appends a line; mode 5 first cuts the text to its second half past 2048 characters.
  void Display(const std::string& sText, Integer nMode);
};

}  // namespace launchagent
