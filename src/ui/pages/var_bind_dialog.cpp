#include "ui/pages/var_bind_dialog.h"

#include <QAbstractTableModel>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>

#include "ui/message_box_dialog.h"
#include "ui/pages/edit_var_bind_dialog.h"
#include "ui/pages/form_controls_view.h"
#include "util/string_table.h"

namespace pages {

// The rows are made when the view asks for them, from the list itself.
class CVarBindDialog::Model : public QAbstractTableModel {
 public:
  Model(const CVarBindListRules& rules, QObject* parent)
      : QAbstractTableModel(parent), rules_(rules) {}

  int rowCount(const QModelIndex& parent) const override {
    return parent.isValid() ? 0 : rules_.Count();
  }
  int columnCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : 3; }

  QVariant data(const QModelIndex& index, int role) const override {
    if (role != Qt::DisplayRole || !index.isValid())
      return {};
    const VarBindText row = rules_.Item(index.row());
    switch (index.column()) {
      case 0:
        return Q(row.oid);
      case 1:
        return Q(row.type_name);
      default:
        return Q(row.value);
    }
  }

  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
      return {};
    using namespace tvkutil::ids;
    const int ids[] = {kColumnOid, kColumnDataType, kColumnValue};
    return Q(tvkutil::LoadString(ids[section]));
  }

  void Reset() {
    beginResetModel();
    endResetModel();
  }

 private:
  const CVarBindListRules& rules_;
};

CVarBindDialog::CVarBindDialog(snmp::CVarBindList& list, bool version_2c, std::mutex& lock,
                               QWidget* parent)
    : QDialog(parent), rules_(list, version_2c, lock) {
  setWindowTitle(QStringLiteral("Edit Varbinds"));
  auto* group = new QGroupBox(QStringLiteral("&VarBind List"), this);
  model_ = new Model(rules_, this);
  view_ = new QTableView(group);
  view_->setObjectName(QStringLiteral("varBindList"));
  view_->setModel(model_);
  view_->setSelectionBehavior(QAbstractItemView::SelectRows);
  view_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  view_->setWordWrap(false);
  view_->verticalHeader()->hide();
  view_->verticalHeader()->setDefaultSectionSize(view_->fontMetrics().height() + 6);
  view_->horizontalHeader()->setHighlightSections(false);
  view_->setMinimumSize(560, 260);
  // The group's Alt+V reaches the list.
  group->setFocusProxy(view_);
  auto* group_layout = new QVBoxLayout(group);
  group_layout->addWidget(view_);

  const auto button = [this](const QString& caption, const char* name) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    b->setAutoDefault(false);
    return b;
  };
  add_ = button(QStringLiteral("&Add"), "addVarBind");
  edit_ = button(QStringLiteral("&Edit"), "editVarBind");
  delete_ = button(QStringLiteral("&Delete"), "deleteVarBind");
  delete_all_ = button(QStringLiteral("De&lete All"), "deleteAllVarBinds");
  auto* actions = new QVBoxLayout;
  for (QPushButton* b : {add_, edit_, delete_, delete_all_})
    actions->addWidget(b);
  actions->addStretch();

  auto* buttons = new QDialogButtonBox(this);
  QPushButton* ok = buttons->addButton(QStringLiteral("&OK"), QDialogButtonBox::AcceptRole);
  buttons->addButton(QStringLiteral("&Cancel"), QDialogButtonBox::RejectRole);
  ok->setDefault(true);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* body = new QHBoxLayout;
  body->addWidget(group, 1);
  body->addLayout(actions);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(body);
  layout->addWidget(buttons);

  connect(add_, &QPushButton::clicked, this, &CVarBindDialog::OnAdd);
  connect(edit_, &QPushButton::clicked, this, &CVarBindDialog::OnEdit);
  connect(delete_, &QPushButton::clicked, this, &CVarBindDialog::OnDelete);
  connect(delete_all_, &QPushButton::clicked, this, &CVarBindDialog::OnDeleteAll);
  connect(view_, &QTableView::doubleClicked, this, &CVarBindDialog::OnEdit);
  EnableActions(rules_.ActionsEnabled());
}

CVarBindDialog::~CVarBindDialog() = default;

void CVarBindDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  // Each column a third of the list's width, as it opens; the user may resize them.
  const int third = view_->viewport()->width() / 3;
  for (int column = 0; column < 3; ++column)
    view_->setColumnWidth(column, third);
}

void CVarBindDialog::Refresh() {
  model_->Reset();
  EnableActions(rules_.ActionsEnabled());
}

void CVarBindDialog::EnableActions(bool enable) {
  edit_->setEnabled(enable);
  delete_->setEnabled(enable);
  delete_all_->setEnabled(enable);
}

int CVarBindDialog::SelectedItem() const {
  const QModelIndex current = view_->currentIndex();
  if (current.isValid() && view_->selectionModel()->isRowSelected(current.row(), {}))
    return current.row();
  const QModelIndexList rows = view_->selectionModel()->selectedRows();
  return rows.isEmpty() ? -1 : rows.front().row();
}

void CVarBindDialog::SelectOnly(int item) {
  const QModelIndex index = model_->index(item, 0);
  view_->selectionModel()->setCurrentIndex(
      index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  view_->scrollTo(index);
  view_->setFocus();
}

void CVarBindDialog::OnAdd() {
  app::CMessageBoxUi ui(this);
  if (!rules_.MayAdd(ui))
    return;
  CEditVarBindDialog dialog(CEditVarBindDialog::Mode::kAdd, {}, false, this);
  if (dialog.exec() != QDialog::Accepted)
    return;
  rules_.Add(dialog.Result());
  Refresh();
  SelectOnly(rules_.Count() - 1);  // the new binding, in view
}

void CVarBindDialog::OnEdit() {
  const int item = SelectedItem();
  app::CMessageBoxUi ui(this);
  if (item < 0 || !rules_.MayEdit(item, ui))
    return;
  CEditVarBindDialog dialog(CEditVarBindDialog::Mode::kEdit, rules_.Item(item),
                            rules_.LocksNameAndType(item), this);
  if (dialog.exec() != QDialog::Accepted)
    return;
  rules_.Replace(item, dialog.Result());
  Refresh();
  SelectOnly(item);
}

void CVarBindDialog::OnDelete() {
  std::vector<int> selected;
  for (const QModelIndex& row : view_->selectionModel()->selectedRows())
    selected.push_back(row.row());
  if (selected.empty())
    return;
  app::CMessageBoxUi ui(this);
  const int before = rules_.Count();
  const std::optional<int> next = rules_.Delete(std::move(selected), ui);
  if (rules_.Count() == before)
    return;  // refused: the list and its selection stay as they were
  Refresh();
  if (next)
    SelectOnly(*next);
}

void CVarBindDialog::OnDeleteAll() {
  if (rules_.Count() == 0)
    return;
  rules_.DeleteAll();
  model_->Reset();
  // Off even when a v2c list keeps its two fixed entries: nothing more is there to delete.
  EnableActions(false);
}

}  // namespace pages
