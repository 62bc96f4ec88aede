#include "ui/readme_dialog.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <QVBoxLayout>

namespace app {

namespace {

QString& ViewerForTesting() {
  static QString program;
  return program;
}

void ShowOwnWindow(const QString& path, QWidget* parent) {
  // One window per main window: asking again brings it to the front.
  auto* shown = parent != nullptr ? parent->findChild<CReadmeDialog*>() : nullptr;
  if (shown == nullptr) {
    shown = new CReadmeDialog(path, parent);
    shown->setAttribute(Qt::WA_DeleteOnClose);
  }
  shown->show();
  shown->raise();
  shown->activateWindow();
}

}  // namespace

CReadmeDialog::CReadmeDialog(const QString& path, QWidget* parent) : QDialog(parent) {
  setWindowTitle(QFileInfo(path).fileName());
  text_ = new QPlainTextEdit(this);
  text_->setObjectName(QStringLiteral("readmeText"));
  text_->setReadOnly(true);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);  // the readme is laid out in fixed columns
  text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  QFile file(path);
  if (file.open(QIODevice::ReadOnly))
    text_->setPlainText(QString::fromUtf8(file.readAll()));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(text_);
  layout->addWidget(buttons);
  const QFontMetrics metrics(text_->font());
  resize(metrics.horizontalAdvance(QLatin1Char('0')) * 100, metrics.lineSpacing() * 36);
}

void OpenReadme(const QString& path, QWidget* parent) {
  const QString testing = ViewerForTesting();
  const QString viewer =
      QStandardPaths::findExecutable(testing.isEmpty() ? QStringLiteral("xdg-open") : testing);
  if (viewer.isEmpty()) {
    // Without xdg-open Qt may still know the desktop's own opener.
    if (!testing.isEmpty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
      ShowOwnWindow(path, parent);
    return;
  }
  // xdg-open reports a file it could not open through its exit code, which the desktop
  // services never pass on. The process is not the window's child: closing the window must
  // not take the viewer with it.
  auto* process = new QProcess;
  process->setProcessChannelMode(QProcess::ForwardedChannels);
  QPointer<QWidget> owner(parent);
  QObject::connect(process, &QProcess::finished, process,
                   [process, owner, path](int code, QProcess::ExitStatus status) {
                     if ((status != QProcess::NormalExit || code != 0) && owner)
                       ShowOwnWindow(path, owner);
                     process->deleteLater();
                   });
  QObject::connect(process, &QProcess::errorOccurred, process,
                   [process, owner, path](QProcess::ProcessError error) {
                     if (error != QProcess::FailedToStart)
                       return;
                     if (owner)
                       ShowOwnWindow(path, owner);
                     process->deleteLater();
                   });
  process->start(viewer, {path});
}

void SetReadmeViewerForTesting(const QString& program) {
  ViewerForTesting() = program;
}

}  // namespace app
