#include "ui/numeric_edit.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <string>
#include <utility>

#include "util/numeric_filter.h"

namespace tvkutil {

namespace {

std::function<void()>& RefusalBeep() {
  static std::function<void()> beep;
  return beep;
}

void Beep() {
  if (RefusalBeep()) {
    RefusalBeep()();
  } else {
    QApplication::beep();
  }
}

// Whether QLineEdit would insert the key's text rather than treat it as an editing or shortcut
// key; only those keys are filtered, so Backspace, Delete and Ctrl+C keep working.
bool InsertsText(const QKeyEvent* event) {
  const QString text = event->text();
  if (text.isEmpty())
    return false;
  const Qt::KeyboardModifiers mods = event->modifiers() & ~Qt::KeypadModifier;
  if (mods == Qt::ControlModifier || mods == (Qt::ControlModifier | Qt::ShiftModifier))
    return false;
  const QChar c = text.front();
  return c.isPrint() || c.isHighSurrogate() || c.category() == QChar::Other_Format ||
         c.category() == QChar::Other_PrivateUse;
}

}  // namespace

std::function<void()> SetRefusalBeep(std::function<void()> beep) {
  return std::exchange(RefusalBeep(), std::move(beep));
}

CEditBase::CEditBase(QWidget* parent) : QLineEdit(parent) {
  // A drop would bring text in past the filter, so the fields take none.
  setAcceptDrops(false);
}

QString CEditBase::Filter(const QString& text) const {
  std::size_t refused = 0;
  // Whole code points, so a character outside the BMP is one refusal and one beep.
  const std::wstring kept = FilterChars(
      text.toStdWString(), [this](wchar_t ch) { return IsCharAllowed(ch); }, refused);
  for (std::size_t i = 0; i < refused; ++i)
    Beep();
  return QString::fromStdWString(kept);
}

QString CEditBase::FitToLimit(const QString& text) const {
  if (limit_ <= 0)
    return text;
  const qsizetype room = limit_ - (this->text().size() - selectedText().size());
  return room > 0 ? text.left(room) : QString();
}

void CEditBase::paste() {
  PasteFrom(QClipboard::Clipboard);
}

void CEditBase::PasteFrom(int clipboard_mode) {
  if (isReadOnly())
    return;
  const auto mode = static_cast<QClipboard::Mode>(clipboard_mode);
  const QMimeData* mime = QGuiApplication::clipboard()->mimeData(mode);
  if (mime == nullptr || !mime->hasText()) {
    // Only an explicit paste of something that is not text deserves a sound.
    if (mode == QClipboard::Clipboard)
      Beep();
    return;
  }
  const QString kept = FitToLimit(Filter(mime->text()));
  if (!kept.isEmpty())
    insert(kept);
}

void CEditBase::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Paste)) {
    paste();
    event->accept();
    return;
  }
  if (isReadOnly() || !InsertsText(event)) {
    QLineEdit::keyPressEvent(event);
    return;
  }
  event->accept();
  const QString kept = FitToLimit(Filter(event->text()));
  if (kept.isEmpty())
    return;
  insert(kept);
}

void CEditBase::inputMethodEvent(QInputMethodEvent* event) {
  const QString commit = event->commitString();
  if (commit.isEmpty() || isReadOnly()) {
    QLineEdit::inputMethodEvent(event);
    return;
  }
  const QString kept = FitToLimit(Filter(commit));
  if (kept == commit) {
    QLineEdit::inputMethodEvent(event);
  } else {
    QInputMethodEvent filtered(event->preeditString(), event->attributes());
    filtered.setCommitString(kept, event->replacementStart(), event->replacementLength());
    QLineEdit::inputMethodEvent(&filtered);
  }
}

void CEditBase::mouseReleaseEvent(QMouseEvent* event) {
  // The middle button pastes the X11 selection; QLineEdit would insert it unfiltered.
  if (event->button() == Qt::MiddleButton && !isReadOnly() &&
      QGuiApplication::clipboard()->supportsSelection()) {
    deselect();
    PasteFrom(QClipboard::Selection);
    event->accept();
    return;
  }
  QLineEdit::mouseReleaseEvent(event);
}

