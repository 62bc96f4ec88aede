// What the pages show around an operation: message boxes (QMessageBox with the product name as
// title; tests replace the box by a hook so that nothing modal blocks an offscreen run) and the
// wait cursor of a request that runs on the window's thread.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <map>

#include "app/operation_ui.h"

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

// Shows a message box over `parent` (or the hook's call when one is set).
void ShowMessageBox(QWidget* parent, const QString& text, MessageIcon icon);

// IOperationUi over a page: the fields map to the page's controls.
class CMessageBoxUi : public IOperationUi {
 public:
  explicit CMessageBoxUi(QWidget* parent) : parent_(parent) {}
  void MapField(int field, QWidget* control) { fields_[field] = control; }
  void ShowMessage(const std::wstring& text, MessageIcon icon, int field) override;

 private:
  QWidget* parent_;
  std::map<int, QWidget*> fields_;
};

}  // namespace app
