#include "ui/pages/walk_mib_page.h"

#include <QClipboard>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <filesystem>

#include "logs/log_entry_points.h"
#include "ops/operation_common.h"
#include "ops/results_file.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/numeric_edit.h"
#include "ui/pages/form_controls_view.h"
#include "ui/pages/usm_fields_view.h"
#include "ui/request_runner.h"
#include "ui/results_table_view.h"
#include "ui/save_file_dialog.h"
#include "ui/text_conversion.h"
#include "util/app_folders.h"
#include "util/file_replace.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

namespace ids = tvkutil::ids;

constexpr int kMaxHostLen = 128;
constexpr int kPortTextLimit = 5;
constexpr int kTickMs = 250;
constexpr int kColumns = 4;  // kept in the profile; the Name column is not
constexpr int kOidColumn = 1;
constexpr int kNameColumn = 4;
constexpr wchar_t kSection[] = L"walkMIB";

}  // namespace

CWalkMIBPropertyPage::CWalkMIBPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent)
    : CPropertyPage(app::kPageWalkMib, tvkutil::UiText(ids::kPageWalkMib), parent),
      app_(app),
      operation_(app.WalkMib()) {
  BuildControls();
  WriteControls();
}

CWalkMIBPropertyPage::~CWalkMIBPropertyPage() {
  request_->Finish();
  operation_.StopWalk();
  results_->StoreWidths(app_, kSection, kColumns);
  StoreToApp();
  // The table reads the operation's results, which go before the children would.
  delete results_;
  results_ = nullptr;
}

void CWalkMIBPropertyPage::BuildControls() {
  auto* settings = new QGroupBox(QStringLiteral("wa&lkMIB Settings"), this);
  auto* grid = new QGridLayout(settings);
  host_ = new QLineEdit(settings);
  host_->setObjectName(QStringLiteral("walkHost"));
  host_->setMaxLength(kMaxHostLen);
  version_ = ListCombo("walkVersion", VersionNames(), settings);
  port_ = new tvkutil::CNumericEdit(settings);
  port_->setObjectName(QStringLiteral("walkPort"));
  port_->SetTextLimit(kPortTextLimit);
  port_->setFixedWidth(port_->fontMetrics().horizontalAdvance(QStringLiteral("0000000")) + 12);
  community_ = HistoryCombo("walkCommunity", settings);
  start_oid_ = HistoryCombo("walkStartOid", settings);
  app::CMibNames::Instance().CompleteNamesIn(start_oid_);
  start_oid_->addItem(QStringLiteral(".1.3.6.1"));
  get_sys_object_id_ = new QPushButton(QStringLiteral("&Get SysObjectID"), settings);
  get_sys_object_id_->setObjectName(QStringLiteral("getSysObjectIdButton"));
  walk_ = new QPushButton(tvkutil::UiText(ids::kBeginWalk), settings);
  walk_->setObjectName(QStringLiteral("walkButton"));

  AddRow(grid, 0, QStringLiteral("&IP/Host:"), host_);
  auto* target = new QHBoxLayout;
  const auto add_captioned = [target](const QString& caption, QWidget* control) {
    auto* label = new QLabel(caption);
    label->setBuddy(control);
    target->addSpacing(16);
    target->addWidget(label);
    target->addWidget(control);
  };
  add_captioned(QStringLiteral("SNMP Ve&rsion:"), version_);
  add_captioned(QStringLiteral("&Port:"), port_);
  target->addStretch();
  grid->addLayout(target, 0, 2);
  AddRow(grid, 1, QStringLiteral("&Community:"), community_);
  grid->addWidget(get_sys_object_id_, 1, 2, Qt::AlignLeft);
  AddRow(grid, 2, QStringLiteral("&Start OID:"), start_oid_);
  grid->addWidget(walk_, 2, 2, Qt::AlignLeft);
  grid->setColumnStretch(1, 1);
  grid->setColumnStretch(2, 1);

  // Both buttons as wide as the wider caption, so "St&op" does not make the form jump.
  const int button_width =
      std::max({get_sys_object_id_->sizeHint().width(), walk_->sizeHint().width()});
  for (QPushButton* button : {get_sys_object_id_, walk_}) {
    button->setFixedWidth(button_width);
    // Outside a dialog Enter must not press a button behind the user's back.
    button->setAutoDefault(false);
    button->setDefault(false);
  }

  results_ = app::CResultsTableView::Over(
      operation_.Results(),
      [](const COidInfo& info, std::size_t row, int column) {
        switch (column) {
          case 0:
            return QString::number(row + 1);
          case kOidColumn:
            return Q(info.oid);
          case 2:
            return Q(snmp::TypeNameOfTag(info.type));
          case kNameColumn:
            // Named now if the walk ran while names were switched off.
            return Q(info.name.empty() ? app::CMibNames::Instance().NameOf(info.oid) : info.name);
          default:
            // The number alone says little to a person; the file keeps it as it came.
            if (!info.shown_value.empty() && app::CMibNames::Instance().Shown())
              return Q(info.shown_value);
            if (info.type == snmp::kTagTimeTicks)
              return Q(snmp::TimeTicksText(tvkutil::WcsToU32(info.value)));
            return Q(info.value);
        }
      },
      {tvkutil::UiText(ids::kColumnNumber), tvkutil::UiText(ids::kColumnOid),
       tvkutil::UiText(ids::kColumnDataType), tvkutil::UiText(ids::kColumnValue),
       QStringLiteral("Name")},
      this);
  results_->setObjectName(QStringLiteral("walkResults"));
  results_->RestoreWidths(app_, kSection, kColumns);
  // Last in the model, so the widths kept for the other columns keep their keys; seen after
  // the OID.
  results_->horizontalHeader()->moveSection(kNameColumn, 2);
  results_->FitToContent(kNameColumn);
  // A cut OID or name keeps its instance, the part that tells the rows apart.
  results_->setTextElideMode(Qt::ElideMiddle);
  ShowNames(app::CMibNames::Instance().Shown());
  connect(&app::CMibNames::Instance(), &app::CMibNames::ShownChanged, this,
          &CWalkMIBPropertyPage::ShowNames);

  save_ = new QPushButton(QStringLiteral("S&ave Results"), this);
  save_->setObjectName(QStringLiteral("saveResultsButton"));
  save_->setAutoDefault(false);
  save_->setEnabled(false);
  progress_line_ = new QLabel(this);
  progress_line_->setObjectName(QStringLiteral("walkProgressLine"));
  // A long line must not widen the page beyond the screen.
  progress_line_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  auto* save_row = new QHBoxLayout;
  save_row->addWidget(progress_line_, 1);
  save_row->addWidget(save_);

  usm_ = new CUsmFieldsView(QStringLiteral("walk"),
                            {QStringLiteral("User &name:"), QStringLiteral("Se&curity level:")},
                            app_.PasswordsOutliveRun(), this);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(settings);
  layout->addWidget(usm_);
  layout->addWidget(results_, 1);
  layout->addLayout(save_row);

  // Enter starts a walk; while one runs it does nothing (the button then reads "St&op").
  StartOnEnter(walk_,
               QList<QWidget*>{host_, version_, port_, community_, start_oid_} + usm_->Inputs(),
               [this] { return idle_; });
  connect(version_, &QComboBox::currentIndexChanged, this, [this] {
    const bool v3 =
        snmp::VersionIndex(version_->currentText().toStdWString()) == snmp::kSnmpVersion3;
    usm_->setVisible(v3);
    ShowWithCaption(community_, !v3);
  });
  request_ = new app::CRequestRunner(this, {get_sys_object_id_, walk_});

  timer_ = new QTimer(this);
  timer_->setInterval(kTickMs);
  connect(timer_, &QTimer::timeout, this, &CWalkMIBPropertyPage::OnTimer);
  connect(walk_, &QPushButton::clicked, this, &CWalkMIBPropertyPage::OnBeginWalk);
  connect(get_sys_object_id_, &QPushButton::clicked, this, &CWalkMIBPropertyPage::OnGetSysObjectId);
  connect(save_, &QPushButton::clicked, this, &CWalkMIBPropertyPage::OnSaveResults);
  connect(results_, &QAbstractItemView::doubleClicked, this, &CWalkMIBPropertyPage::OnCopyOid);
}

