#include "platform/backend/form_layout.h"

namespace launchagent::platform {

FormLayout LayoutOf(const ui::Form& form) {
  FormLayout layout;
  int nShown = 0;
  const ui::TextBox* onlyText = nullptr;
  for (auto& c : form.Controls()) {
    if (IsTimer(*c)) continue;
    if (HasHints(*c)) layout.bAbsolute = true;
    ++nShown;
    if (auto* t = dynamic_cast<const ui::TextBox*>(c.get()); t && t->MultiLine()) onlyText = t;
  }
  layout.bFill = nShown == 1 && onlyText;
  return layout;
}

}  // namespace launchagent::platform
