#pragma once
// The state of a form and each of its controls as transcript text, for "show HOST FORM".
#include <string>
#include <vector>

namespace launchagent::ui {
class Form;
}

namespace launchagent::scenario {

// "FORM caption "..." shown|hidden", then one line per control in the form's order:
// captions, texts, check values, list entries with their selection; timers are left out.
std::vector<std::string> FormLines(const ui::Form& form);

}  // namespace launchagent::scenario