void CWalkMIBPropertyPage::ReadControls() {
  WalkMibForm& form = operation_.Form();
  form.host = host_->text().toStdWString();
  form.version = version_->currentText().toStdWString();
  form.port_text = port_->text().toStdWString();
  form.community = community_->currentText().toStdWString();
  form.start_oid = start_oid_->currentText().toStdWString();
  usm_->Read(form.usm);
}

void CWalkMIBPropertyPage::WriteControls() {
  const WalkMibForm& form = operation_.Form();
  host_->setText(Q(form.host));
  SelectText(version_, form.version);
  port_->SetText(Q(form.port_text));
  FillHistory(community_, form.communities, form.community);
  start_oid_->setEditText(Q(form.start_oid));
  usm_->Write(form.usm);
  // The version's own fields, also when the stored version was selected without a signal.
  usm_->setVisible(operation_.V3());
  ShowWithCaption(community_, !operation_.V3());
}

void CWalkMIBPropertyPage::EnableInputs(bool enabled) {
  for (QWidget* w : {static_cast<QWidget*>(host_), static_cast<QWidget*>(version_),
                     static_cast<QWidget*>(port_), static_cast<QWidget*>(community_),
                     static_cast<QWidget*>(get_sys_object_id_), static_cast<QWidget*>(usm_)}) {
    w->setEnabled(enabled);
  }
}

void CWalkMIBPropertyPage::MapFields(app::CMessageBoxUi& ui) {
  ui.MapField(kWalkFieldHost, host_);
  ui.MapField(kWalkFieldVersion, version_);
  ui.MapField(kWalkFieldPort, port_);
  ui.MapField(kWalkFieldCommunity, community_);
  ui.MapField(kWalkFieldStartOid, start_oid_);
  usm_->MapFields(ui, {kWalkFieldUsmUser, kWalkFieldUsmAuthPassword, kWalkFieldUsmPrivPassword,
                       kWalkFieldUsmContextEngineId});
}

