#include "platform/native/form_view.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTextCursor>
#include <QVBoxLayout>
#include <algorithm>
#include <type_traits>

#include "platform/backend/form_layout.h"
#include "platform/native/text_follower.h"

namespace launchagent::native {
namespace {

// Runs fn while its owner still lives.
template <class F>
auto WhileAlive(const std::shared_ptr<bool>& alive, F fn) {
  // The agent's thread alone drops the owner, so a look at the count will do (a lock
  // would cost two atomic operations on every change of every control).
  return [w = std::weak_ptr<bool>(alive), fn](auto&&... args) {
    if (w.expired()) return;
    if constexpr (std::is_invocable_v<F, decltype(args)...>)
      fn(std::forward<decltype(args)>(args)...);
    else
      fn();  // signals may carry arguments the handler does not need
  };
}

}  // namespace

FormView::FormView(ui::Form& form, NativeEventLoop& loop)
    : form_(form), loop_(loop), alive_(std::make_shared<bool>(true)) {
  setAttribute(Qt::WA_QuitOnClose, false);
  const platform::FormLayout layout = platform::LayoutOf(form_);
  bAbsolute_ = layout.bAbsolute;
  bFill_ = layout.bFill;
  if (bFill_ || !bAbsolute_) {
    layout_ = new QVBoxLayout(this);
    if (bFill_) layout_->setContentsMargins(0, 0, 0, 0);
  }
  resize(std::max(form_.nWidth, 120), std::max(form_.nHeight, 80));
  form_.AddObserver(WhileAlive(alive_, [this] { SyncForm(); }));
  SyncForm();
}

FormView::~FormView() { alive_.reset(); }

QWidget* FormView::WidgetOf(const std::string& sControl) const {
  for (auto& [c, w] : widgets_)
    if (c->Name() == sControl) return w;
  return nullptr;
}

void FormView::SyncForm() {
  for (auto& c : form_.Controls())
    if (!widgets_.count(c.get()) && !platform::IsTimer(*c)) Build(*c);
  if (form_.Caption() != sCaption_) {
    sCaption_ = form_.Caption();
    setWindowTitle(Q(sCaption_));
    if (OnCaptionChanged) OnCaptionChanged(sCaption_);
  }
  if (form_.Visible() != isVisible()) setVisible(form_.Visible());
}

QWidget* FormView::ContainerFor(const ui::Control& c) {
  if (!c.sContainer.empty()) {
    auto it = frames_.find(c.sContainer);
    if (it != frames_.end()) return it->second;
  }
  return this;
}

void FormView::Place(ui::Control& c, QWidget* w) {
  QWidget* parent = ContainerFor(c);
  w->setParent(parent);
  if (bFill_ || !bAbsolute_) {
    auto it = frameLayouts_.find(c.sContainer);
    if (parent != this && it != frameLayouts_.end())
      it->second->addWidget(w);
    else
      layout_->addWidget(w);
  } else {
    if (platform::HasHints(c)) {
      w->setGeometry(c.nLeft, c.nTop, c.nWidth, c.nHeight);
    } else {
      w->move(c.nLeft, c.nTop);
      w->resize(w->sizeHint());
    }
    if (parent == this) design_[w] = w->geometry();
    FitToControls();
  }
  w->setEnabled(c.Enabled());
  w->setVisible(c.Visible());
}

void FormView::FitToControls() {
  QRect r(0, 0, form_.nWidth, form_.nHeight);
  for (auto& [c, w] : widgets_)
    if (w->parentWidget() == this) r = r.united(w->geometry());
  designSize_ =
      QSize(std::max(form_.nWidth, r.right() + 1), std::max(form_.nHeight, r.bottom() + 1));
  if (designSize_.width() > width() || designSize_.height() > height())
    resize(std::max(width(), designSize_.width()), std::max(height(), designSize_.height()));
}

void FormView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (!bAbsolute_ || bFill_ || !designSize_.isValid()) return;
  const int dx = std::max(0, width() - designSize_.width());
  const int dy = std::max(0, height() - designSize_.height());
  const int nMidX = designSize_.width() / 2, nMidY = designSize_.height() / 2;
  for (auto& [w, r] : design_) {
    QRect g = r;
    if (r.left() < nMidX && r.right() > nMidX)
      g.setWidth(r.width() + dx);
    else if (r.left() >= nMidX)
      g.moveLeft(r.left() + dx);
    if (r.top() < nMidY && r.bottom() > nMidY)
      g.setHeight(r.height() + dy);
    else if (r.top() >= nMidY)
      g.moveTop(r.top() + dy);
    w->setGeometry(g);
  }
}

