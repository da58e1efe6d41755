#include "platform/ui/form.h"

namespace launchagent::ui {

void Form::Changed() {
  for (auto& fn : observers_) fn();
}

void Form::SetCaption(std::string s) {
  sCaption_ = std::move(s);
  Changed();
}

void Form::Show() {
  bVisible_ = true;
  Changed();
}

void Form::Hide() {
  bVisible_ = false;
  Changed();
}

Control* Form::Find(const std::string& sName) const {
  for (auto& c : controls_)
    if (c->Name() == sName) return c.get();
  return nullptr;
}

}  // namespace launchagent::ui
