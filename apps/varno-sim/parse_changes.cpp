// Actions that change a host during the run: its files, its shares, what its share
// search lists and how the search behaves. Each takes the words of the host statement
// it changes, with the host in front (a share names its host itself).
#include "scenario_parser.h"

namespace launchagent::scenario {

// file HOST PATH ... | hidden-file HOST PATH ...: the words of a file statement.
bool Parser::ChangeFile(Action& a, const Words& r, bool bHidden) {
  act::WriteFile& x = a.what.emplace<act::WriteFile>();
  if (r.size() < 2) {
    Error(std::string("expected: at TIME ") + (bHidden ? "hidden-file" : "file") +
          " HOST PATH [text \"...\" | program NAME ...]");
    return false;
  }
  a.sHost = r[0].sText;
  x.file.bHidden = bHidden;
  bool bPayload = false;
  if (!FileWords(r, x.file, bPayload)) return false;
  bFilePending_ = bPayload;
  return true;
}

// delete HOST PATH
bool Parser::Delete(Action& a, const Words& r) {
  if (r.size() != 2 || !IsDrivePath(r[1].sText)) {
    Error("expected: at TIME delete HOST PATH (a path such as C:\\Apps\\Varno2.exe)");
    return false;
  }
  a.sHost = r[0].sText;
  a.what = act::Delete{StripTrailingBackslash(r[1].sText)};
  return true;
}

// share \\HOST\SHARE -> FOLDER [unreadable]
bool Parser::AddShare(Action& a, const Words& r) {
  act::AddShare& x = a.what.emplace<act::AddShare>();
  Words t{Token{"share", false}};
  t.insert(t.end(), r.begin(), r.end());
  if (!ShareWords(t, x.share)) return false;
  a.sHost = ShareOwner(x.share.sUNC);
  return true;
}

// drop-share \\HOST\SHARE
bool Parser::DropShare(Action& a, const Words& r) {
  if (r.size() != 1) {
    Error("expected: at TIME drop-share \\\\HOST\\SHARE");
    return false;
  }
  if (!ShareName(r[0].sText)) return false;
  a.sHost = ShareOwner(r[0].sText);
  a.what = act::DropShare{r[0].sText};
  return true;
}

// visible-shares HOST [NAME ...] | visible-shares HOST default
bool Parser::VisibleShares(Action& a, const Words& r) {
  if (r.empty()) {
    Error("expected: at TIME visible-shares HOST [NAME ...] | visible-shares HOST default");
    return false;
  }
  a.sHost = r[0].sText;
  act::VisibleShares x;
  // An unquoted "default" alone goes back to the default; "default" in quotes is a name.
  if (!(r.size() == 2 && !r[1].bQuoted && AsciiLower(r[1].sText) == "default")) {
    x.names.emplace();
    for (std::size_t i = 1; i < r.size(); ++i) x.names->push_back(r[i].sText);
  }
  a.what = std::move(x);
  return true;
}

// share-search HOST [time=DURATION] [error]: the settings from now on, error off unless
// written.
bool Parser::ChangeShareSearch(Action& a, const Words& r) {
  act::ShareSearch& x = a.what.emplace<act::ShareSearch>();
  if (r.empty()) {
    Error("expected: at TIME share-search HOST [time=DURATION] [error]");
    return false;
  }
  a.sHost = r[0].sText;
  return ShareSearchWords(r, x.time, x.bError);
}

}  // namespace launchagent::scenario
