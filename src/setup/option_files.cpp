// The two option files of the Agent Setup window: "agent.dat" (the active computers,
// the agent-services flag and the five seek flags) and the agent-info file (users and
// contexts per neighbourhood computer). Both are record files that are never truncated
// when written: the old content is read, the new records are laid over it, and the
// whole file is replaced in one step so an interrupted save leaves the old file whole.
#include <algorithm>
#include <string>

#include "messages/text_forms.h"
#include "platform/shared_steps.h"
#include "setup/frm_agent_setup.h"
#include "setup/option_records.h"

namespace launchagent {

namespace {

constexpr Integer kMaxActiveHosts = 199;  // entry 200 is kept for the end marker

// Runtime errors that the agent-info save reports in its message box.
constexpr Long kErrPathFileAccess = 75;
constexpr Long kErrPathNotFound = 76;
constexpr const char* kErrSource = "Launch";

std::string FilePath(platform::FileSystem& files, const std::string& sName) {
  return files.AgentFolder() + "\\" + sName;
}

// The file's bytes with `records` laid over them from byte 0. A file that does not
// exist yet counts as empty; one that exists but cannot be read fails.
bool OverlayAndReplace(platform::FileSystem& files, const std::string& sPath,
                       const Bytes& records) {
  Bytes content;
  if (PathExists(files, sPath)) {
    auto old = files.ReadFile(sPath);
    if (!old) return false;
    content = std::move(*old);
  }
  if (content.size() < records.size()) content.resize(records.size(), 0);
  std::copy(records.begin(), records.end(), content.begin());
  return files.ReplaceFile(sPath, content);
}

}  // namespace

bool FrmAgentSetup::LoadOptions() {
  const std::string sPath = FilePath(platform_.files, kAgentOptionsFileName);
  if (!PathExists(platform_.files, sPath)) return false;
  const auto file = platform_.files.ReadFile(sPath);
  if (!file) return false;
  AgentOptions rec;
  if (!DecodeAgentOptions(*file, rec)) return false;

  bActiveAgentServices_ = rec.bActiveAgentServices;
  localHost.bSeekIntranet = rec.bSeekIntranet;
  localHost.bSeekWeb = rec.bSeekWeb;
  localHost.bSeekNews = rec.bSeekNews;
  localHost.bSeekJobs = rec.bSeekJobs;
  localHost.bSeekStocks = rec.bSeekStocks;

  for (const std::string& sHost : ActiveHosts(rec)) active.lstActive->AddItem(sHost);
  return true;
}

bool FrmAgentSetup::SaveOptions() {
  const Integer nCount = active.lstActive->ListCount();
  if (nCount > kMaxActiveHosts) return false;

  AgentOptions rec;
  rec.bActiveAgentServices = bActiveAgentServices_;
  rec.bSeekIntranet = localHost.bSeekIntranet;
  rec.bSeekWeb = localHost.bSeekWeb;
  rec.bSeekNews = localHost.bSeekNews;
  rec.bSeekJobs = localHost.bSeekJobs;
  rec.bSeekStocks = localHost.bSeekStocks;
  for (Integer i = 0; i < nCount; ++i)
    rec.sActiveHost[static_cast<std::size_t>(i)].Assign(active.lstActive->List(i));
  rec.sActiveHost[static_cast<std::size_t>(nCount)].Assign("");  // 64 blanks end the list

  return OverlayAndReplace(platform_.files, FilePath(platform_.files, kAgentOptionsFileName),
                           EncodeAgentOptions(rec));
}

void FrmAgentSetup::SetAgentInfoFN(Long lngID) {
  sAgentInfoFN = "AgentInfo_" + text_forms::BareForm(lngID);
}

bool FrmAgentSetup::LoadAgentInfo() {
  const std::string sPath = FilePath(platform_.files, sAgentInfoFN);
  if (!PathExists(platform_.files, sPath)) return false;
  const auto file = platform_.files.ReadFile(sPath);
  if (!file) return false;

  // Whole records only: a trailing partial record is not loaded.
  std::vector<AgentInfoRecord> table;
  AgentInfoRecord rec;
  for (std::size_t k = 1; DecodeAgentInfoRecord(*file, k, rec); ++k) table.push_back(rec);
  hostUsers.AgentInfoTable = std::move(table);
  return true;
}

bool FrmAgentSetup::SaveAgentInfo() {
  // Its message box may let events run.
  const HandlerScope scope(*this);
  const std::string sPath = FilePath(platform_.files, sAgentInfoFN);
  Bytes records;
  records.reserve(hostUsers.AgentInfoTable.size() * AgentInfoRecord::kRecordLength);
  for (const AgentInfoRecord& rec : hostUsers.AgentInfoTable) {
    const Bytes one = EncodeAgentInfoRecord(rec);
    records.insert(records.end(), one.begin(), one.end());
  }

  platform::FileSystem& files = platform_.files;
  Long lngErr = 0;
  std::string sDescription;
  if (sAgentInfoFN.empty() || files.FolderExists(sPath)) {
    // Without a name the path is the application folder itself.
    lngErr = kErrPathFileAccess;
    sDescription = "Path/File access error";
  } else if (!OverlayAndReplace(platform_.files, sPath, records)) {
    if (files.FolderExists(platform_.files.AgentFolder())) {
      lngErr = kErrPathFileAccess;
      sDescription = "Path/File access error";
    } else {
      lngErr = kErrPathNotFound;
      sDescription = "Path not found";
    }
  }
  if (lngErr == 0) return true;

  platform_.windows.MessageBox(
      "Error", "Error # " + text_forms::SignedForm(static_cast<std::int64_t>(lngErr)) +
                   " was generated by " + kErrSource + "\r" + sDescription);
  return false;
}

}  // namespace launchagent
