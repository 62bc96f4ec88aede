// What the pages show around an operation: message boxes (QMessageBox with the product name as
// title; tests replace the box by a hook so that nothing modal blocks an offscreen run) and the
// wait cursor of a request that runs on the window's thread.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <map>

#include "ops/operation_ui.h"

namespace app {

// The wait cursor for as long as the object lives.
class CWaitCursor {
 public:
  CWaitCursor();
  ~CWaitCursor();
  CWaitCursor(const CWaitCursor&) = delete;
  CWaitCursor& operator=(const CWaitCursor&) = delete;
};

// Receives what would have been shown instead of a modal box (tests).
using MessageBoxHook = std::function<void(const QString& text, MessageIcon icon)>;
void SetMessageBoxHook(MessageBoxHook hook);

// Answers what would have been asked instead of a modal Yes/No box (tests): true for Yes.
using QuestionHook = std::function<bool(const QString& text)>;
void SetQuestionHook(QuestionHook hook);

// Shows a message box over `parent` (or the hook's call when one is set), and writes its text
// to the event log.
void ShowMessageBox(QWidget* parent, const QString& text, MessageIcon icon);
// A Yes/No box over `parent`, No the default: true for Yes. With no question hook but a message
// box hook set, the message hook sees the text and the answer is No, so a test never blocks.
bool AskYesNoBox(QWidget* parent, const QString& text);

// IOperationUi over a page: the fields map to the page's controls.
class CMessageBoxUi : public IOperationUi {
 public:
  explicit CMessageBoxUi(QWidget* parent) : parent_(parent) {}
  void MapField(int field, QWidget* control) { fields_[field] = control; }
  void ShowMessage(const std::wstring& text, MessageIcon icon, int field) override;
  bool AskYesNo(const std::wstring& text, int field) override;

 private:
  void Focus(int field);

  QWidget* parent_;
  std::map<int, QWidget*> fields_;
};

}  // namespace app
