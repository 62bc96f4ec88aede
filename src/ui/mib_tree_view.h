// The MIB tree pane: the modules read and their nodes, found by name or number, with the
// selected node's details; it hands an OID to the pages ("Use OID", double-click) and starts a
// walk from a node. Filled once the modules are read, never before.
#pragma once

#include <QString>
#include <QWidget>
#include <unordered_map>

class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace mib {
struct MibNode;
}

namespace app {

class CMibTreeView : public QWidget {
  Q_OBJECT

 public:
  explicit CMibTreeView(QWidget* parent = nullptr);

  QTreeWidget* Tree() const { return tree_; }
  // Selects the node of a name ("IF-MIB::ifDescr", "ifDescr.3") or an OID, else the next node
  // whose name holds `text`; false when there is none.
  bool Find(const QString& text);
  // The selected node's OID as a request would use it: a scalar with its instance, .0.
  QString SelectedOid() const;

 signals:
  void UseOid(const QString& oid);
  void WalkFrom(const QString& oid);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  // Builds the tree from the modules read; once.
  void Fill();
  void ShowDetails(QTreeWidgetItem* item);

  QLineEdit* search_ = nullptr;
  QTreeWidget* tree_ = nullptr;
  QPlainTextEdit* details_ = nullptr;
  QPushButton* use_ = nullptr;
  QPushButton* walk_ = nullptr;
  bool filled_ = false;
  std::unordered_map<const mib::MibNode*, QTreeWidgetItem*> items_;
};

}  // namespace app
