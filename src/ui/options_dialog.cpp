#include "ui/options_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cstdint>

#include "mib/mib_set.h"
#include "net/adapter_table.h"
#include "settings/setting_rules.h"
#include "settings/sondara_utility_app.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/numeric_edit.h"
#include "ui/text_conversion.h"
#include "util/string_table.h"
#include "util/text.h"

namespace app {

namespace {

constexpr int kRequestTimeoutStep = 100;

// Characters a user may type into each field. Retries takes one although 10 is allowed: 10 is
// reached with the spin only. That has always been so and is kept on purpose.
constexpr int kRequestTimeoutTextLimit = 5;
constexpr int kRetriesTextLimit = 1;
constexpr int kWalkBulkRepetitionsTextLimit = 3;
constexpr int kWalkInFlightTextLimit = 1;
constexpr int kMibListRows = 4;

QString ChooseFolder(QWidget* parent) {
  return QFileDialog::getExistingDirectory(parent, QStringLiteral("MIB Folder"));
}

COptionsDialog::FolderChooserFn& FolderChooser() {
  static COptionsDialog::FolderChooserFn fn = ChooseFolder;
  return fn;
}

// A list about `rows` lines tall, so the dialog keeps its size whatever it holds.
void FitRows(QListWidget* list, int rows) {
  list->setFixedHeight(list->fontMetrics().lineSpacing() * rows + 2 * list->frameWidth() + 4);
}

}  // namespace

void COptionsDialog::SetFolderChooser(FolderChooserFn chooser) {
  FolderChooser() = chooser ? std::move(chooser) : FolderChooserFn(ChooseFolder);
}

COptionsDialog::COptionsDialog(CSondaraUtilityApp& app, QWidget* parent)
    : COptionsDialog(app, net::CAdapterTable::Instance(), parent) {}

COptionsDialog::COptionsDialog(CSondaraUtilityApp& app, net::CAdapterTable& adapters,
                               QWidget* parent)
    : QDialog(parent), app_(app), adapters_(adapters) {
  setWindowTitle(tvkutil::UiText(tvkutil::ids::kOptionsTitle));
  const NetworkSettings& net = app_.Network();

  use_ipv6_ = new QCheckBox(QStringLiteral("&Use IPv6"), this);
  use_ipv6_->setChecked(net.use_ipv6 != 0);

  auto* interface_group = new QGroupBox(QStringLiteral("&Network Interface"), this);
  adapter_list_ = new QComboBox(interface_group);
  adapter_list_->setAccessibleName(QStringLiteral("Network Interface"));
  adapter_list_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  auto* interface_layout = new QVBoxLayout(interface_group);
  interface_layout->addWidget(adapter_list_);

  auto* parameters_group = new QGroupBox(QStringLiteral("Communication &Parameters"), this);
  auto* grid = new QGridLayout(parameters_group);
  // No "Connect Timeout": UDP has no connection to wait for. Its stored value is kept as read.
  request_timeout_ = AddNumberField(
      grid, 1, QStringLiteral("&Request Timeout (milliseconds):"), kRequestTimeoutTextLimit,
      kMinRequestTimeoutMs, kMaxRequestTimeoutMs, kRequestTimeoutStep, net.request_timeout_ms);
  retries_ = AddNumberField(grid, 2, QStringLiteral("R&etries:"), kRetriesTextLimit, kMinRetries,
                            kMaxRetries, 1, net.retries);
  walk_bulk_repetitions_ = AddNumberField(
      grid, 3, QStringLiteral("&GetBulk repetitions for walkMIB:"), kWalkBulkRepetitionsTextLimit,
      kMinWalkBulkRepetitions, kMaxWalkBulkRepetitions, 1, net.walk_bulk_repetitions);
  // Auto leaves the number as it was, for when the user turns it off again.
  walk_bulk_auto_ = new QCheckBox(QStringLiteral("&Auto"), parameters_group);
  walk_bulk_auto_->setAccessibleName(QStringLiteral("Automatic GetBulk repetitions"));
  walk_bulk_auto_->setChecked(net.walk_bulk_auto != 0);
  grid->addWidget(walk_bulk_auto_, 3, 2);
  const auto show_auto = [this](bool on) {
    walk_bulk_repetitions_.edit->setEnabled(!on);
    walk_bulk_repetitions_.spin->setEnabled(!on);
  };
  show_auto(walk_bulk_auto_->isChecked());
  connect(walk_bulk_auto_, &QCheckBox::toggled, this, show_auto);
  walk_in_flight_ = AddNumberField(grid, 4, QStringLiteral("Requests in &flight for walkMIB:"),
                                   kWalkInFlightTextLimit, kMinWalkInFlight, kMaxWalkInFlight, 1,
                                   net.walk_in_flight);

  auto* buttons = new QDialogButtonBox(this);
  QPushButton* ok = buttons->addButton(QStringLiteral("&OK"), QDialogButtonBox::AcceptRole);
  buttons->addButton(QStringLiteral("Cance&l"), QDialogButtonBox::RejectRole);
  ok->setDefault(true);
  connect(buttons, &QDialogButtonBox::accepted, this, &COptionsDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &COptionsDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(use_ipv6_);
  layout->addWidget(interface_group);
  layout->addWidget(parameters_group);
  layout->addWidget(BuildMibGroup());
  layout->addWidget(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);

  FillAdapterList(use_ipv6_->isChecked());
  const QString current = QString::fromStdWString(net.adapter.display_name);
  const int index = current.isEmpty() ? -1 : adapter_list_->findText(current, Qt::MatchExactly);
  adapter_list_->setCurrentIndex(std::max(index, 0));

  // Another family has other adapters; the previous choice means nothing there.
  connect(use_ipv6_, &QCheckBox::toggled, this, [this](bool on) {
    FillAdapterList(on);
    adapter_list_->setCurrentIndex(0);
  });
}

QWidget* COptionsDialog::BuildMibGroup() {
  auto* group = new QGroupBox(QStringLiteral("&MIB Folders"), this);
  mib_folders_ = new QListWidget(group);
  mib_folders_->setObjectName(QStringLiteral("mibFolders"));
  mib_folders_->setAccessibleName(QStringLiteral("MIB Folders"));
  mib_folders_->addItems(CMibNames::Folders(app_));
  FitRows(mib_folders_, kMibListRows);
  auto* add = new QPushButton(QStringLiteral("A&dd..."), group);
  add->setObjectName(QStringLiteral("addMibFolder"));
  auto* remove = new QPushButton(QStringLiteral("Re&move"), group);
  remove->setObjectName(QStringLiteral("removeMibFolder"));
  for (QPushButton* b : {add, remove})
    b->setAutoDefault(false);
  connect(add, &QPushButton::clicked, this, [this] {
    const QString folder = FolderChooser()(this);
    if (folder.isEmpty() || !mib_folders_->findItems(folder, Qt::MatchExactly).isEmpty())
      return;
    mib_folders_->addItem(folder);
    mib_folders_->setCurrentRow(mib_folders_->count() - 1);
  });
  connect(remove, &QPushButton::clicked, this, [this] { delete mib_folders_->currentItem(); });

  auto* problems_label = new QLabel(QStringLiteral("What could not be read:"), group);
  mib_problems_ = new QListWidget(group);
  mib_problems_->setObjectName(QStringLiteral("mibProblems"));
  mib_problems_->setSelectionMode(QAbstractItemView::NoSelection);
  mib_problems_->setFocusPolicy(Qt::NoFocus);
  FitRows(mib_problems_, kMibListRows);
  problems_label->setBuddy(mib_problems_);
  FillMibProblems();
  connect(&CMibNames::Instance(), &CMibNames::LoadFinished, this, &COptionsDialog::FillMibProblems);

  auto* buttons = new QVBoxLayout;
  buttons->addWidget(add);
  buttons->addWidget(remove);
  buttons->addStretch();
  auto* grid = new QGridLayout(group);
  grid->addWidget(mib_folders_, 0, 0);
  grid->addLayout(buttons, 0, 1);
  grid->addWidget(problems_label, 1, 0, 1, 2);
  grid->addWidget(mib_problems_, 2, 0, 1, 2);
  return group;
}

void COptionsDialog::FillMibProblems() {
  mib_problems_->clear();
  // Asking the set before it is read would wait for it on the window's thread.
  if (!CMibNames::Instance().Loaded()) {
    mib_problems_->addItem(QStringLiteral("The MIB files are still being read."));
    return;
  }
  const auto& problems = mib::CMibSet::Builtin().Problems();
  for (const mib::MibProblem& problem : problems)
    mib_problems_->addItem(QString::fromStdString(mib::FormatProblem(problem)));
  if (problems.empty())
    mib_problems_->addItem(QStringLiteral("Nothing: every MIB file was read."));
  for (int i = 0; i < mib_problems_->count(); ++i)
    mib_problems_->item(i)->setToolTip(mib_problems_->item(i)->text());
}

COptionsDialog::NumberField COptionsDialog::AddNumberField(QGridLayout* grid, int row,
                                                           const QString& caption, int text_limit,
                                                           int minimum, int maximum, int step,
                                                           int value) {
  NumberField field;
  field.minimum = minimum;
  field.maximum = maximum;
  field.edit = new tvkutil::CNumericEdit;
  field.edit->SetTextLimit(text_limit);
  field.edit->SetValue(static_cast<std::uint32_t>(value));
  field.edit->setFixedWidth(field.edit->fontMetrics().horizontalAdvance(QStringLiteral("000000")) +
                            12);
  field.spin = new tvkutil::SpinButtons(field.edit);
  field.spin->SetRange(minimum, maximum);
  field.spin->SetStep(step);

  auto* label = new QLabel(caption);
  label->setBuddy(field.edit);
  auto* number = new QHBoxLayout;
  number->setSpacing(0);
  number->addWidget(field.edit);
  number->addWidget(field.spin);
  number->addStretch();
  grid->addWidget(label, row, 0);
  grid->addLayout(number, row, 1);
  return field;
}

void COptionsDialog::FillAdapterList(bool use_ipv6) {
  adapter_list_->clear();
  const std::vector<net::_adapterinfo>& records =
      use_ipv6 ? adapters_.IPv6Adapters() : adapters_.IPv4Adapters();
  // Without adapters there is nothing to choose, not even "Default"; OK then takes "Default".
  if (records.empty())
    return;
  QStringList names;
  for (const net::_adapterinfo& record : records)
    names << QString::fromStdWString(record.display_name);
  // A sorted drop-down list orders without regard to case.
  std::stable_sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
    return QString::compare(a, b, Qt::CaseInsensitive) < 0;
  });
  adapter_list_->addItems(names);
  adapter_list_->insertItem(0, tvkutil::UiText(tvkutil::ids::kDefaultAdapter));
}

