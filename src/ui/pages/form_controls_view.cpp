#include "ui/pages/form_controls_view.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QStatusBar>

#include "snmp/asn_data_type.h"
#include "snmp/type_names.h"

namespace pages {

namespace {
// An OID history can hold texts of 1408 characters; the box keeps at least this many in view
// and grows with the window. The Get/Set page's two halves side by side, each with its button,
// still fit an 800 pixel wide screen.
constexpr int kComboContentsLen = 12;
constexpr std::uint32_t kReadableTags[] = {
    snmp::kTagInteger32,      snmp::kTagOctetString, snmp::kTagNull,      snmp::kTagOid,
    snmp::kTagIpAddress,      snmp::kTagCounter32,   snmp::kTagGauge32,   snmp::kTagUnsigned32,
    snmp::kTagTimeTicks,      snmp::kTagOpaque,      snmp::kTagCounter64, snmp::kTagNoSuchObject,
    snmp::kTagNoSuchInstance, snmp::kTagEndOfMibView};

// Watches the inputs of one command for Enter.
class CEnterStarts : public QObject {
 public:
  CEnterStarts(QPushButton* button, std::function<bool()> allowed)
      : QObject(button), button_(button), allowed_(std::move(allowed)) {}

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::KeyPress)
      return QObject::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if ((key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter) ||
        (key->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
      return false;
    if (button_->isEnabled() && (!allowed_ || allowed_()))
      button_->click();
    return true;
  }

 private:
  QPushButton* button_;
  std::function<bool()> allowed_;
};

}  // namespace

QStringList DataTypeNames(DataTypeList which) {
  QStringList names;
  for (std::uint32_t tag : kReadableTags) {
    const bool exception = tag >= snmp::kTagNoSuchObject;
    if (which != DataTypeList::kReadable && exception)
      continue;
    if (which == DataTypeList::kSettable && tag == snmp::kTagNull)
      continue;
    names << QString::fromStdWString(snmp::TypeNameOfTag(tag));
  }
  return names;
}

QStringList VersionNames() {
  return {QStringLiteral("1"), QStringLiteral("2c"), QStringLiteral("3")};
}

void ShowWithCaption(QWidget* control, bool show) {
  control->setVisible(show);
  for (QLabel* label : control->parentWidget()->findChildren<QLabel*>()) {
    if (label->buddy() == control)
      label->setVisible(show);
  }
}

QComboBox* HistoryCombo(const char* object_name, QWidget* parent) {
  auto* combo = new QComboBox(parent);
  combo->setObjectName(QString::fromLatin1(object_name));
  combo->setEditable(true);
  // Enter must not add what is typed: only a request that worked adds to a history.
  combo->setInsertPolicy(QComboBox::NoInsert);
  combo->setCompleter(nullptr);
  combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  combo->setMinimumContentsLength(kComboContentsLen);
  combo->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  return combo;
}

QComboBox* ListCombo(const char* object_name, const QStringList& items, QWidget* parent) {
  auto* combo = new QComboBox(parent);
  combo->setObjectName(QString::fromLatin1(object_name));
  combo->addItems(items);
  return combo;
}

void AddRow(QGridLayout* grid, int row, const QString& caption, QWidget* control) {
  auto* label = new QLabel(caption);
  label->setBuddy(control);
  grid->addWidget(label, row, 0);
  grid->addWidget(control, row, 1);
}

void StartOnEnter(QPushButton* button, const QList<QWidget*>& inputs,
                  std::function<bool()> allowed) {
  auto* filter = new CEnterStarts(button, std::move(allowed));
  for (QWidget* input : inputs) {
    input->installEventFilter(filter);
    // The keys of an editable drop-down go to its text field.
    if (auto* combo = qobject_cast<QComboBox*>(input); combo != nullptr && combo->lineEdit())
      combo->lineEdit()->installEventFilter(filter);
  }
}

void FillHistory(QComboBox* combo, const app::History& history, const std::wstring& current) {
  combo->clear();
  for (const std::wstring& entry : history)
    combo->addItem(Q(entry));
  combo->setEditText(Q(current));
}

void SyncHistory(QComboBox* combo, const app::History& history) {
  const QString text = combo->currentText();
  const auto size = static_cast<int>(history.size());
  while (combo->count() < size)
    combo->insertItem(0, Q(history[static_cast<std::size_t>(size - combo->count() - 1)]));
  combo->setEditText(text);
}

void SelectText(QComboBox* combo, const std::wstring& text) {
  combo->setCurrentIndex(text.empty() ? -1 : combo->findText(Q(text), Qt::MatchFixedString));
}

void ShowRunningStatus(QWidget* page, const QString& text) {
  auto* window = qobject_cast<QMainWindow*>(page->window());
  if (window == nullptr)
    return;
  if (text.isEmpty())
    window->statusBar()->clearMessage();
  else
    window->statusBar()->showMessage(text);
}

}  // namespace pages
