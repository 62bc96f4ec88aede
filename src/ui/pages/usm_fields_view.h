// CUsmFieldsView: the SNMPv3 user's fields of the Get/Set, walkMIB and sendTrap pages, shown in
// place of the community when version "3" is chosen. Fields the security level does not use are
// disabled; passwords are typed blind.
#pragma once

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>

#include "ops/usm_fields.h"
#include "settings/settings.h"

namespace app {
class CMessageBoxUi;
}

namespace pages {

class CUsmFieldsView : public QGroupBox {
 public:
  // `name` prefixes the controls' object names ("getSet" gives "getSetUsmUser", ...). The
  // captions of the user name and level carry the Alt+letters the page has free.
  // `passwords_outlive_run` false: a line says the passwords will be asked for after a restart.
  struct Captions {
    QString user_name;
    QString level;
  };
  CUsmFieldsView(const QString& name, const Captions& captions, bool passwords_outlive_run,
                 QWidget* parent);

  void Read(app::UsmSettings& usm) const;
  void Write(const app::UsmSettings& usm);
  void MapFields(app::CMessageBoxUi& ui, const UsmFieldIds& ids);
  // The fields Enter starts the page's command from.
  QList<QWidget*> Inputs() const;

 private:
  void UpdateEnabling();

  QLineEdit* user_ = nullptr;
  QComboBox* level_ = nullptr;
  QComboBox* auth_ = nullptr;
  QLineEdit* auth_password_ = nullptr;
  QComboBox* priv_ = nullptr;
  QLineEdit* priv_password_ = nullptr;
  QComboBox* extension_ = nullptr;
  QLineEdit* context_name_ = nullptr;
  QLineEdit* engine_id_ = nullptr;
};

}  // namespace pages
