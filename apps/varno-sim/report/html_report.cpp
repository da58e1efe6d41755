#include "html_report.h"

#include <algorithm>
#include <array>

#include "platform/sim/transcript_text.h"

namespace launchagent::report {

namespace {

constexpr Nanos kMinute = 60'000'000'000;
constexpr int kLabelWidth = 120;
constexpr int kPlotWidth = 960;
constexpr int kLaneHeight = 14;
constexpr int kAgeHeight = 48;
constexpr int kMessageHeight = 28;
constexpr int kCheckInLimit = 9;  // minutes: the agent closes Varno at this age

// Lanes of one host, top to bottom.
constexpr int kAgentY = 4;
constexpr int kFaultY = kAgentY + kLaneHeight + 4;
constexpr int kVarnoY = kFaultY + kLaneHeight + 4;
constexpr int kAgeY = kVarnoY + kLaneHeight + 10;
constexpr int kMessageY = kAgeY + kAgeHeight + 8;
constexpr int kHostHeight = kMessageY + kMessageHeight + 6;

const char* const kStyle = R"(body{font:13px sans-serif;margin:16px;color:#222}
h1{font-size:18px}h2{font-size:14px;margin:14px 0 2px}
svg{display:block;background:#fafafa;border:1px solid #ddd}
.lane{fill:#eee}.label{font-size:11px;fill:#555}
.agent{fill:#3a9a4a}.varno{fill:#3b6fc4}.down{fill:#b03030}
.partition{fill:#e8962e;fill-opacity:.55}.fault{stroke:#b03030;stroke-width:2}
.launch{fill:#1b3f80}.close{stroke:#c02020;stroke-width:2.5}
.age{fill:none;stroke:#7a3ab0;stroke-width:1.5}.agept{fill:#7a3ab0}
.limit{stroke:#c02020;stroke-dasharray:4 3}.sent{fill:#3b6fc4}.received{fill:#3a9a4a}
.axis{stroke:#999}.legend span{display:inline-block;margin-right:14px}
.sw{display:inline-block;width:12px;height:10px;margin-right:4px;vertical-align:middle}
)";

std::string Escape(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (const char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// Whole pixels keep the file short and the same run's bytes the same.
class Scale {
 public:
  explicit Scale(Nanos end) : end_(std::max<Nanos>(end, 1)) {}
  long X(Nanos t) const {
    return kLabelWidth + static_cast<long>(static_cast<long double>(t) * kPlotWidth / end_);
  }
  long Width(Nanos a, Nanos b) const { return std::max(1L, X(b) - X(a)); }

 private:
  Nanos end_;
};

void Title(std::ostream& out, const std::string& sText) {
  out << "<title>" << Escape(sText) << "</title>";
}

void Spans(std::ostream& out, const Scale& x, const std::vector<Span>& spans, const char* sClass,
           const std::string& sHost, int y) {
  for (const Span& s : spans) {
    out << "<rect class=\"" << sClass << "\" data-host=\"" << Escape(sHost) << "\" x=\""
        << x.X(s.start) << "\" y=\"" << y << "\" width=\"" << x.Width(s.start, s.end)
        << "\" height=\"" << kLaneHeight << "\">";
    Title(out, s.sLine);
    out << "</rect>";
  }
}

void LaneLabels(std::ostream& out) {
  const std::array<std::pair<int, const char*>, 5> lanes{{{kAgentY, "agent"},
                                                          {kFaultY, "faults"},
                                                          {kVarnoY, "Varno"},
                                                          {kAgeY, "check-in age"},
                                                          {kMessageY, "messages / min"}}};
  for (const auto& [y, sName] : lanes)
    out << "<text class=\"label\" x=\"4\" y=\"" << y + 11 << "\">" << sName << "</text>";
  for (const int y : {kAgentY, kFaultY, kVarnoY})
    out << "<rect class=\"lane\" x=\"" << kLabelWidth << "\" y=\"" << y << "\" width=\""
        << kPlotWidth << "\" height=\"" << kLaneHeight << "\"/>";
}

void Marks(std::ostream& out, const Scale& x, const HostPicture& h) {
  const std::string sHost = Escape(h.sName);
  for (const Mark& m : h.launches) {  // a triangle pointing up: started
    const long cx = x.X(m.t);
    out << "<polygon class=\"mark launch\" data-host=\"" << sHost << "\" points=\"" << cx - 5 << ","
        << kVarnoY + kLaneHeight + 4 << " " << cx + 5 << "," << kVarnoY + kLaneHeight + 4 << " "
        << cx << "," << kVarnoY - 2 << "\">";
    Title(out, m.sLine);
    out << "</polygon>";
  }
  for (const Mark& m : h.closes) {  // a cross: closed
    const long cx = x.X(m.t);
    const int cy = kVarnoY + kLaneHeight / 2;
    out << "<path class=\"mark close\" data-host=\"" << sHost << "\" d=\"M" << cx - 5 << ","
        << cy - 5 << "L" << cx + 5 << "," << cy + 5 << "M" << cx - 5 << "," << cy + 5 << "L"
        << cx + 5 << "," << cy - 5 << "\">";
    Title(out, m.sLine);
    out << "</path>";
  }
  for (const Mark& m : h.faults) {
    const long cx = x.X(m.t);
    out << "<line class=\"mark fault\" data-host=\"" << sHost << "\" x1=\"" << cx << "\" y1=\""
        << kFaultY - 2 << "\" x2=\"" << cx << "\" y2=\"" << kFaultY + kLaneHeight + 2 << "\">";
    Title(out, m.sLine);
    out << "</line>";
  }
}

void Ages(std::ostream& out, const Scale& x, const HostPicture& h) {
  int nTop = kCheckInLimit + 2;
  for (const AgeSample& a : h.ages) nTop = std::max(nTop, a.nMinutes + 1);
  const auto y = [nTop](int n) { return kAgeY + kAgeHeight - n * kAgeHeight / nTop; };
  out << "<line class=\"limit\" x1=\"" << kLabelWidth << "\" x2=\"" << kLabelWidth + kPlotWidth
      << "\" y1=\"" << y(kCheckInLimit) << "\" y2=\"" << y(kCheckInLimit) << "\"><title>"
      << kCheckInLimit << " minutes: Varno is closed at this age</title></line>";
  out << "<text class=\"label\" x=\"" << kLabelWidth + kPlotWidth + 4 << "\" y=\""
      << y(kCheckInLimit) + 4 << "\">" << kCheckInLimit << " min</text>";
  out << "<line class=\"axis\" x1=\"" << kLabelWidth << "\" x2=\"" << kLabelWidth + kPlotWidth
      << "\" y1=\"" << y(0) << "\" y2=\"" << y(0) << "\"/>";
  if (h.ages.empty()) return;
  out << "<polyline class=\"age\" points=\"";
  for (std::size_t i = 0; i < h.ages.size(); ++i) {  // steps: the age holds until re-read
    if (i > 0) out << x.X(h.ages[i].t) << "," << y(h.ages[i - 1].nMinutes) << " ";
    out << x.X(h.ages[i].t) << "," << y(h.ages[i].nMinutes) << " ";
  }
  out << "\"/>";
  for (const AgeSample& a : h.ages) {
    out << "<circle class=\"mark agept\" data-host=\"" << Escape(h.sName) << "\" cx=\"" << x.X(a.t)
        << "\" cy=\"" << y(a.nMinutes) << "\" r=\"2.5\">";
    Title(out, a.sLine);
    out << "</circle>";
  }
}

void Messages(std::ostream& out, const Scale& x, const HostPicture& h) {
  int nTop = 1;
  for (const auto& [m, c] : h.minutes) nTop = std::max({nTop, c.nSent, c.nReceived});
  for (const auto& [nMinute, c] : h.minutes) {
    const long x0 = x.X(nMinute * kMinute);
    const long w = std::max(2L, (x.X((nMinute + 1) * kMinute) - x0) / 2 - 1);
    const std::string sTip = "minute " + sim::ClockTime(nMinute * kMinute).substr(0, 5) + ": " +
                             std::to_string(c.nSent) + " sent, " + std::to_string(c.nReceived) +
                             " received";
    const std::array<std::pair<int, const char*>, 2> bars{
        {{c.nSent, "sent"}, {c.nReceived, "received"}}};
    for (std::size_t i = 0; i < bars.size(); ++i) {
      if (bars[i].first == 0) continue;
      const int height = std::max(1, bars[i].first * kMessageHeight / nTop);
      out << "<rect class=\"" << bars[i].second << "\" x=\"" << x0 + static_cast<long>(i) * w
          << "\" y=\"" << kMessageY + kMessageHeight - height << "\" width=\"" << w
          << "\" height=\"" << height << "\">";
      Title(out, sTip);
      out << "</rect>";
    }
  }
}

void Partitions(std::ostream& out, const Scale& x, const RunPicture& picture,
                const HostPicture& h) {
  for (const PartitionSpan& p : picture.Partitions()) {
    const auto involves = [&h](const std::string& s) {
      if (s == "*") return true;
      if (s.size() != h.sName.size()) return false;
      return std::equal(s.begin(), s.end(), h.sName.begin(),
                        [](char a, char b) { return (a | 0x20) == (b | 0x20); });
    };
    if (!involves(p.sFrom) && !involves(p.sTo)) continue;
    out << "<rect class=\"partition\" data-host=\"" << Escape(h.sName) << "\" x=\""
        << x.X(p.span.start) << "\" y=\"" << kFaultY << "\" width=\""
        << x.Width(p.span.start, p.span.end) << "\" height=\"" << kLaneHeight << "\">";
    Title(out, p.span.sLine);
    out << "</rect>";
  }
}

void Axis(std::ostream& out, const Scale& x, Nanos end) {
  Nanos step = kMinute;
  for (const Nanos m : {1, 2, 5, 10, 15, 30, 60, 120, 240, 480, 1440})
    if (end / (m * kMinute) <= 12) {
      step = m * kMinute;
      break;
    }
  out << "<svg width=\"" << kLabelWidth + kPlotWidth + 40 << "\" height=\"22\">";
  for (Nanos t = 0; t <= end; t += step)
    out << "<line class=\"axis\" x1=\"" << x.X(t) << "\" x2=\"" << x.X(t)
        << "\" y1=\"0\" y2=\"6\"/><text class=\"label\" x=\"" << x.X(t) - 14 << "\" y=\"18\">"
        << sim::ClockTime(t).substr(0, 5) << "</text>";
  out << "</svg>\n";
}

void Legend(std::ostream& out) {
  const std::array<std::pair<const char*, const char*>, 9> items{
      {{"#3a9a4a", "agent running"},
       {"#b03030", "host down"},
       {"#e8962e", "partition"},
       {"#3b6fc4", "Varno running"},
       {"#1b3f80", "&#9650; launch"},
       {"#c02020", "&#10005; close"},
       {"#7a3ab0", "own check-in age (minutes)"},
       {"#3b6fc4", "sent"},
       {"#3a9a4a", "received"}}};
  out << "<p class=\"legend\">";
  for (const auto& [sColour, sText] : items)
    out << "<span><i class=\"sw\" style=\"background:" << sColour << "\"></i>" << sText
        << "</span>";
  out << "</p>\n";
}

}  // namespace

void WriteHtmlReport(const RunPicture& picture, const std::string& sTitle, std::ostream& out) {
  const Scale x(picture.End());
  out << "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" << Escape(sTitle)
      << "</title>\n<style>" << kStyle << "</style></head>\n<body>\n<h1>" << Escape(sTitle)
      << "</h1>\n<p>" << picture.Hosts().size() << " hosts, " << sim::ClockTime(picture.End())
      << " of virtual time. Hover a mark for its transcript "
      << "line.</p>\n";
  Legend(out);
  for (const HostPicture& h : picture.Hosts()) {
    out << "<h2>" << Escape(h.sName) << "</h2>\n<svg class=\"host\" data-host=\"" << Escape(h.sName)
        << "\" width=\"" << kLabelWidth + kPlotWidth + 40 << "\" height=\"" << kHostHeight
        << "\" xmlns=\"http://www.w3.org/2000/svg\">";
    LaneLabels(out);
    Spans(out, x, h.agent, "agent", h.sName, kAgentY);
    Spans(out, x, h.down, "down", h.sName, kFaultY);
    Partitions(out, x, picture, h);
    Spans(out, x, h.varno, "varno", h.sName, kVarnoY);
    Ages(out, x, h);
    Messages(out, x, h);
    Marks(out, x, h);
    out << "</svg>\n";
  }
  Axis(out, x, picture.End());
  out << "</body></html>\n";
}

}  // namespace launchagent::report
