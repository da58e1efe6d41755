#pragma once
// Inside of the scenario parser. One parser reads one file; its jobs live in files of
// their own: lines and world statements (scenario_parser.cpp), host properties
// (parse_host.cpp), actions (parse_actions.cpp), expectations (parse_expectations.cpp)
// and the whole-scenario checks (validate.cpp).
#include <optional>
#include <string>
#include <vector>

#include "messages/property_bag.h"
#include "scenario.h"
#include "scenario_words.h"

namespace launchagent::scenario {

class Parser {
 public:
  Parser(const std::string& sText, const std::string& sFileName);
  ParseResult Run();

 private:
  enum class PayloadKind { kNone, kFileText, kBag };

  void SplitLines();
  void Error(const std::string& sMessage) { result_.errors.push_back({nLine_, sMessage}); }
  Scenario& S() { return result_.scenario; }
  bool Arity(const Words& t, std::size_t nMin, std::size_t nMax, const std::string& sUsage);

  // Statements.
  void Statement(const Words& t);
  void Seed(const Words& t);
  void Start(const Words& t);
  void NetEventsLine(const Words& t);
  void Host(const Words& t);
  void RunUntil(const Words& t);
  void Payload(std::string sText);
  void FinishBag();

  // Host properties: false when the word names none.
  bool HostProperty(const std::string& sKey, const Words& t);
  void File(const Words& t, bool bHidden);
  bool FileWords(const Words& t, FileSetup& f, bool& bPayload);
  void ExpectFileText(FileSetup& f);
  void ProgramOptions(FileSetup& f, const Words& t);
  void Window(const Words& t);
  void Share(const Words& t);
  bool ShareWords(const Words& t, ShareSetup& s);
  bool ShareName(const std::string& sUNC);
  static std::string ShareOwner(const std::string& sUNC);
  void ShareSearch(const Words& t);
  bool ShareSearchWords(const Words& t, std::optional<Nanos>& time, bool& bError);
  void Sockets(const Words& t);
  void SystemFolder(const Words& t);
  void Disk(const Words& t);

  // Actions: each verb's parser fills the action from the words after the verb.
  void At(const Words& t);
  bool OneHost(Action& a, const Words& r, const std::string& sUsage);
  bool StartAgent(Action& a, const Words& r);
  bool StartProgram(Action& a, const Words& r);
  bool Pair(Action& a, const Words& r, const std::string& sVerb);
  bool ClockJump(Action& a, const Words& r);
  bool Partition(Action& a, const Words& r, bool bHeal);
  bool Send(Action& a, const Words& r);
  bool Control(Action& a, const Words& r, const std::string& sVerb);
  bool CloseWindow(Action& a, const Words& r);
  bool ShowForm(Action& a, const Words& r);
  // Changes of a host during the run (parse_changes.cpp).
  bool ChangeFile(Action& a, const Words& r, bool bHidden);
  bool Delete(Action& a, const Words& r);
  bool AddShare(Action& a, const Words& r);
  bool DropShare(Action& a, const Words& r);
  bool VisibleShares(Action& a, const Words& r);
  bool ChangeShareSearch(Action& a, const Words& r);

  void Expect(const Words& t);
  void Chain(const Words& t);
  void Validate();

  // "bad duration '2min'" with the units a duration may carry.
  void BadDuration(const std::string& sText);

  const std::string& sText_;
  std::vector<std::string> lines_;
  ParseResult result_;
  int nLine_ = 0;
  std::string sSource_;
  HostSetup* host_ = nullptr;
  bool bChainOpen_ = false;  // the last statement was an expectation or one of its steps
  PayloadKind payload_ = PayloadKind::kNone;
  FileSetup* pendingFile_ = nullptr;  // takes the '|' lines of a file statement or action
  bool bFilePending_ = false;         // the action being parsed wants file lines
  bool bBagPending_ = false;
  act::SendBytes* pendingBag_ = nullptr;
  PropertyBag bag_;
};

}  // namespace launchagent::scenario
