// The activity log at LAN scale: every host information received logs one line per
// known agent, so 1,000 peers mean 1,000 lines per arrival. The text box model's
// in-place append is held against a bare std::string under the same clearing rule, and
// against replacing the whole text per line as the log did before.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "platform/ui/controls.h"

namespace {

using launchagent::Long;
using launchagent::ui::TextBox;

constexpr std::size_t kLogLimit = 2048;
constexpr int kLines = 1000;

std::vector<std::string> Lines() {
  std::vector<std::string> lines;
  for (int i = 0; i < kLines; ++i) {
    const std::string sHost = "peer" + std::to_string(1000 + i);
    lines.push_back("Host=" + sHost + " LaunchSite=\\\\" + sHost + "\\c\\Varno\\Varno3.exe");
  }
  return lines;
}

// Baseline: the bytes alone, cleared past the limit.
void BM_Log1000LinesString(benchmark::State& state) {
  const auto lines = Lines();
  std::string sLog;
  for (auto _ : state) {
    for (const std::string& sText : lines) {
      if (sLog.size() > kLogLimit) sLog.clear();
      sLog += sText;
      sLog += "\r\n";
    }
    benchmark::DoNotOptimize(sLog.data());
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_Log1000LinesString);

// The model as the log uses it: append in place, select the new line; one observer,
// as a window that notes the change for its next refresh.
void BM_Log1000LinesAppend(benchmark::State& state) {
  const auto lines = Lines();
  TextBox box("txtInfo", "", true);
  int nNoted = 0;
  box.AddChangeObserver([&](const launchagent::ui::Change&) { ++nNoted; });
  for (auto _ : state) {
    for (const std::string& sText : lines) {
      std::string sLine;
      sLine.reserve(sText.size() + 2);
      sLine += sText;
      sLine += "\r\n";
      if (box.Text().size() > kLogLimit)
        box.SetText(std::move(sLine));
      else
        box.Append(sLine);
      const Long lngLine = static_cast<Long>(sText.size()) + 2;
      box.Select(static_cast<Long>(box.Text().size()) - lngLine, lngLine);
    }
    benchmark::DoNotOptimize(nNoted);
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_Log1000LinesAppend);

// The whole text copied and replaced per line, three notifications per line.
void BM_Log1000LinesReplace(benchmark::State& state) {
  const auto lines = Lines();
  TextBox box("txtInfo", "", true);
  int nNoted = 0;
  box.AddObserver([&] { ++nNoted; });
  for (auto _ : state) {
    for (const std::string& sText : lines) {
      std::string sLog = box.Text().size() > kLogLimit ? std::string() : box.Text();
      sLog += sText;
      sLog += "\r\n";
      const Long lngLength = static_cast<Long>(sLog.size());
      const Long lngLine = static_cast<Long>(sText.size()) + 2;
      box.SetText(std::move(sLog));
      box.SetSelStart(lngLength - lngLine);
      box.SetSelLength(lngLine);
    }
    benchmark::DoNotOptimize(nNoted);
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK(BM_Log1000LinesReplace);

}  // namespace