bool COptionsDialog::TakeNumber(const NumberField& field, int& out_value) {
  // Read as a value, not as text: an empty field is 0 and gets the range message, like any
  // other number outside the range.
  const std::int64_t value = field.edit->GetValue();
  if (value < field.minimum || value > field.maximum) {
    app::ShowMessageBox(
        this,
        QString::fromStdWString(tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kRangeMessage),
                                                 SIZE_MAX, field.minimum, field.maximum)),
        app::MessageIcon::kWarning);
    field.edit->setFocus(Qt::OtherFocusReason);
    field.edit->selectAll();
    return false;
  }
  out_value = static_cast<int>(value);
  return true;
}

void COptionsDialog::accept() {
  int request_timeout_ms = 0;
  int retries = 0;
  int walk_bulk_repetitions = app_.Network().walk_bulk_repetitions;
  int walk_in_flight = 1;
  const bool walk_bulk_auto = walk_bulk_auto_->isChecked();
  // Under Auto the number is not used: it is kept when valid and not argued about otherwise.
  if (const std::int64_t typed = walk_bulk_repetitions_.edit->GetValue();
      walk_bulk_auto && typed >= kMinWalkBulkRepetitions && typed <= kMaxWalkBulkRepetitions)
    walk_bulk_repetitions = static_cast<int>(typed);
  if (!TakeNumber(request_timeout_, request_timeout_ms) || !TakeNumber(retries_, retries) ||
      (!walk_bulk_auto && !TakeNumber(walk_bulk_repetitions_, walk_bulk_repetitions)) ||
      !TakeNumber(walk_in_flight_, walk_in_flight)) {
    return;
  }
  const bool use_ipv6 = use_ipv6_->isChecked();
  NetworkSettings& net = app_.Network();
  net.use_ipv6 = use_ipv6 ? 1 : 0;
  app_.SetAdapter(adapters_.Lookup(adapter_list_->currentText().toStdWString(), use_ipv6));
  net.request_timeout_ms = request_timeout_ms;
  net.retries = retries;
  net.walk_bulk_repetitions = walk_bulk_repetitions;
  net.walk_bulk_auto = walk_bulk_auto ? 1 : 0;
  net.walk_in_flight = walk_in_flight;
  QStringList folders;
  for (int i = 0; i < mib_folders_->count(); ++i)
    folders << mib_folders_->item(i)->text();
  if (folders != CMibNames::Folders(app_)) {
    CMibNames::StoreFolders(app_, folders);
    // The modules of this run stay as they were read; reading them again under the pages'
    // feet is not worth the risk.
    app::ShowMessageBox(this,
                        QStringLiteral("The MIB folders take effect when Sondara Utility next "
                                       "starts."),
                        app::MessageIcon::kNone);
  }
  QDialog::accept();
}

}  // namespace app