void CEditBase::contextMenuEvent(QContextMenuEvent* event) {
  QMenu* menu = createStandardContextMenu();
  menu->setAttribute(Qt::WA_DeleteOnClose);
  // The standard Paste entry calls QLineEdit::paste directly; send it through the filter.
  const QString paste_text = QLineEdit::tr("&Paste");
  for (QAction* action : menu->actions()) {
    if (action->objectName() == QLatin1String("edit-paste") ||
        action->text().startsWith(paste_text)) {
      QObject::disconnect(action, nullptr, this, nullptr);
      connect(action, &QAction::triggered, this, &CEditBase::paste);
    }
  }
  menu->popup(event->globalPos());
}

CNumericEdit::CNumericEdit(QWidget* parent) : CEditBase(parent), base_(kBaseUnsignedDecimal) {
  // Once the user has changed it, the text is a number again, whatever the program put there.
  connect(this, &QLineEdit::textEdited, this, [this] { raw_text_ = false; });
}

bool CNumericEdit::IsCharAllowed(wchar_t ch) const {
  return IsNumericCharAllowed(base_, ch);
}

void CNumericEdit::SetValue(std::uint32_t value) {
  const QString shown = QString::fromStdWString(NumericValueToText(base_, value));
  if (text() != shown)
    QLineEdit::setText(shown);
  raw_text_ = false;
}

std::uint32_t CNumericEdit::GetValue() const {
  return NumericTextToValue(base_, text().toStdWString());
}

void CNumericEdit::SetText(const QString& text) {
  SetValue(NumericTextToValue(kBaseUnsignedDecimal, text.toStdWString()));
}

void CNumericEdit::SetRawText(const QString& text) {
  QLineEdit::setText(text);
  raw_text_ = true;
}

QString CNumericEdit::ReadText() const {
  if (raw_text_)
    return text();
  return QString::fromStdWString(NumericValueToText(kBaseUnsignedDecimal, GetValue()));
}

CRealNumEdit::CRealNumEdit(QWidget* parent) : CEditBase(parent) {
  separator_ = LocaleDecimalSeparator();
}

bool CRealNumEdit::IsCharAllowed(wchar_t ch) const {
  return IsRealNumCharAllowed(ch, separator_);
}

SpinButtons::SpinButtons(CNumericEdit* buddy, QWidget* parent)
    : QWidget(parent), buddy_(buddy), up_(new QToolButton(this)), down_(new QToolButton(this)) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  const int half_height = std::max(8, buddy_->sizeHint().height() / 2);
  const struct {
    QToolButton* button;
    Qt::ArrowType arrow;
    const char* name;
    int steps;
  } buttons[] = {{up_, Qt::UpArrow, "Up", 1}, {down_, Qt::DownArrow, "Down", -1}};
  for (const auto& b : buttons) {
    b.button->setArrowType(b.arrow);
    b.button->setAccessibleName(QString::fromLatin1(b.name));
    b.button->setAutoRepeat(true);
    // The field keeps the focus, as with a spin box.
    b.button->setFocusPolicy(Qt::NoFocus);
    // Two halves the height of the field, so the pair stands beside it like a spin box's.
    b.button->setFixedSize(half_height + 6, half_height);
    const int steps = b.steps;
    connect(b.button, &QToolButton::clicked, this, [this, steps] { StepBy(steps); });
    layout->addWidget(b.button);
  }
  buddy_->installEventFilter(this);
}

void SpinButtons::SetRange(int minimum, int maximum) {
  min_ = std::min(minimum, maximum);
  max_ = std::max(minimum, maximum);
}

void SpinButtons::StepBy(int steps) {
  const std::uint32_t raw = buddy_->GetValue();
  const std::int64_t current = buddy_->Base() == kBaseSignedDecimal
                                   ? std::int64_t{static_cast<std::int32_t>(raw)}
                                   : std::int64_t{raw};
  // A typed value outside the range first goes to the nearer end, not past it.
  const std::int64_t next =
      current < min_ || current > max_
          ? std::clamp<std::int64_t>(current, min_, max_)
          : std::clamp<std::int64_t>(current + std::int64_t{steps} * step_, min_, max_);
  buddy_->SetValue(static_cast<std::uint32_t>(static_cast<std::int32_t>(next)));
}

bool SpinButtons::eventFilter(QObject* watched, QEvent* event) {
  if (watched == buddy_ && event->type() == QEvent::KeyPress && isEnabled() &&
      !buddy_->isReadOnly()) {
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() == Qt::NoModifier || key->modifiers() == Qt::KeypadModifier) {
      if (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down) {
        StepBy(key->key() == Qt::Key_Up ? 1 : -1);
        return true;
      }
    }
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace tvkutil
