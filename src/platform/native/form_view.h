#pragma once
// A Qt window that renders any ui::Form and binds it both ways: model changes update
// the widgets, user actions go back through the models (and so to the agent).
// Controls with layout hints are placed where the hints say (frames become group
// boxes holding their controls); without hints the controls stack vertically. A form
// whose only visible control is a multi-line text box gets that box filling the
// window, read-only. Placed controls follow a larger window: one that crosses the
// middle of the form stretches, one beyond the middle moves with the far edge (so the
// agent's log box fills its window and its button stays in the corner).
#include <QWidget>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/native/event_loop.h"
#include "platform/ui/form.h"

class QGroupBox;
class QVBoxLayout;

namespace launchagent::native {
class TextFollower;
}

namespace launchagent::native {

class FormView : public QWidget {
 public:
  FormView(ui::Form& form, NativeEventLoop& loop);
  ~FormView() override;

  ui::Form& Model() { return form_; }
  // Closing the window only hides it (the agent's own window).
  void SetHideOnClose(bool b) { bHideOnClose_ = b; }
  // Where closing would hide a shown window, minimise it instead: without a tray icon
  // nothing could show it again.
  void SetMinimiseOnClose(bool b) { bMinimiseOnClose_ = b; }
  // The desktop or another program asks the window to close.
  void RequestClose();
  // The widget that renders a control; nullptr for timers and unknown kinds.
  QWidget* WidgetOf(const std::string& sControl) const;
  // Called after the caption changed.
  std::function<void(const std::string&)> OnCaptionChanged;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void SyncForm();
  void Build(ui::Control& c);
  QWidget* ContainerFor(const ui::Control& c);
  void Place(ui::Control& c, QWidget* w);
  void FitToControls();

  ui::Form& form_;
  NativeEventLoop& loop_;
  std::shared_ptr<bool> alive_;
  std::map<ui::Control*, QWidget*> widgets_;
  std::map<std::string, QGroupBox*> frames_;
  std::map<QWidget*, QRect> design_;  // where hints put the form's own controls
  QSize designSize_;
  std::map<std::string, QVBoxLayout*> frameLayouts_;
  std::vector<TextFollower*> followers_;  // owned by their text widgets
  QVBoxLayout* layout_ = nullptr;
  bool bAbsolute_ = false;
  bool bFill_ = false;
  bool bHideOnClose_ = false;
  bool bMinimiseOnClose_ = false;
  bool bSyncing_ = false;
  bool bUserEdit_ = false;
  std::string sCaption_;
};

}  // namespace launchagent::native
