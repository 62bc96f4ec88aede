#include "ui/mib_tree_view.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <map>
#include <string>
#include <vector>

#include "mib/mib_set.h"
#include "ui/mib_names.h"

namespace app {

namespace {

constexpr int kNodeRole = Qt::UserRole + 1;

QString Dotted(const std::vector<std::uint32_t>& oid) {
  QString text;
  for (std::uint32_t arc : oid)
    text += QLatin1Char('.') + QString::number(arc);
  return text;
}

const mib::MibNode* NodeOf(const QTreeWidgetItem* item) {
  return item == nullptr
             ? nullptr
             : reinterpret_cast<const mib::MibNode*>(item->data(0, kNodeRole).value<quintptr>());
}

bool IsPrefix(const std::vector<std::uint32_t>& prefix, const std::vector<std::uint32_t>& oid) {
  return prefix.size() < oid.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

}  // namespace

CMibTreeView::CMibTreeView(QWidget* parent) : QWidget(parent) {
  search_ = new QLineEdit(this);
  search_->setObjectName(QStringLiteral("mibSearch"));
  search_->setPlaceholderText(QStringLiteral("Find a name or an OID"));
  search_->setClearButtonEnabled(true);
  tree_ = new QTreeWidget(this);
  tree_->setObjectName(QStringLiteral("mibTree"));
  tree_->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("OID")});
  tree_->setUniformRowHeights(true);
  // Fitting the column to thousands of names would measure every one of them.
  tree_->setColumnWidth(0, tree_->fontMetrics().horizontalAdvance(QString(24, QLatin1Char('x'))));
  details_ = new QPlainTextEdit(this);
  details_->setObjectName(QStringLiteral("mibDetails"));
  details_->setReadOnly(true);
  use_ = new QPushButton(QStringLiteral("&Use OID"), this);
  use_->setObjectName(QStringLiteral("mibUseOid"));
  walk_ = new QPushButton(QStringLiteral("Wal&k from here"), this);
  walk_->setObjectName(QStringLiteral("mibWalkFrom"));
  for (QPushButton* b : {use_, walk_}) {
    b->setAutoDefault(false);
    b->setEnabled(false);
  }

  auto* split = new QSplitter(Qt::Vertical, this);
  split->addWidget(tree_);
  split->addWidget(details_);
  split->setStretchFactor(0, 3);
  split->setStretchFactor(1, 1);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(use_);
  buttons->addWidget(walk_);
  buttons->addStretch();
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(search_);
  layout->addWidget(split, 1);
  layout->addLayout(buttons);

  connect(search_, &QLineEdit::returnPressed, this, [this] { Find(search_->text().trimmed()); });
  connect(tree_, &QTreeWidget::currentItemChanged, this,
          [this](QTreeWidgetItem* item) { ShowDetails(item); });
  connect(tree_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
    if (NodeOf(item) != nullptr)
      emit UseOid(SelectedOid());
  });
  connect(use_, &QPushButton::clicked, this, [this] { emit UseOid(SelectedOid()); });
  connect(walk_, &QPushButton::clicked, this,
          [this] { emit WalkFrom(Dotted(NodeOf(tree_->currentItem())->oid)); });
  connect(&CMibNames::Instance(), &CMibNames::LoadFinished, this, [this] {
    if (isVisible())
      Fill();
  });
}

void CMibTreeView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Fill();
}