void FormView::Build(ui::Control& c) {
  QWidget* w = nullptr;
  auto sync = std::make_shared<std::function<void()>>();
  TextFollower* follower = nullptr;
  if (auto* label = dynamic_cast<ui::Label*>(&c)) {
    auto* q = new QLabel(Q(label->Caption()));
    *sync = [q, label] { q->setText(Q(label->Caption())); };
    w = q;
  } else if (auto* frame = dynamic_cast<ui::Frame*>(&c)) {
    auto* q = new QGroupBox(Q(frame->Caption()));
    frames_[frame->Name()] = q;
    if (!bAbsolute_) frameLayouts_[frame->Name()] = new QVBoxLayout(q);
    *sync = [q, frame] { q->setTitle(Q(frame->Caption())); };
    w = q;
  } else if (auto* text = dynamic_cast<ui::TextBox*>(&c)) {
    if (text->MultiLine()) {
      auto* q = new QPlainTextEdit();
      q->setReadOnly(bFill_);
      // The log grows line by line; an undo history of it would only grow with it.
      if (bFill_) q->setUndoRedoEnabled(false);
      q->setLineWrapMode(QPlainTextEdit::WidgetWidth);
      follower = new TextFollower(*text, *q, *this, bSyncing_);
      followers_.push_back(follower);
      *sync = [this, follower] {
        if (isVisible()) follower->Flush();
      };
      QObject::connect(q, &QPlainTextEdit::textChanged, q,
                       WhileAlive(alive_, [this, q, text, follower] {
                         if (bSyncing_) return;
                         loop_.Deliver([q, text] { text->UserType(S(q->toPlainText())); });
                         follower->UserEdited();
                       }));
      w = q;
    } else {
      auto* q = new QLineEdit();
      *sync = [this, q, text] {
        if (S(q->text()) != text->Text()) q->setText(Q(text->Text()));
        if (bUserEdit_) return;
        if (text->SelLength() > 0)
          q->setSelection(text->SelStart(), text->SelLength());
        else
          q->setCursorPosition(text->SelStart());
      };
      QObject::connect(q, &QLineEdit::textEdited, q,
                       WhileAlive(alive_, [this, text](const QString& s) {
                         if (bSyncing_) return;
                         bUserEdit_ = true;
                         loop_.Deliver([text, s] { text->UserType(S(s)); });
                         bUserEdit_ = false;
                       }));
      w = q;
    }
  } else if (auto* button = dynamic_cast<ui::CommandButton*>(&c)) {
    auto* q = new QPushButton(Q(button->Caption()));
    *sync = [q, button] { q->setText(Q(button->Caption())); };
    QObject::connect(q, &QPushButton::clicked, q, WhileAlive(alive_, [this, button] {
                       loop_.Deliver([button] { button->Click(); });
                     }));
    w = q;
  } else if (auto* check = dynamic_cast<ui::CheckBox*>(&c)) {
    auto* q = new QCheckBox(Q(check->Caption()));
    *sync = [q, check] {
      q->setText(Q(check->Caption()));
      q->setChecked(check->Value() == 1);
    };
    QObject::connect(q, &QCheckBox::clicked, q, WhileAlive(alive_, [this, q, check] {
                       if (bSyncing_) return;
                       loop_.Deliver([check] { check->Click(); });
                       // A disabled model or a handler may have kept the old value.
                       bSyncing_ = true;
                       q->setChecked(check->Value() == 1);
                       bSyncing_ = false;
                     }));
    w = q;
  } else if (auto* list = dynamic_cast<ui::ListBox*>(&c)) {
    auto* q = new QListWidget();
    q->setSelectionMode(list->MultiSelect() ? QAbstractItemView::MultiSelection
                                            : QAbstractItemView::SingleSelection);
    *sync = [q, list] {
      bool bSame = q->count() == list->ListCount();
      for (int i = 0; bSame && i < q->count(); ++i)
        bSame = S(q->item(i)->text()) == list->List(static_cast<Integer>(i));
      if (!bSame) {
        q->clear();
        for (Integer i = 0; i < list->ListCount(); ++i) q->addItem(Q(list->List(i)));
      }
      for (int i = 0; i < q->count(); ++i)
        q->item(i)->setSelected(list->Selected(static_cast<Integer>(i)));
      if (list->ListIndex() >= 0)
        q->setCurrentRow(list->ListIndex(), QItemSelectionModel::NoUpdate);
    };
    QObject::connect(
        q, &QListWidget::itemClicked, q, WhileAlive(alive_, [this, q, list](QListWidgetItem* item) {
          if (bSyncing_) return;
          const int nRow = q->row(item);
          loop_.Deliver(
              [list, nRow] { list->UserClick(static_cast<Integer>(nRow), list->MultiSelect()); });
        }));
    w = q;
  } else {
    return;
  }
  widgets_[&c] = w;
  Place(c, w);
  auto full = [this, sync, w, &c] {
    bSyncing_ = true;
    (*sync)();
    w->setEnabled(c.Enabled());
    w->setVisible(c.Visible());
    bSyncing_ = false;
  };
  full();
  // A multi-line box's text and selection go through its follower, at a bounded rate.
  c.AddChangeObserver(WhileAlive(alive_, [full, follower](const ui::Change& change) {
    if (follower && change.kind != ui::Change::Kind::kState)
      follower->Note(change);
    else
      full();
  }));
}

void FormView::showEvent(QShowEvent* event) {
  // Text boxes were left alone while hidden; they catch up before the first paint.
  for (TextFollower* follower : followers_) follower->Flush();
  QWidget::showEvent(event);
}

void FormView::RequestClose() {
  if (bHideOnClose_ || !form_.OnUserClose) {
    if (bMinimiseOnClose_ && isVisible()) {
      showMinimized();
      return;
    }
    loop_.Deliver([this] { form_.Hide(); });
    return;
  }
  loop_.Deliver([this] { form_.UserClose(); });
}

void FormView::closeEvent(QCloseEvent* event) {
  // The model decides; the window follows the model's visibility.
  event->ignore();
  RequestClose();
}

}  // namespace launchagent::native
