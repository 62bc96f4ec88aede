// CAboutDlg: product name, version and maker.
#pragma once

#include <QDialog>

namespace app {

class CAboutDlg : public QDialog {
  Q_OBJECT

 public:
  explicit CAboutDlg(QWidget* parent = nullptr);
};

}  // namespace app
