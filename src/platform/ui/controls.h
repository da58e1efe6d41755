#pragma once
// Models of the controls on the agent's forms. The system's logic reads and writes
// these models; a backend renders them (Qt widgets natively, nothing in the simulator)
// and feeds user actions back through the same models. Each model tells its observers
// after every change, and what the change touched, so a renderer can follow at the cost
// of the change rather than of the whole model.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

namespace launchagent::ui {

// What one change of a control touched.
struct Change {
  enum class Kind : std::uint8_t {
    kState,       // anything else (caption, value, entries, enabled, visible): re-read
    kTextReset,   // a text box's whole text was replaced
    kTextAppend,  // a text box's text grew at its end; bytes before nFrom are as they were
    kSelection,   // only a text box's selection moved
  };
  Kind kind = Kind::kState;
  std::size_t nFrom = 0;  // kTextAppend: where the new tail starts
};

class Control {
 public:
  explicit Control(std::string sName) : sName_(std::move(sName)) {}
  virtual ~Control() = default;
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string& Name() const { return sName_; }
  bool Enabled() const { return bEnabled_; }
  void SetEnabled(bool b);
  bool Visible() const { return bVisible_; }
  void SetVisible(bool b);

  // Layout hint in the form's own grid units (twips-free, backend scales).
  int nLeft = 0, nTop = 0, nWidth = 0, nHeight = 0;
  // Name of the frame that holds this control, "" for the form itself.
  std::string sContainer;

  // Renderers subscribe here; called after every change of the model, in order.
  void AddObserver(std::function<void()> fn);
  void AddChangeObserver(std::function<void(const Change&)> fn) {
    observers_.push_back(std::move(fn));
  }

 protected:
  void Changed(const Change& change = {});

 private:
  std::string sName_;
  bool bEnabled_ = true;
  bool bVisible_ = true;
  std::vector<std::function<void(const Change&)>> observers_;
};

class Label : public Control {
 public:
  Label(std::string sName, std::string sCaption)
      : Control(std::move(sName)), sCaption_(std::move(sCaption)) {}
  const std::string& Caption() const { return sCaption_; }
  void SetCaption(std::string s);

 private:
  std::string sCaption_;
};

class Frame : public Control {
 public:
  Frame(std::string sName, std::string sCaption)
      : Control(std::move(sName)), sCaption_(std::move(sCaption)) {}
  const std::string& Caption() const { return sCaption_; }
  void SetCaption(std::string s);

 private:
  std::string sCaption_;
};

// A text box. A log grows by Append, which costs the length of the line, not of the
// text. How a view follows it cheaply:
// - Every change reaches change observers as kTextReset (SetText, UserType), kTextAppend
//   with nFrom (Append) or kSelection (SetSelStart, SetSelLength, Select); enabling and
//   showing come as kState.
// - Epoch() counts the resets. A view that remembers the epoch and the text length it
//   last showed may skip notifications (to refresh at a bounded rate, or not at all
//   while hidden) and catch up later: with the same epoch, the shown text is still a
//   prefix of Text() and only Text().substr(length) is new; with another epoch it shows
//   the whole text afresh.
// - Text bytes are never changed in place except by a reset.
class TextBox : public Control {
 public:
  explicit TextBox(std::string sName, std::string sText = "", bool bMultiLine = false)
      : Control(std::move(sName)), sText_(std::move(sText)), bMultiLine_(bMultiLine) {}
  const std::string& Text() const { return sText_; }
  // Setting the text puts the caret at the start, as the desktop text box does.
  void SetText(std::string s);
  // The same as SetText(Text() + s + sMore), without copying the text.
  void Append(std::string_view s, std::string_view sMore = {});
  std::uint64_t Epoch() const { return nEpoch_; }
  bool MultiLine() const { return bMultiLine_; }
  Long SelStart() const { return lngSelStart_; }
  Long SelLength() const { return lngSelLength_; }
  // Selection is clamped to the text; a selection makes the box scroll it into view.
  void SetSelStart(Long n);
  void SetSelLength(Long n);
  // SetSelStart(nStart) then SetSelLength(nLength), told to observers once.
  void Select(Long nStart, Long nLength);
  std::string SelText() const;
  // A user typing: replaces the text and fires the change handler.
  void UserType(std::string s);
  std::function<void()> OnChange;

