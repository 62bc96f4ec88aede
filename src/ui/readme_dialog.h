// Help > Readme: the readme in the desktop's text viewer, or, when the desktop has none or the
// viewer fails, in CReadmeDialog, a plain read-only text window of our own.
#pragma once

#include <QDialog>
#include <QString>

class QPlainTextEdit;

namespace app {

class CReadmeDialog : public QDialog {
  Q_OBJECT

 public:
  CReadmeDialog(const QString& path, QWidget* parent = nullptr);
  QPlainTextEdit* Text() const { return text_; }

 private:
  QPlainTextEdit* text_;
};

// Asks the desktop to open the file at `path` (xdg-open, else what Qt's desktop services find)
// and shows it in a CReadmeDialog over `parent` when nothing can open it or the viewer reports
// a failure. The dialog is not modal; it is reused while it is open.
void OpenReadme(const QString& path, QWidget* parent);

// Tests: the viewer program to start instead of the desktop's (no fallback to Qt's services);
// the empty text restores the desktop's.
void SetReadmeViewerForTesting(const QString& program);

}  // namespace app
