#pragma once
// Top-level windows of a session without a display. The agent and the programs it
// starts (the main application, a second agent) share one small table file, locked
// for every change, so "is there a window titled Varno" and "close it" still work.
// Entries of processes that have died are dropped when the table is read.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace launchagent::native {

struct WindowEntry {
  std::int64_t lngHandle = 0;
  long lngPid = 0;
  int nCloseRequests = 0;  // close requests sent to it so far
  int nCloseHandled = 0;   // how many of them its owner has handled
  std::string sClass;
  std::string sTitle;
};

class WindowTable {
 public:
  explicit WindowTable(std::string sPath) : sPath_(std::move(sPath)) {}
  const std::string& Path() const { return sPath_; }

  // Topmost first.
  std::vector<WindowEntry> List() const;
  // A new window of this process, on top; 0 when the table cannot be written.
  std::int64_t Add(const std::string& sClass, const std::string& sTitle);
  bool SetTitle(std::int64_t lngHandle, const std::string& sTitle);
  bool Remove(std::int64_t lngHandle);
  // Adds a close request; its number (1, 2, ...), or 0 when the window is gone.
  int RequestClose(std::int64_t lngHandle);
  // True when the window is gone or its owner has handled request nRequest.
  bool CloseHandled(std::int64_t lngHandle, int nRequest) const;
  // Windows of this process with unhandled close requests; marks them handled.
  std::vector<std::int64_t> TakeCloseRequests();

  // Text form of a table, for the file and for tests. Bad lines are skipped.
  static std::string Format(std::int64_t lngNext, const std::vector<WindowEntry>& entries);
  static std::vector<WindowEntry> Parse(const std::string& sText, std::int64_t& lngNext);

 private:
  template <class F>
  bool Update(F&& change);
  std::string sPath_;
};

}  // namespace launchagent::native
