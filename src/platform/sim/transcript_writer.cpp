#include "platform/sim/transcript_writer.h"

#include "platform/sim/transcript_text.h"

namespace launchagent::sim {

const char* TranscriptKindName(TranscriptKind kind) {
  switch (kind) {
    case TranscriptKind::Log:
      return "log";
    case TranscriptKind::Window:
      return "window";
    case TranscriptKind::Registry:
      return "registry";
    case TranscriptKind::Process:
      return "process";
    case TranscriptKind::Launch:
      return "launch";
    case TranscriptKind::File:
      return "file";
    case TranscriptKind::MsgBox:
      return "msgbox";
    case TranscriptKind::Net:
      return "net";
    case TranscriptKind::Note:
      return "note";
  }
  return "note";
}

std::string FormatElapsed(Nanos t) { return ClockTime(t < 0 ? 0 : t); }

void TranscriptWriter::Write(Nanos t, std::string_view sHost, TranscriptKind kind,
                             std::string_view sText) {
  if (!Wanted()) return;
  line_.clear();
  AppendClockTime(line_, t < 0 ? 0 : t);
  line_ += ' ';
  line_ += sHost;
  line_ += ' ';
  line_ += TranscriptKindName(kind);
  line_ += ' ';
  line_ += sText;
  if (sink_) sink_(line_);
  if (bKeep_) lines_.push_back(line_);
}

}  // namespace launchagent::sim
