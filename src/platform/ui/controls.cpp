#include "platform/ui/controls.h"

#include <algorithm>

namespace launchagent::ui {

void Control::AddObserver(std::function<void()> fn) {
  observers_.push_back([fn = std::move(fn)](const Change&) { fn(); });
}

void Control::Changed(const Change& change) {
  for (auto& fn : observers_) fn(change);
}

void Control::SetEnabled(bool b) {
  bEnabled_ = b;
  Changed();
}

void Control::SetVisible(bool b) {
  bVisible_ = b;
  Changed();
}

void Label::SetCaption(std::string s) {
  sCaption_ = std::move(s);
  Changed();
}

void Frame::SetCaption(std::string s) {
  sCaption_ = std::move(s);
  Changed();
}

void TextBox::SetText(std::string s) {
  // A log box starts afresh every few dozen lines: its buffer is kept, so the lines
  // after it append without growing it again.
  if (s.size() <= sText_.capacity())
    sText_.assign(s);
  else
    sText_ = std::move(s);
  ++nEpoch_;
  lngSelStart_ = 0;
  lngSelLength_ = 0;
  Changed({Change::Kind::kTextReset, 0});
  if (OnChange) OnChange();
}

void TextBox::Append(std::string_view s, std::string_view sMore) {
  const std::size_t nFrom = sText_.size();
  sText_.append(s);
  sText_.append(sMore);
  lngSelStart_ = 0;
  lngSelLength_ = 0;
  Changed({Change::Kind::kTextAppend, nFrom});
  if (OnChange) OnChange();
}

void TextBox::ClampStart(Long n) {
  const Long len = static_cast<Long>(sText_.size());
  lngSelStart_ = std::clamp<Long>(n, 0, len);
  lngSelLength_ = std::min<Long>(lngSelLength_, len - lngSelStart_);
}

void TextBox::ClampLength(Long n) {
  const Long len = static_cast<Long>(sText_.size());
  lngSelLength_ = std::clamp<Long>(n, 0, len - lngSelStart_);
}

void TextBox::SetSelStart(Long n) {
  ClampStart(n);
  Changed({Change::Kind::kSelection, 0});
}

void TextBox::SetSelLength(Long n) {
  ClampLength(n);
  Changed({Change::Kind::kSelection, 0});
}

void TextBox::Select(Long nStart, Long nLength) {
  ClampStart(nStart);
  ClampLength(nLength);
  Changed({Change::Kind::kSelection, 0});
}

std::string TextBox::SelText() const {
  return sText_.substr(static_cast<size_t>(lngSelStart_), static_cast<size_t>(lngSelLength_));
}

void TextBox::UserType(std::string s) { SetText(std::move(s)); }

void CommandButton::SetCaption(std::string s) {
  sCaption_ = std::move(s);
  Changed();
}

void CommandButton::Click() {
  if (!Enabled()) return;
  if (OnClick) OnClick();
}

void CheckBox::SetValue(Integer n) {
  if (n == nValue_) return;
  nValue_ = n;
  Changed();
  if (OnClick) OnClick();
}

void CheckBox::Click() {
  if (!Enabled()) return;
  SetValue(nValue_ == 1 ? 0 : 1);
}

std::string ListBox::List(Integer nIndex) const {
  if (nIndex < 0 || nIndex >= ListCount()) return "";
  return items_[static_cast<size_t>(nIndex)].sText;
}

void ListBox::AddItem(std::string s) {
  items_.push_back(Item{std::move(s), false});
  Changed();
}

bool ListBox::RemoveItem(Integer nIndex) {
  if (nIndex < 0 || nIndex >= ListCount()) return false;
  items_.erase(items_.begin() + nIndex);
  // The removed entry loses the focus; entries after it move up by one.
  if (nListIndex_ == nIndex) {
    nListIndex_ = -1;
  } else if (nListIndex_ > nIndex) {
    --nListIndex_;
  }
  Changed();
  return true;
}

void ListBox::Clear() {
  items_.clear();
  nListIndex_ = -1;
  Changed();
}

void ListBox::SetListIndex(Integer nIndex) {
  if (nIndex < -1 || nIndex >= ListCount()) return;
  nListIndex_ = nIndex;
  if (!bMultiSelect_) {
    for (size_t i = 0; i < items_.size(); ++i)
      items_[i].bSelected = static_cast<Integer>(i) == nIndex;
  }
  Changed();
}

bool ListBox::Selected(Integer nIndex) const {
  if (nIndex < 0 || nIndex >= ListCount()) return false;
  return items_[static_cast<size_t>(nIndex)].bSelected;
}

void ListBox::SetSelected(Integer nIndex, bool b) {
  if (nIndex < 0 || nIndex >= ListCount()) return;
  if (!bMultiSelect_ && b) {
    for (auto& item : items_) item.bSelected = false;
    nListIndex_ = nIndex;
  }
  items_[static_cast<size_t>(nIndex)].bSelected = b;
  if (!bMultiSelect_ && !b && nListIndex_ == nIndex) nListIndex_ = -1;
  Changed();
}

void ListBox::UserClick(Integer nIndex, bool bAdd) {
  if (!Enabled() || nIndex < 0 || nIndex >= ListCount()) return;
  if (bMultiSelect_ && !bAdd) {
    for (auto& item : items_) item.bSelected = false;
  }
  if (bMultiSelect_ && bAdd) {
    items_[static_cast<size_t>(nIndex)].bSelected = !items_[static_cast<size_t>(nIndex)].bSelected;
  } else {
    items_[static_cast<size_t>(nIndex)].bSelected = true;
  }
  if (!bMultiSelect_) {
    for (size_t i = 0; i < items_.size(); ++i)
      items_[i].bSelected = static_cast<Integer>(i) == nIndex;
  }
  nListIndex_ = nIndex;
  Changed();
  if (OnClick) OnClick();
}

Timer::~Timer() {
  if (driver_) driver_->TimerGone(*this);
}

void Timer::SetInterval(Long lngMs) {
  lngInterval_ = lngMs;
  if (driver_) driver_->TimerChanged(*this);
}

void Timer::SetTimerEnabled(bool b) {
  bTimerEnabled_ = b;
  if (driver_) driver_->TimerChanged(*this);
}

void Timer::AttachDriver(TimerDriver* driver) {
  // The old driver forgets the timer, so it can never tick through a stale pointer.
  if (driver_ && driver_ != driver) driver_->TimerGone(*this);
  driver_ = driver;
  if (driver_) driver_->TimerChanged(*this);
}

}  // namespace launchagent::ui
