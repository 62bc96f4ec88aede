#include "app/options_dialog.h"

#include <QDialogButtonBox>
#include <QVBoxLayout>

#include "app/sondara_utility_app.h"

namespace app {

COptionsDialog::COptionsDialog(CSondaraUtilityApp& app, QWidget* parent)
    : QDialog(parent), app_(app) {
  setWindowTitle(QStringLiteral("Options"));
  auto* layout = new QVBoxLayout(this);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
}

}  // namespace app
