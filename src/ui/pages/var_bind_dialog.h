// CVarBindDialog ("Edit Varbinds"): the trap's varbind list with Add, Edit, Delete and Delete
// All. It changes the page's list in place, so what was done before Cancel stays done; the
// rules it follows live in CVarBindListRules.
#pragma once

#include <QDialog>
#include <QPushButton>
#include <QTableView>
#include <mutex>

#include "ops/var_bind_list_rules.h"

namespace pages {

class CVarBindDialog : public QDialog {
  Q_OBJECT

 public:
  // `lock` is the lock the trap reads the list under.
  CVarBindDialog(snmp::CVarBindList& list, bool version_2c, std::mutex& lock,
                 QWidget* parent = nullptr);
  ~CVarBindDialog() override;

  const CVarBindListRules& Rules() const { return rules_; }

  // The buttons' commands.
  void OnAdd();
  void OnEdit();
  void OnDelete();
  void OnDeleteAll();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  class Model;

  // The rows again after a change; "&Edit", "&Delete" and "De&lete All" by the list's size.
  void Refresh();
  void EnableActions(bool enable);
  // The item the selection stands on: the current one when it is selected, else the first
  // selected; -1 when nothing is selected.
  int SelectedItem() const;
  void SelectOnly(int item);

  CVarBindListRules rules_;
  Model* model_;
  QTableView* view_;
  QPushButton* add_;
  QPushButton* edit_;
  QPushButton* delete_;
  QPushButton* delete_all_;
};

}  // namespace pages
