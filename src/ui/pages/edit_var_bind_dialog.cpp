#include "ui/pages/edit_var_bind_dialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "snmp/snmp_rules.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/pages/form_controls_view.h"
#include "util/string_table.h"

namespace pages {

namespace {
// Room for a typical OID of a private MIB without scrolling.
constexpr int kOidContentsLen = 40;
}  // namespace

CEditVarBindDialog::CEditVarBindDialog(Mode mode, const VarBindText& bind, bool lock_name,
                                       QWidget* parent)
    : QDialog(parent) {
  setWindowTitle(Q(tvkutil::LoadString(mode == Mode::kAdd ? tvkutil::ids::kAddVarBindTitle
                                                          : tvkutil::ids::kEditVarBindTitle)));
  oid_ = new QLineEdit(Q(bind.oid), this);
  oid_->setObjectName(QStringLiteral("varBindOid"));
  oid_->setMaxLength(static_cast<int>(snmp::kMaxOidTextLen));
  app::CMibNames::Instance().CompleteNamesIn(oid_);
  oid_->setMinimumWidth(oid_->fontMetrics().horizontalAdvance(QLatin1Char('0')) * kOidContentsLen);
  data_type_ = ListCombo("varBindDataType", DataTypeNames(DataTypeList::kVarBind), this);
  SelectText(data_type_, bind.type_name);
  value_ = new QLineEdit(Q(bind.value), this);
  value_->setObjectName(QStringLiteral("varBindValue"));
  oid_->setEnabled(!lock_name);
  data_type_->setEnabled(!lock_name);

  auto* grid = new QGridLayout;
  AddRow(grid, 0, QStringLiteral("O&ID:"), oid_);
  AddRow(grid, 1, QStringLiteral("&DataType:"), data_type_);
  AddRow(grid, 2, QStringLiteral("&Value:"), value_);
  grid->setColumnStretch(1, 1);

  auto* buttons = new QDialogButtonBox(this);
  QPushButton* ok = buttons->addButton(QStringLiteral("&OK"), QDialogButtonBox::AcceptRole);
  buttons->addButton(QStringLiteral("&Cancel"), QDialogButtonBox::RejectRole);
  ok->setDefault(true);
  connect(buttons, &QDialogButtonBox::accepted, this, &CEditVarBindDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &CEditVarBindDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(grid);
  layout->addWidget(buttons);
  (lock_name ? value_ : oid_)->setFocus();
}

VarBindText CEditVarBindDialog::Result() const {
  return {oid_->text().toStdWString(), data_type_->currentText().toStdWString(),
          value_->text().toStdWString()};
}

void CEditVarBindDialog::accept() {
  app::CMessageBoxUi ui(this);
  ui.MapField(kFieldVarBindOid, oid_);
  ui.MapField(kFieldVarBindDataType, data_type_);
  ui.MapField(kFieldVarBindValue, value_);
  VarBindText bind = Result();
  if (!ValidateVarBind(bind, ui))
    return;
  // Result() then gives the numbers that were checked.
  oid_->setText(QString::fromStdWString(bind.oid));
  value_->setText(QString::fromStdWString(bind.value));
  QDialog::accept();
}

}  // namespace pages
