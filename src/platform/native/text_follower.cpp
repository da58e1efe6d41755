#include "platform/native/text_follower.h"

#include <QEvent>
#include <QPlainTextEdit>
#include <QTextCursor>
#include <QWidget>

namespace launchagent::native {

QString Q(const std::string& s) {
  return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size()));
}

std::string S(const QString& s) { return s.toLatin1().toStdString(); }

std::string ForDisplay(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r') {
      out += '\n';
      if (i + 1 < s.size() && s[i + 1] == '\n') ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

int DisplayPosition(const std::string& s, Long lngPos) {
  int n = 0;
  for (Long i = 0; i < lngPos && i < static_cast<Long>(s.size()); ++i)
    if (!(s[static_cast<size_t>(i)] == '\n' && i > 0 && s[static_cast<size_t>(i) - 1] == '\r')) ++n;
  return n;
}

TextFollower::TextFollower(ui::TextBox& text, QPlainTextEdit& edit, QWidget& window, bool& bSyncing)
    : QObject(&edit), text_(text), edit_(edit), window_(window), bSyncing_(bSyncing) {
  timer_.setSingleShot(true);
  timer_.setInterval(kRefreshMs);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] {
    if (window_.isVisible()) Flush();
  });
  // Input would act on what the widget shows: it must show the model first.
  edit_.installEventFilter(this);
  edit_.viewport()->installEventFilter(this);
}

void TextFollower::Note(const ui::Change& change) {
  if (change.kind == ui::Change::Kind::kState) return;  // the view handles those itself
  bDirty_ = true;
  if (window_.isVisible() && !timer_.isActive()) timer_.start();
}

void TextFollower::Flush() {
  timer_.stop();
  if (!bDirty_) return;
  bDirty_ = false;
  const bool bWasSyncing = bSyncing_;
  bSyncing_ = true;
  const std::string& s = text_.Text();
  if (bShownOnce_ && text_.Epoch() == nShownEpoch_ && s.size() >= nShownLength_) {
    std::size_t nFrom = nShownLength_;
    // A line end split between two refreshes: its "\r" already shows as the break.
    if (nFrom > 0 && nFrom < s.size() && s[nFrom - 1] == '\r' && s[nFrom] == '\n') ++nFrom;
    if (nFrom < s.size()) {
      QTextCursor end(edit_.document());
      end.movePosition(QTextCursor::End);
      end.insertText(Q(ForDisplay(s.substr(nFrom))));
    }
  } else {
    const std::string sShown = ForDisplay(s);
    if (S(edit_.toPlainText()) != sShown) edit_.setPlainText(Q(sShown));
  }
  bShownOnce_ = true;
  nShownEpoch_ = text_.Epoch();
  nShownLength_ = s.size();
  QTextCursor cursor = edit_.textCursor();
  cursor.setPosition(DisplayPosition(s, text_.SelStart()));
  cursor.setPosition(DisplayPosition(s, text_.SelStart() + text_.SelLength()),
                     QTextCursor::KeepAnchor);
  edit_.setTextCursor(cursor);
  edit_.ensureCursorVisible();
  bSyncing_ = bWasSyncing;
}

void TextFollower::UserEdited() {
  // A change handler may have altered the text again; then the next refresh shows it.
  if (ForDisplay(text_.Text()) != S(edit_.toPlainText())) return;
  timer_.stop();
  bDirty_ = false;
  bShownOnce_ = true;
  nShownEpoch_ = text_.Epoch();
  nShownLength_ = text_.Text().size();
}

bool TextFollower::eventFilter(QObject* /*watched*/, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::Drop:
    case QEvent::FocusIn:
      if (bDirty_) Flush();
      break;
    default:
      break;
  }
  return false;
}

}  // namespace launchagent::native