 private:
  void ClampStart(Long n);
  void ClampLength(Long n);

  std::string sText_;
  bool bMultiLine_;
  std::uint64_t nEpoch_ = 0;
  Long lngSelStart_ = 0;
  Long lngSelLength_ = 0;
};

class CommandButton : public Control {
 public:
  CommandButton(std::string sName, std::string sCaption)
      : Control(std::move(sName)), sCaption_(std::move(sCaption)) {}
  const std::string& Caption() const { return sCaption_; }
  void SetCaption(std::string s);
  // A click by the user (or a scenario); ignored while the button is disabled.
  void Click();
  std::function<void()> OnClick;

 private:
  std::string sCaption_;
};

class CheckBox : public Control {
 public:
  CheckBox(std::string sName, std::string sCaption)
      : Control(std::move(sName)), sCaption_(std::move(sCaption)) {}
  const std::string& Caption() const { return sCaption_; }
  // 0 unchecked, 1 checked; other values count as unchecked where the system reads them.
  Integer Value() const { return nValue_; }
  // Setting a different value fires the click handler, as the desktop check box does.
  void SetValue(Integer n);
  // A user click toggles between 0 and 1 (and so fires the handler).
  void Click();
  std::function<void()> OnClick;

 private:
  std::string sCaption_;
  Integer nValue_ = 0;
};

class ListBox : public Control {
 public:
  ListBox(std::string sName, bool bMultiSelect = false)
      : Control(std::move(sName)), bMultiSelect_(bMultiSelect) {}
  bool MultiSelect() const { return bMultiSelect_; }
  Integer ListCount() const { return static_cast<Integer>(items_.size()); }
  std::string List(Integer nIndex) const;  // "" outside the list
  void AddItem(std::string s);
  bool RemoveItem(Integer nIndex);
  void Clear();
  // ListIndex: the focused entry, -1 for none.
  Integer ListIndex() const { return nListIndex_; }
  void SetListIndex(Integer nIndex);
  bool Selected(Integer nIndex) const;
  void SetSelected(Integer nIndex, bool b);
  // Text of the entry at ListIndex, "" for none.
  std::string Text() const { return List(nListIndex_); }
  // A user click on entry nIndex: selects it (adding to the selection in a multi-select
  // list when bAdd) and fires the click handler.
  void UserClick(Integer nIndex, bool bAdd = false);
  std::function<void()> OnClick;

 private:
  struct Item {
    std::string sText;
    bool bSelected = false;
  };
  std::vector<Item> items_;
  bool bMultiSelect_;
  Integer nListIndex_ = -1;
};

// A form's timer. The backend that the form is attached to drives it: enabling it, or
// changing its interval while enabled, restarts the interval.
class Timer;
class TimerDriver {
 public:
  virtual ~TimerDriver() = default;
  virtual void TimerChanged(Timer& timer) = 0;
  virtual void TimerGone(Timer& timer) = 0;
};

class Timer : public Control {
 public:
  Timer(std::string sName, Long lngIntervalMs, bool bEnabled)
      : Control(std::move(sName)), lngInterval_(lngIntervalMs), bTimerEnabled_(bEnabled) {}
  ~Timer() override;
  Long Interval() const { return lngInterval_; }
  void SetInterval(Long lngMs);
  bool TimerEnabled() const { return bTimerEnabled_; }
  void SetTimerEnabled(bool b);
  std::function<void()> OnTick;
  // Backend side.
  void AttachDriver(TimerDriver* driver);
  void Fire() {
    if (OnTick) OnTick();
  }

 private:
  Long lngInterval_;
  bool bTimerEnabled_;
  TimerDriver* driver_ = nullptr;
};

}  // namespace launchagent::ui
