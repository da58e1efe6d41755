#pragma once
// Keeps a QPlainTextEdit showing a multi-line text box model without paying for the
// whole text per change. The agent's log gains many lines per second on a large LAN;
// laying out the whole text for each would cost most of the agent's time. So changes
// are only noted, and the widget catches up at most every kRefreshMs: a grown text by
// inserting its new tail, a replaced one afresh. A hidden window is not touched at all
// until it is shown again.
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <string>

#include "platform/ui/controls.h"

class QPlainTextEdit;
class QWidget;

namespace launchagent::native {

// The system's texts are 8-bit; Latin-1 keeps every byte and every position.
QString Q(const std::string& s);
std::string S(const QString& s);
// A multi-line box shows "\r\n" line ends as one line break; positions shift with them.
std::string ForDisplay(const std::string& s);
int DisplayPosition(const std::string& s, Long lngPos);

class TextFollower : public QObject {
 public:
  static constexpr int kRefreshMs = 250;

  // window: the top-level window; bSyncing is raised while the widget is being set, so
  // the widget's own change signals are not taken for the user's typing.
  TextFollower(ui::TextBox& text, QPlainTextEdit& edit, QWidget& window, bool& bSyncing);
  void Note(const ui::Change& change);
  // Brings the widget up to date now (the window is shown, or the user is about to act).
  void Flush();
  // The user's typing has reached the model: the widget shows it already and keeps the
  // user's caret.
  void UserEdited();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  ui::TextBox& text_;
  QPlainTextEdit& edit_;
  QWidget& window_;
  bool& bSyncing_;
  QTimer timer_;
  std::uint64_t nShownEpoch_ = 0;
  std::size_t nShownLength_ = 0;
  bool bShownOnce_ = false;
  bool bDirty_ = true;
};

}  // namespace launchagent::native
