#include "app/message_box_dialog.h"

#include <QGuiApplication>
#include <QMessageBox>

#include "app/sondara_utility_app.h"

namespace app {

namespace {
MessageBoxHook& Hook() {
  static MessageBoxHook hook;
  return hook;
}
}  // namespace

CWaitCursor::CWaitCursor() {
  QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

CWaitCursor::~CWaitCursor() {
  QGuiApplication::restoreOverrideCursor();
}

void SetMessageBoxHook(MessageBoxHook hook) {
  Hook() = std::move(hook);
}

void ShowMessageBox(QWidget* parent, const QString& text, MessageIcon icon) {
  if (Hook()) {
    Hook()(text, icon);
    return;
  }
  // The box is read with an ordinary pointer even while an operation shows the wait cursor.
  QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
  QMessageBox box(icon == MessageIcon::kWarning ? QMessageBox::Warning : QMessageBox::NoIcon,
                  QString::fromStdWString(app::CSondaraUtilityApp::ProductName()), text,
                  QMessageBox::Ok, parent);
  box.exec();
  QGuiApplication::restoreOverrideCursor();
}

void CMessageBoxUi::ShowMessage(const std::wstring& text, MessageIcon icon, int field) {
  ShowMessageBox(parent_, QString::fromStdWString(text), icon);
  auto it = fields_.find(field);
  if (it != fields_.end() && it->second)
    it->second->setFocus(Qt::OtherFocusReason);
}

}  // namespace app
