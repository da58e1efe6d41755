#pragma once
// How both backends lay a form out: at the places its controls name when any control
// has a size (else stacked), and a form whose only shown control is one multi-line box
// lets that box fill the window. Timers are never shown.
#include "platform/ui/form.h"

namespace launchagent::platform {

struct FormLayout {
  bool bAbsolute = false;  // at least one control names its place and size
  bool bFill = false;      // one multi-line box alone fills the window
};

FormLayout LayoutOf(const ui::Form& form);
inline bool HasHints(const ui::Control& c) { return c.nWidth > 0 && c.nHeight > 0; }
inline bool IsTimer(const ui::Control& c) { return dynamic_cast<const ui::Timer*>(&c) != nullptr; }

}  // namespace launchagent::platform
