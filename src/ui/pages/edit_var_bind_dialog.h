// CEditVarBindDialog: one binding of the trap's list, added ("Add VarBind") or changed
// ("Edit VarBind"). OK checks the fields and stays open on a refusal.
#pragma once

#include <QComboBox>
#include <QDialog>
#include <QLineEdit>

#include "ops/var_bind_list_rules.h"

namespace pages {

class CEditVarBindDialog : public QDialog {
  Q_OBJECT

 public:
  enum class Mode { kAdd = 0, kEdit = 1 };

  // `lock_name` keeps the OID and the type as they are (snmpTrapOID.0 of a v2c trap).
  CEditVarBindDialog(Mode mode, const VarBindText& bind, bool lock_name, QWidget* parent = nullptr);

  // What the fields hold.
  VarBindText Result() const;

  // The checks of ValidateVarBind; the first refusal is shown and focused.
  void accept() override;

 private:
  QLineEdit* oid_;
  QComboBox* data_type_;
  QLineEdit* value_;
};

}  // namespace pages