void CWalkMIBPropertyPage::OnBeginWalk() {
  if (!idle_) {
    // "St&op": the timer sees the worker gone at its next tick and brings the page back.
    operation_.StopWalk();
    return;
  }
  if (request_->Running())
    return;
  ReadControls();
  app::CMessageBoxUi ui(this);
  MapFields(ui);
  WalkOptions options;
  options.udp = UdpSettingsFrom(app_.Network());
  options.bulk_repetitions =
      app_.Network().walk_bulk_auto != 0 ? pages::kBulkAuto : app_.Network().walk_bulk_repetitions;
  options.in_flight = app_.Network().walk_in_flight;
  options.names = app::CMibNames::Instance().Shown();
  if (!operation_.BeginWalk(options, ui))
    return;
  idle_ = false;
  EnableInputs(false);
  save_->setEnabled(false);
  walk_->setText(tvkutil::UiText(ids::kStop));
  progress_line_->setText(Q(WalkProgressLine({})));
  ShowRunningStatus(
      this,
      QStringLiteral("walkMIB: walking %1 from %2").arg(host_->text(), start_oid_->currentText()));
  timer_->start();
}

void CWalkMIBPropertyPage::OnTimer() {
  // Finished is read before the rows are counted, so the last tick shows every object.
  const bool finished = operation_.WalkFinished();
  results_->Poll();
  progress_line_->setText(Q(WalkProgressLine(operation_.Progress())));
  if (!finished) {
    walk_->setText(tvkutil::UiText(ids::kStop));
    return;
  }
  ShowRunningStatus(this, {});
  timer_->stop();
  operation_.EndWalk();
  idle_ = true;
  walk_->setText(tvkutil::UiText(ids::kBeginWalk));
  EnableInputs(true);
  save_->setEnabled(operation_.Results().Count() > 0);
  SyncHistory(community_, operation_.Form().communities);
}

void CWalkMIBPropertyPage::OnGetSysObjectId() {
  if (request_->Running() || !idle_)
    return;
  ReadControls();
  app::CMessageBoxUi ui(this);
  MapFields(ui);
  const std::optional<SysObjectIdRequest> request = operation_.PrepareSysObjectId(ui);
  if (!request)
    return;
  request_->Start(
      [this, request = *request, settings = UdpSettingsFrom(app_.Network())](std::stop_token stop) {
        return operation_.RequestSysObjectId(request, settings, stop);
      },
      [this, host = request->host](const std::optional<std::wstring>& oid) {
        if (!oid)
          return;
        logs::LogEvent(tvkutil::ids::kRequestDone, std::wstring(L"Get SysObjectID"), host);
        // What was typed meanwhile stays; the value read is the new start OID.
        ReadControls();
        operation_.Form().start_oid = *oid;
        WriteControls();
        operation_.StoreTo(app_.WalkMib());
      });
}

void CWalkMIBPropertyPage::OnSaveResults() {
  const QString path = app::AskSavePath(this, app_, kSection, tvkutil::Folders().walk_mib_folder,
                                        ids::kCsvFilter, ids::kCsvExtension);
  if (path.isEmpty())
    return;
  const std::error_code failed =
      WriteResultsFile(std::filesystem::path(path.toStdString()),
                       operation_.ResultsFileText(app::CMibNames::Instance().Shown()));
  if (!failed) {
    logs::LogEvent(ids::kFileSaved, path.toStdWString());
    return;
  }
  app::ShowMessageBox(
      this,
      QString::fromStdWString(tvkutil::WithReason(
          tvkutil::FormatN(tvkutil::LoadString(ids::kUnableToSave), SIZE_MAX, path.toStdWString()),
          failed)),
      app::MessageIcon::kWarning);
}

void CWalkMIBPropertyPage::ShowNames(bool shown) {
  results_->setColumnHidden(kNameColumn, !shown);
  // Beside the names, a long OID (a process's, an address's) is cut short rather than
  // pushing the names and values out of sight; the user can still widen it.
  results_->LimitFit(kOidColumn, shown ? 25 : 0);
  results_->LimitFit(kNameColumn, shown ? 35 : 0);
}

void CWalkMIBPropertyPage::OnCopyOid() {
  const QModelIndex current = results_->currentIndex();
  if (!current.isValid())
    return;
  std::wstring oid;
  const bool found = operation_.Results().With(static_cast<std::size_t>(current.row()),
                                               [&](const COidInfo& info) { oid = info.oid; });
  if (found)
    QGuiApplication::clipboard()->setText(Q(oid));
}

void CWalkMIBPropertyPage::OnKillActive() {
  request_->Finish();
  operation_.StopWalk();
  StoreToApp();
}

void CWalkMIBPropertyPage::StoreToApp() {
  ReadControls();
  operation_.StoreTo(app_.WalkMib());
}

void CWalkMIBPropertyPage::StopOperations() {
  request_->Stop();
  operation_.StopWalk();
}

}  // namespace pages