void CMibTreeView::Fill() {
  // Until the modules are read, asking for them would wait on the window's thread.
  if (filled_ || !CMibNames::Instance().Loaded())
    return;
  filled_ = true;
  // Each module's nodes under the module, each under the nearest node of its module above it.
  std::map<std::string, QTreeWidgetItem*> modules;
  std::map<std::string, std::vector<const mib::MibNode*>> open;  // per module: the path down
  const mib::CMibSet& set = mib::CMibSet::Builtin();
  set.ForEachNode([&](const mib::MibNode& node) {
    QTreeWidgetItem*& module = modules[node.module];
    if (module == nullptr)
      module = new QTreeWidgetItem(QStringList{QString::fromStdString(node.module)});
    std::vector<const mib::MibNode*>& path = open[node.module];
    while (!path.empty() && !IsPrefix(path.back()->oid, node.oid))
      path.pop_back();
    auto* item = new QTreeWidgetItem(path.empty() ? module : items_.at(path.back()),
                                     {QString::fromStdString(node.name), Dotted(node.oid)});
    item->setData(0, kNodeRole, QVariant::fromValue(reinterpret_cast<quintptr>(&node)));
    items_[&node] = item;
    path.push_back(&node);
  });
  QList<QTreeWidgetItem*> tops;
  for (const auto& [name, item] : modules)
    tops << item;
  tree_->addTopLevelItems(tops);
}

bool CMibTreeView::Find(const QString& text) {
  Fill();
  if (text.isEmpty() || items_.empty())
    return false;
  const mib::CMibSet& set = mib::CMibSet::Builtin();
  mib::Arcs arcs;
  std::string error;
  if (set.ToOid(text.toStdString(), arcs, error)) {
    if (const mib::OidMatch match = set.Match(arcs); match.node != nullptr) {
      if (const auto found = items_.find(match.node); found != items_.end()) {
        tree_->setCurrentItem(found->second);
        tree_->scrollToItem(found->second);
        return true;
      }
    }
  }
  // Part of a name: the next match after the current node, round to the first.
  const QList<QTreeWidgetItem*> hits =
      tree_->findItems(text, Qt::MatchContains | Qt::MatchRecursive, 0);
  QList<QTreeWidgetItem*> nodes;
  for (QTreeWidgetItem* hit : hits) {
    if (NodeOf(hit) != nullptr)
      nodes << hit;
  }
  if (nodes.isEmpty())
    return false;
  const qsizetype at = nodes.indexOf(tree_->currentItem());
  QTreeWidgetItem* next = nodes[(at + 1) % nodes.size()];
  tree_->setCurrentItem(next);
  tree_->scrollToItem(next);
  return true;
}

QString CMibTreeView::SelectedOid() const {
  const mib::MibNode* node = NodeOf(tree_->currentItem());
  if (node == nullptr)
    return {};
  return Dotted(node->oid) + (node->kind == mib::NodeKind::kScalar ? QStringLiteral(".0") : "");
}

void CMibTreeView::ShowDetails(QTreeWidgetItem* item) {
  const mib::MibNode* node = NodeOf(item);
  use_->setEnabled(node != nullptr);
  walk_->setEnabled(node != nullptr);
  if (node == nullptr) {
    details_->clear();
    return;
  }
  QStringList lines;
  const auto add = [&](const char* label, const std::string& value) {
    if (!value.empty())
      lines << QString::fromLatin1(label) + QStringLiteral(": ") + QString::fromStdString(value);
  };
  add("Name", node->module + "::" + node->name);
  add("OID", Dotted(node->oid).toStdString());
  add("Kind", mib::KindName(node->kind));
  add("Syntax",
      node->type_name.empty() ? node->syntax : node->type_name + " (" + node->syntax + ")");
  add("Display hint", node->display_hint);
  std::string values;
  for (const auto& [number, label] : node->enums)
    values += (values.empty() ? "" : ", ") + label + "(" + std::to_string(number) + ")";
  add("Values", values);
  add("Access", node->access);
  add("Status", node->status);
  add("Units", node->units);
  std::string index;
  for (const std::string& part : node->index)
    index += (index.empty() ? "" : ", ") + part;
  add("Index", index);
  add("Augments", node->augments);
  const std::string description = mib::CMibSet::Builtin().Description(*node);
  details_->setPlainText(lines.join(QLatin1Char('\n')) +
                         (description.empty()
                              ? QString()
                              : QStringLiteral("\n\n") + QString::fromStdString(description)));
}

}  // namespace app
