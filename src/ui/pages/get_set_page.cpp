#include "ui/pages/get_set_page.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "logs/log_entry_points.h"
#include "ops/operation_common.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "snmp/snmp_rules.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/numeric_edit.h"
#include "ui/pages/form_controls_view.h"
#include "ui/pages/usm_fields_view.h"
#include "ui/request_runner.h"
#include "util/string_table.h"

namespace pages {

namespace {

constexpr int kMaxHostLen = 128;
constexpr int kPortTextLimit = 5;
}  // namespace

CGetSetPropertyPage::CGetSetPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent)
    : CPropertyPage(app::kPageGetSet, QStringLiteral("&Get/Set"), parent),
      app_(app),
      operation_(app.GetSet()) {
  BuildControls();
  WriteControls();
}

CGetSetPropertyPage::~CGetSetPropertyPage() {
  request_->Finish();
  StoreToApp();
}

void CGetSetPropertyPage::BuildControls() {
  auto* device = new QGroupBox(QStringLiteral("Device"), this);
  host_ = new QLineEdit(device);
  host_->setObjectName(QStringLiteral("getSetHost"));
  host_->setMaxLength(kMaxHostLen);
  // Wide enough for an IPv6 address with its scope; a host name longer than that scrolls.
  host_->setMinimumWidth(host_->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 28);
  host_->setMaximumWidth(host_->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 46);
  version_ = ListCombo("getSetVersion", VersionNames(), device);
  port_ = new tvkutil::CNumericEdit(device);
  port_->setObjectName(QStringLiteral("getSetPort"));
  port_->SetTextLimit(kPortTextLimit);
  port_->setFixedWidth(port_->fontMetrics().horizontalAdvance(QStringLiteral("0000000")) + 12);
  auto* device_row = new QHBoxLayout(device);
  const auto add_captioned = [device_row](const QString& caption, QWidget* control, int stretch) {
    auto* label = new QLabel(caption);
    label->setBuddy(control);
    device_row->addWidget(label);
    device_row->addWidget(control, stretch);
    device_row->addSpacing(16);
  };
  add_captioned(QStringLiteral("&IP/Host:"), host_, 1);
  add_captioned(QStringLiteral("SNMP Ve&rsion:"), version_, 0);
  add_captioned(QStringLiteral("&Port:"), port_, 0);
  device_row->addStretch();

  auto* get_group = new QGroupBox(QStringLiteral("Get"), this);
  auto* get_grid = new QGridLayout(get_group);
  get_oid_ = HistoryCombo("getOid", get_group);
  get_oid_->lineEdit()->setMaxLength(static_cast<int>(snmp::kMaxOidTextLen));
  app::CMibNames::Instance().CompleteNamesIn(get_oid_);
  get_community_ = HistoryCombo("getCommunity", get_group);
  get_ = new QPushButton(QStringLiteral("&Get"), get_group);
  get_->setObjectName(QStringLiteral("getButton"));
  get_data_type_ = ListCombo("getDataType", DataTypeNames(DataTypeList::kReadable), get_group);
  get_data_type_->setEnabled(false);  // shows what was read; never chosen
  get_value_ = new QLineEdit(get_group);
  get_value_->setObjectName(QStringLiteral("getValue"));
  get_value_->setReadOnly(true);
  AddRow(get_grid, 0, QStringLiteral("&OID:"), get_oid_);
  AddRow(get_grid, 1, QStringLiteral("&Community:"), get_community_);
  get_grid->addWidget(get_, 1, 2);
  AddRow(get_grid, 2, QStringLiteral("Data&Type:"), get_data_type_);
  // Its box is never chosen, so its Alt+T would only stand in the way of the Tools menu's.
  get_grid->itemAtPosition(2, 0)->widget()->setEnabled(false);
  AddRow(get_grid, 3, QStringLiteral("Value/Resu&lt:"), get_value_);
  get_grid->addWidget(get_value_, 3, 1, 1, 2);  // values can be long: under the button too
  get_grid->setColumnStretch(1, 1);
  get_grid->setRowStretch(4, 1);

  auto* set_group = new QGroupBox(QStringLiteral("Set"), this);
  auto* set_grid = new QGridLayout(set_group);
  set_oid_ = HistoryCombo("setOid", set_group);
  set_oid_->lineEdit()->setMaxLength(static_cast<int>(snmp::kMaxOidTextLen));
  app::CMibNames::Instance().CompleteNamesIn(set_oid_);
  set_community_ = HistoryCombo("setCommunity", set_group);
  set_data_type_ = ListCombo("setDataType", DataTypeNames(DataTypeList::kSettable), set_group);
  set_value_ = new QLineEdit(set_group);
  set_value_->setObjectName(QStringLiteral("setValue"));
  set_ = new QPushButton(QStringLiteral("&Set"), set_group);
  set_->setObjectName(QStringLiteral("setButton"));
  AddRow(set_grid, 0, QStringLiteral("OI&D:"), set_oid_);
  AddRow(set_grid, 1, QStringLiteral("Co&mmunity:"), set_community_);
  AddRow(set_grid, 2, QStringLiteral("DataT&ype:"), set_data_type_);
  AddRow(set_grid, 3, QStringLiteral("Val&ue:"), set_value_);
  set_grid->addWidget(set_, 3, 2);
  set_grid->setColumnStretch(1, 1);
  set_grid->setRowStretch(4, 1);

  // The buttons sit in a column of their own; the same width keeps both halves aligned.
  const int button_width = std::max(get_->sizeHint().width(), set_->sizeHint().width());
  get_->setFixedWidth(button_width);
  set_->setFixedWidth(button_width);
  for (QPushButton* button : {get_, set_}) {
    // Outside a dialog Enter must not press a button behind the user's back.
    button->setAutoDefault(false);
    button->setDefault(false);
  }

  usm_ = new CUsmFieldsView(
      QStringLiteral("getSet"),
      {QStringLiteral("User &name:"), QStringLiteral("Se&curity level:")},  // Alt+C: no community
      app_.PasswordsOutliveRun(), this);

  auto* halves = new QHBoxLayout;
  halves->addWidget(get_group, 1);
  halves->addWidget(set_group, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(device);
  layout->addWidget(usm_);
  layout->addLayout(halves);
  layout->addStretch();

  // Enter in a field starts its half's command; the shared target fields start the Get, which
  // only reads.
  StartOnEnter(get_,
               QList<QWidget*>{host_, version_, port_, get_oid_, get_community_} + usm_->Inputs());
  StartOnEnter(set_, {set_oid_, set_community_, set_data_type_, set_value_});

  connect(version_, &QComboBox::currentIndexChanged, this, &CGetSetPropertyPage::ShowVersionFields);
  request_ = new app::CRequestRunner(this, {get_, set_});
  connect(get_, &QPushButton::clicked, this, &CGetSetPropertyPage::OnGet);
  connect(set_, &QPushButton::clicked, this, &CGetSetPropertyPage::OnSet);
}

void CGetSetPropertyPage::ReadControls() {
  GetSetForm& form = operation_.Form();
  form.host = host_->text().toStdWString();
  form.version = version_->currentText().toStdWString();
  form.port_text = port_->text().toStdWString();
  form.get_oid = get_oid_->currentText().toStdWString();
  form.get_community = get_community_->currentText().toStdWString();
  form.get_data_type = get_data_type_->currentText().toStdWString();
  form.get_value = get_value_->text().toStdWString();
  form.set_oid = set_oid_->currentText().toStdWString();
  form.set_community = set_community_->currentText().toStdWString();
  form.set_data_type = set_data_type_->currentText().toStdWString();
  form.set_value = set_value_->text().toStdWString();
  usm_->Read(form.usm);
}

void CGetSetPropertyPage::WriteControls() {
  const GetSetForm& form = operation_.Form();
  host_->setText(Q(form.host));
  SelectText(version_, form.version);
  port_->SetText(Q(form.port_text));
  FillHistory(get_oid_, form.get_oids, form.get_oid);
  FillHistory(get_community_, form.get_communities, form.get_community);
  FillHistory(set_oid_, form.set_oids, form.set_oid);
  FillHistory(set_community_, form.set_communities, form.set_community);
  SelectText(set_data_type_, form.set_data_type);
  set_value_->setText(Q(form.set_value));
  usm_->Write(form.usm);
  ShowGetResult();
  ShowVersionFields();
}

void CGetSetPropertyPage::ShowVersionFields() {
  const bool v3 = snmp::VersionIndex(version_->currentText().toStdWString()) == snmp::kSnmpVersion3;
  usm_->setVisible(v3);
  ShowWithCaption(get_community_, !v3);
  ShowWithCaption(set_community_, !v3);
}

void CGetSetPropertyPage::ShowGetResult() {
  const GetSetForm& form = operation_.Form();
  SelectText(get_data_type_, form.get_data_type);
  get_value_->setText(Q(form.get_value));
}

net::UdpSettings CGetSetPropertyPage::ExchangeSettings() const {
  return UdpSettingsFrom(app_.Network());
}

void CGetSetPropertyPage::MapFields(app::CMessageBoxUi& ui) {
  ui.MapField(kFieldHost, host_);
  ui.MapField(kFieldVersion, version_);
  ui.MapField(kFieldPort, port_);
  ui.MapField(kFieldGetOid, get_oid_);
  ui.MapField(kFieldGetCommunity, get_community_);
  ui.MapField(kFieldSetOid, set_oid_);
  ui.MapField(kFieldSetCommunity, set_community_);
  ui.MapField(kFieldSetDataType, set_data_type_);
  ui.MapField(kFieldSetValue, set_value_);
  usm_->MapFields(
      ui, {kFieldUsmUser, kFieldUsmAuthPassword, kFieldUsmPrivPassword, kFieldUsmContextEngineId});
}

void CGetSetPropertyPage::OnGet() {
  Start(GetSetMode::kGet);
}

void CGetSetPropertyPage::OnSet() {
  Start(GetSetMode::kSet);
}

bool CGetSetPropertyPage::RequestRunning() const {
  return request_->Running();
}

void CGetSetPropertyPage::Start(GetSetMode mode) {
  if (request_->Running())
    return;
  ReadControls();
  app::CMessageBoxUi ui(this);
  MapFields(ui);
  std::optional<GetSetRequest> request = operation_.Prepare(mode, ui);
  if (!request)
    return;
  request->names = app::CMibNames::Instance().Shown();
  if (mode == GetSetMode::kGet)
    ShowGetResult();  // emptied while the Get runs
  request_->Start(
      [this, request = *request, settings = ExchangeSettings()](std::stop_token stop) {
        return operation_.Exchange(request, settings, stop);
      },
      [this, request = *request](const GetSetReply& reply) {
        if (reply.outcome == RequestOutcome::kDone) {
          logs::LogEvent(tvkutil::ids::kRequestDone,
                         std::wstring(request.mode == GetSetMode::kGet ? L"Get" : L"Set"),
                         request.host);
        }
        operation_.Apply(request, reply);
        if (request.mode == GetSetMode::kGet) {
          ShowGetResult();
          SyncHistory(get_oid_, operation_.Form().get_oids);
          SyncHistory(get_community_, operation_.Form().get_communities);
        } else {
          SyncHistory(set_oid_, operation_.Form().set_oids);
          SyncHistory(set_community_, operation_.Form().set_communities);
        }
      });
}

void CGetSetPropertyPage::StopOperations() {
  request_->Stop();
}

void CGetSetPropertyPage::OnKillActive() {
  // The page is left only once its request is back, as a walk is stopped first.
  request_->Finish();
  StoreToApp();
}

void CGetSetPropertyPage::StoreToApp() {
  ReadControls();
  operation_.StoreTo(app_.GetSet());
}

}  // namespace pages
