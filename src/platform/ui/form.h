#pragma once
// A form: a top-level window of the agent with its controls. Controls are owned by the
// form and found by name, so a scenario or a renderer can reach any of them.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/ui/controls.h"

namespace launchagent::ui {

class Form {
 public:
  Form(std::string sName, std::string sCaption)
      : sName_(std::move(sName)), sCaption_(std::move(sCaption)) {}
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;
  virtual ~Form() = default;

  const std::string& Name() const { return sName_; }
  const std::string& Caption() const { return sCaption_; }
  void SetCaption(std::string s);
  bool Visible() const { return bVisible_; }
  void Show();
  void Hide();
  int nWidth = 480, nHeight = 320;  // layout hint

  template <class T, class... Args>
  T& Add(Args&&... args) {
    auto p = std::make_unique<T>(std::forward<Args>(args)...);
    T& ref = *p;
    controls_.push_back(std::move(p));
    Changed();
    return ref;
  }
  Control* Find(const std::string& sName) const;
  const std::vector<std::unique_ptr<Control>>& Controls() const { return controls_; }

  // The user closing the window with the frame's close box.
  void UserClose() {
    if (OnUserClose) OnUserClose();
  }
  std::function<void()> OnUserClose;

  void AddObserver(std::function<void()> fn) { observers_.push_back(std::move(fn)); }

 private:
  void Changed();
  std::string sName_;
  std::string sCaption_;
  bool bVisible_ = false;
  std::vector<std::unique_ptr<Control>> controls_;
  std::vector<std::function<void()>> observers_;
};

}  // namespace launchagent::ui
