// Entry fields for numbers: they refuse other characters as they are typed or pasted, with a
// beep for each refused one, instead of complaining after the fact. The character rules live
// in util/numeric_filter so they are tested without a window; these classes only apply them.
#pragma once

#include <QLineEdit>
#include <QWidget>
#include <cstdint>
#include <functional>

class QToolButton;

namespace tvkutil {

// The sound of a refused character (QApplication::beep() by default). Tests put a counter
// here; an empty function restores the default. Returns the function it replaces.
std::function<void()> SetRefusalBeep(std::function<void()> beep);

// A line edit that lets a character in only when IsCharAllowed says so. Every way text gets in
// by the user (typing, Ctrl+V and Shift+Insert, the context menu, the X11 selection, input
// methods) goes through the same test; drops are not taken at all.
class CEditBase : public QLineEdit {
  Q_OBJECT

 public:
  explicit CEditBase(QWidget* parent = nullptr);

  virtual bool IsCharAllowed(wchar_t ch) const = 0;

  // At most this many characters typed or pasted (0: no limit). Unlike QLineEdit's maxLength
  // it does not cut text the program sets, so a spin can show a value longer than a user may
  // type.
  void SetTextLimit(int limit) { limit_ = limit; }
  int TextLimit() const { return limit_; }

 public slots:
  // Hides QLineEdit::paste so that a paste through this class is filtered too.
  void paste();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  // The allowed characters of text, one beep per refused character.
  QString Filter(const QString& text) const;
  // What is left of text after the typed-length limit, given the current selection.
  QString FitToLimit(const QString& text) const;
  void PasteFrom(int clipboard_mode);

  int limit_ = 0;
};

// A whole-number field in one of four bases (see numeric_filter.h); unsigned decimal unless
// told otherwise.
class CNumericEdit : public CEditBase {
  Q_OBJECT

 public:
  explicit CNumericEdit(QWidget* parent = nullptr);

  bool IsCharAllowed(wchar_t ch) const override;

  int Base() const { return base_; }
  void SetBase(int base) { base_ = base; }

  // Shows the value in the field's base; the text is replaced only when it differs, so the
  // cursor stays put when nothing changes.
  void SetValue(std::uint32_t value);
  // The text read in the field's base: a signed field as a 32-bit signed number, the others as
  // unsigned numbers. Text that is not a number reads as 0.
  std::uint32_t GetValue() const;

  // Text from another part of the program is read as an unsigned decimal number and shown in
  // the field's base, so the field only ever shows characters its base allows.
  void SetText(const QString& text);
  // Text shown exactly as given, and read back as it stands until the user edits it.
  void SetRawText(const QString& text);
  // The text as the rest of the program reads it: the value in unsigned decimal, or the raw
  // text as it stands.
  QString ReadText() const;

 private:
  int base_;
  bool raw_text_ = false;
};

// A real-number field: digits, the locale's decimal separator, "E", "e" and "-".
class CRealNumEdit : public CEditBase {
  Q_OBJECT

 public:
  explicit CRealNumEdit(QWidget* parent = nullptr);

  bool IsCharAllowed(wchar_t ch) const override;
  wchar_t DecimalSeparator() const { return separator_; }

 private:
  wchar_t separator_ = L'.';
};

// Up and down buttons beside a numeric field (and the arrow keys inside it): each step moves
// the field's value by the step and keeps it in the range. They never check what is typed:
// the field's owner validates the value when it is taken.
class SpinButtons : public QWidget {
  Q_OBJECT

 public:
  explicit SpinButtons(CNumericEdit* buddy, QWidget* parent = nullptr);

  void SetRange(int minimum, int maximum);
  void SetStep(int step) { step_ = step; }
  int Minimum() const { return min_; }
  int Maximum() const { return max_; }
  int Step() const { return step_; }

  // Moves the value by steps times the step (negative: down).
  void StepBy(int steps);

  CNumericEdit* Buddy() const { return buddy_; }
  QToolButton* UpButton() const { return up_; }
  QToolButton* DownButton() const { return down_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  CNumericEdit* buddy_;
  QToolButton* up_;
  QToolButton* down_;
  int min_ = 0;
  int max_ = 100;
  int step_ = 1;
};

}  // namespace tvkutil
