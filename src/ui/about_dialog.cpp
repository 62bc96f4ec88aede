#include "ui/about_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

#include "settings/sondara_utility_app.h"

namespace app {

CAboutDlg::CAboutDlg(QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("About ") +
                 QString::fromStdWString(CSondaraUtilityApp::ProductName()));
  auto* layout = new QVBoxLayout(this);
  auto* name = new QLabel(QString::fromStdWString(CSondaraUtilityApp::FullProductName()), this);
  QFont bold = name->font();
  bold.setBold(true);
  name->setFont(bold);
  name->setObjectName(QStringLiteral("productName"));
  auto* version = new QLabel(
      QStringLiteral("Version %1").arg(QString::fromStdWString(CSondaraUtilityApp::VersionText())),
      this);
  version->setObjectName(QStringLiteral("version"));
  auto* company = new QLabel(QString::fromStdWString(CSondaraUtilityApp::CompanyName()), this);
  company->setObjectName(QStringLiteral("company"));
  for (QLabel* l : {name, version, company}) {
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(l);
  }
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  layout->addWidget(buttons);
}

}  // namespace app
