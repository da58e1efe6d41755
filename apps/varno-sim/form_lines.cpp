#include "form_lines.h"

#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::scenario {

namespace {

// Quoted as the scenario language quotes: inner quotes doubled; line breaks shown as
// \n so that one control stays one line.
std::string Quoted(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"')
      out += "\"\"";
    else if (c == '\n')
      out += "\\n";
    else if (c != '\r')
      out += c;
  }
  return out + "\"";
}

std::string State(const ui::Control& c) {
  std::string s;
  if (!c.Visible()) s += " hidden";
  if (!c.Enabled()) s += " disabled";
  return s;
}

}  // namespace

std::vector<std::string> FormLines(const ui::Form& form) {
  std::vector<std::string> lines;
  lines.push_back(form.Name() + " caption " + Quoted(form.Caption()) +
                  (form.Visible() ? " shown" : " hidden"));
  for (const auto& owned : form.Controls()) {
    const ui::Control& c = *owned;
    const std::string sName = form.Name() + "." + c.Name() + " ";
    if (const auto* x = dynamic_cast<const ui::Label*>(&c)) {
      lines.push_back(sName + "label " + Quoted(x->Caption()) + State(c));
    } else if (const auto* x = dynamic_cast<const ui::Frame*>(&c)) {
      lines.push_back(sName + "frame " + Quoted(x->Caption()) + State(c));
    } else if (const auto* x = dynamic_cast<const ui::TextBox*>(&c)) {
      lines.push_back(sName + "text " + Quoted(x->Text()) + State(c));
    } else if (const auto* x = dynamic_cast<const ui::CommandButton*>(&c)) {
      lines.push_back(sName + "button " + Quoted(x->Caption()) + State(c));
    } else if (const auto* x = dynamic_cast<const ui::CheckBox*>(&c)) {
      lines.push_back(sName + "check " + std::to_string(x->Value()) + " " + Quoted(x->Caption()) +
                      State(c));
    } else if (const auto* x = dynamic_cast<const ui::ListBox*>(&c)) {
      lines.push_back(sName + "list " + std::to_string(x->ListCount()) + " entries, index " +
                      std::to_string(x->ListIndex()) + State(c));
      for (Integer i = 0; i < x->ListCount(); ++i)
        lines.push_back(form.Name() + "." + c.Name() + "(" + std::to_string(i) + ") " +
                        Quoted(x->List(i)) + (x->Selected(i) ? " selected" : ""));
    }
  }
  return lines;
}

}  // namespace launchagent::scenario
