#include "ui/message_box_dialog.h"

#include <QGuiApplication>
#include <QMessageBox>

#include "logs/log_entry_points.h"
#include "settings/sondara_utility_app.h"

namespace app {

namespace {
MessageBoxHook& Hook() {
  static MessageBoxHook hook;
  return hook;
}
QuestionHook& Question() {
  static QuestionHook hook;
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

void SetQuestionHook(QuestionHook hook) {
  Question() = std::move(hook);
}

bool AskYesNoBox(QWidget* parent, const QString& text) {
  if (Question())
    return Question()(text);
  if (Hook()) {
    Hook()(text, MessageIcon::kNone);
    return false;
  }
  QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
  QMessageBox box(QMessageBox::Question,
                  QString::fromStdWString(app::CSondaraUtilityApp::ProductName()), text,
                  QMessageBox::Yes | QMessageBox::No, parent);
  box.setDefaultButton(QMessageBox::No);
  const bool yes = box.exec() == QMessageBox::Yes;
  QGuiApplication::restoreOverrideCursor();
  return yes;
}

void ShowMessageBox(QWidget* parent, const QString& text, MessageIcon icon) {
  // Every box tells of something refused or failed; the log keeps it after the box is gone.
  logs::LogEventLine(text.toStdWString());
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
  Focus(field);
}

bool CMessageBoxUi::AskYesNo(const std::wstring& text, int field) {
  if (AskYesNoBox(parent_, QString::fromStdWString(text)))
    return true;
  Focus(field);
  return false;
}

void CMessageBoxUi::Focus(int field) {
  auto it = fields_.find(field);
  if (it != fields_.end() && it->second)
    it->second->setFocus(Qt::OtherFocusReason);
}

}  // namespace app
