#include "ui/pages/send_trap_page.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "logs/log_entry_points.h"
#include "net/adapter_table.h"
#include "ops/operation_common.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/numeric_edit.h"
#include "ui/pages/form_controls_view.h"
#include "ui/pages/usm_fields_view.h"
#include "ui/pages/var_bind_dialog.h"
#include "ui/request_runner.h"
#include "util/string_table.h"

namespace pages {

namespace {

constexpr int kMaxHostLen = 128;
constexpr int kPortTextLimit = 5;
constexpr int kSenderIpLen = 15;
constexpr int kVarBindNumTextLimit = 2;
constexpr int kSpecificTypeTextLimit = 5;
// Often enough that the hundredths visibly run, seldom enough to cost nothing.
constexpr int kTimeStampRefreshMs = 100;

QStringList TrapTypeNames() {
  QStringList names;
  for (std::wstring_view name : snmp::kGenericTrapNames)
    names << QString::fromStdWString(std::wstring(name));
  return names;
}

tvkutil::CNumericEdit* NumberBox(const char* object_name, int text_limit, int width_chars,
                                 QWidget* parent) {
  auto* edit = new tvkutil::CNumericEdit(parent);
  edit->setObjectName(QString::fromLatin1(object_name));
  edit->SetTextLimit(text_limit);
  edit->setFixedWidth(
      edit->fontMetrics().horizontalAdvance(QString(width_chars, QLatin1Char('0'))) + 12);
  return edit;
}

QLabel* BuddyLabel(const QString& text, QWidget* buddy) {
  auto* label = new QLabel(text);
  label->setBuddy(buddy);
  return label;
}

}  // namespace

CSendTrapPropertyPage::CSendTrapPropertyPage(app::CSondaraUtilityApp& app, QWidget* parent)
    : CPropertyPage(app::kPageSendTrap, QStringLiteral("&sendTrap"), parent),
      app_(app),
      operation_(app.SendTrap(), app.TrapVarBinds(),
                 [start = app.GetStartTime()] { return HundredthsSince(start); }) {
  operation_.SetSenderIpChoices(
      SenderIpChoices(net::CAdapterTable::Instance().IPv4Adapters(), app_.Network().adapter));
  BuildControls();
  WriteControls();
  time_stamp_timer_.setInterval(kTimeStampRefreshMs);
  connect(&time_stamp_timer_, &QTimer::timeout, this, &CSendTrapPropertyPage::ShowTimeStamp);
}

CSendTrapPropertyPage::~CSendTrapPropertyPage() {
  request_->Finish();
  StoreToApp();
}

void CSendTrapPropertyPage::BuildControls() {
  auto* device = new QGroupBox(QStringLiteral("Device"), this);
  host_ = new QLineEdit(device);
  host_->setObjectName(QStringLiteral("sendTrapHost"));
  host_->setMaxLength(kMaxHostLen);
  // Wide enough for an IPv6 address with its scope; a host name longer than that scrolls.
  host_->setMinimumWidth(host_->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 28);
  host_->setMaximumWidth(host_->fontMetrics().horizontalAdvance(QLatin1Char('0')) * 46);
  version_ = ListCombo("sendTrapVersion", VersionNames(), device);
  port_ = NumberBox("sendTrapPort", kPortTextLimit, 7, device);
  auto* device_row = new QHBoxLayout(device);
  for (auto [caption, control, stretch] :
       {std::tuple<QString, QWidget*, int>{QStringLiteral("&IP/Host:"), host_, 1},
        {QStringLiteral("SNMP Ve&rsion:"), version_, 0},
        {QStringLiteral("&Port:"), port_, 0}}) {
    device_row->addWidget(BuddyLabel(caption, control));
    device_row->addWidget(control, stretch);
    device_row->addSpacing(16);
  }
  device_row->addStretch();

  auto* trap = new QGroupBox(QStringLiteral("Send Trap"), this);
  use_default_ = new QCheckBox(QStringLiteral("Use defau&lt"), trap);
  use_default_->setObjectName(QStringLiteral("useDefault"));
  sender_ip_ = HistoryCombo("senderIp", trap);
  sender_ip_->lineEdit()->setMaxLength(kSenderIpLen);
  sender_oid_ = HistoryCombo("senderOid", trap);
  sender_oid_->lineEdit()->setMaxLength(static_cast<int>(snmp::kMaxOidTextLen));
  app::CMibNames::Instance().CompleteNamesIn(sender_oid_);
  community_ = HistoryCombo("trapCommunity", trap);
  varbind_num_ = NumberBox("varBindNum", kVarBindNumTextLimit, 4, trap);
  edit_varbinds_ = new QPushButton(QStringLiteral("Edit V&arbinds"), trap);
  edit_varbinds_->setObjectName(QStringLiteral("editVarBinds"));
  time_stamp_ = new QLineEdit(trap);
  time_stamp_->setObjectName(QStringLiteral("timeStamp"));
  time_stamp_->setReadOnly(true);  // the clock writes here; a trap always takes the time it leaves
  // Ten digits: the most a 32-bit count of hundredths (497 days) needs.
  time_stamp_->setFixedWidth(
      time_stamp_->fontMetrics().horizontalAdvance(QStringLiteral("000000000000")) + 12);
  trap_type_ = ListCombo("trapType", TrapTypeNames(), trap);
  specific_type_ = NumberBox("specificType", kSpecificTypeTextLimit, 7, trap);
  send_ = new QPushButton(QStringLiteral("&Send Trap"), trap);
  send_->setObjectName(QStringLiteral("sendTrapButton"));
  for (QPushButton* button : {edit_varbinds_, send_}) {
    // Outside a dialog Enter must not press a button behind the user's back.
    button->setAutoDefault(false);
    button->setDefault(false);
  }

  // Left: what only a v1 trap carries; right: what every trap carries.
  auto* grid = new QGridLayout(trap);
  grid->addWidget(use_default_, 0, 0, 1, 2);
  AddRow(grid, 1, QStringLiteral("Se&nder IP:"), sender_ip_);
  AddRow(grid, 2, QStringLiteral("Sender &OID:"), sender_oid_);
  AddRow(grid, 3, QStringLiteral("Trap T&ype:"), trap_type_);
  AddRow(grid, 4, QStringLiteral("Specifi&c Type:"), specific_type_);
  grid->setColumnMinimumWidth(2, 16);
  grid->addWidget(BuddyLabel(QStringLiteral("Comm&unity:"), community_), 1, 3);
  grid->addWidget(community_, 1, 4, 1, 2);
  grid->addWidget(BuddyLabel(QStringLiteral("Var&Bind#:"), varbind_num_), 2, 3);
  auto* varbinds = new QHBoxLayout;
  varbinds->addWidget(varbind_num_);
  varbinds->addWidget(edit_varbinds_);
  varbinds->addStretch();
  grid->addLayout(varbinds, 2, 4, 1, 2);
  grid->addWidget(BuddyLabel(QStringLiteral("Ti&mestamp:"), time_stamp_), 3, 3);
  grid->addWidget(time_stamp_, 3, 4);
  grid->addWidget(send_, 4, 4, 1, 2, Qt::AlignRight);
  grid->setColumnStretch(1, 3);
  grid->setColumnStretch(4, 2);
  grid->setRowStretch(5, 1);
  // Short lists: a type name and a specific number need no full-width field.
  trap_type_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  specific_type_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

  usm_ = new CUsmFieldsView(
      QStringLiteral("sendTrap"),
      // "Se&nder IP:" and "Specifi&c Type:" keep their letters; Comm&unity's is free.
      {QStringLiteral("&User name:"), QStringLiteral("Security level:")},
      app_.PasswordsOutliveRun(), this);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(device);
  layout->addWidget(trap);
  layout->addWidget(usm_);
  layout->addStretch();

  connect(use_default_, &QCheckBox::clicked, this, &CSendTrapPropertyPage::OnUseDefault);
  connect(version_, &QComboBox::currentIndexChanged, this, [this] {
    // VarBind#'s default and the fields that mean something follow the version.
    ReadControls();
    if (operation_.Form().use_default)
      OnUseDefault();
    UpdateEnabling();
  });
  StartOnEnter(send_, QList<QWidget*>{host_, version_, port_, sender_ip_, sender_oid_, community_,
                                      varbind_num_, trap_type_, specific_type_} +
                          usm_->Inputs());
  // The request id of a v2c trap is taken when it is checked, so only the one button waits.
  request_ = new app::CRequestRunner(this, {send_});
  connect(edit_varbinds_, &QPushButton::clicked, this, &CSendTrapPropertyPage::OnEditVarBinds);
  connect(send_, &QPushButton::clicked, this, &CSendTrapPropertyPage::OnSendTrap);
}

void CSendTrapPropertyPage::ReadControls() {
  SendTrapForm& form = operation_.Form();
  form.host = host_->text().toStdWString();
  form.version = version_->currentText().toStdWString();
  form.port_text = port_->text().toStdWString();
  form.use_default = use_default_->isChecked();
  form.sender_ip = sender_ip_->currentText().toStdWString();
  form.sender_oid = sender_oid_->currentText().toStdWString();
  form.community = community_->currentText().toStdWString();
  form.varbind_num_text = varbind_num_->text().toStdWString();
  form.trap_type = trap_type_->currentText().toStdWString();
  form.specific_type_text = specific_type_->text().toStdWString();
  usm_->Read(form.usm);
}

void CSendTrapPropertyPage::WriteControls() {
  const SendTrapForm& form = operation_.Form();
  host_->setText(Q(form.host));
  {
    // Selecting the stored version is no change of the user's.
    const QSignalBlocker quiet(version_);
    SelectText(version_, form.version);
  }
  port_->SetText(Q(form.port_text));
  use_default_->setChecked(form.use_default);
  FillHistory(sender_ip_, form.sender_ips, form.sender_ip);
  FillHistory(sender_oid_, form.sender_oids, form.sender_oid);
  FillHistory(community_, form.communities, form.community);
  varbind_num_->SetText(Q(form.varbind_num_text));
  SelectText(trap_type_, form.trap_type);
  specific_type_->SetText(Q(form.specific_type_text));
  usm_->Write(form.usm);
  UpdateEnabling();
  ShowTimeStamp();
}

void CSendTrapPropertyPage::UpdateEnabling() {
  const bool v1 = operation_.V1FieldsEnabled();
  for (QWidget* field :
       std::initializer_list<QWidget*>{sender_ip_, sender_oid_, trap_type_, specific_type_})
    field->setEnabled(v1);
  usm_->setVisible(operation_.V3());
  ShowWithCaption(community_, !operation_.V3());
}

void CSendTrapPropertyPage::ShowTimeStamp() {
  time_stamp_->setText(QString::number(operation_.TimeStamp()));
}

void CSendTrapPropertyPage::MapFields(app::CMessageBoxUi& ui) {
  ui.MapField(kFieldTrapHost, host_);
  ui.MapField(kFieldTrapVersion, version_);
  ui.MapField(kFieldTrapPort, port_);
  ui.MapField(kFieldSenderIp, sender_ip_);
  ui.MapField(kFieldSenderOid, sender_oid_);
  ui.MapField(kFieldTrapCommunity, community_);
  ui.MapField(kFieldVarBindNum, varbind_num_);
  ui.MapField(kFieldTrapType, trap_type_);
  ui.MapField(kFieldSpecificType, specific_type_);
  usm_->MapFields(ui, {kFieldTrapUsmUser, kFieldTrapUsmAuthPassword, kFieldTrapUsmPrivPassword,
                       kFieldTrapUsmContextEngineId});
}

void CSendTrapPropertyPage::OnUseDefault() {
  ReadControls();
  if (operation_.Form().use_default)
    operation_.ApplyDefaults();
  WriteControls();
}

void CSendTrapPropertyPage::OnEditVarBinds() {
  ReadControls();
  operation_.PrepareVarBindsForEditing();
  CVarBindDialog dialog(app_.TrapVarBinds(), operation_.Version2c(), operation_.ListLock(), this);
  if (dialog.exec() != QDialog::Accepted)
    return;
  operation_.VarBindsEdited();
  varbind_num_->SetText(Q(operation_.Form().varbind_num_text));
}

void CSendTrapPropertyPage::OnSendTrap() {
  if (request_->Running())
    return;
  ReadControls();
  app::CMessageBoxUi ui(this);
  MapFields(ui);
  const std::optional<TrapRequest> request = operation_.Validate(ui);
  if (!request)
    return;
  // "Use &default" may have put its values in.
  WriteControls();
  request_->Start(
      [this, request = *request, settings = UdpSettingsFrom(app_.Network())] {
        return operation_.Send(request, settings);
      },
      [this, request = *request](TrapOutcome outcome) {
        if (outcome != TrapOutcome::kSent)
          return;
        logs::LogEvent(tvkutil::ids::kTrapSent, request.host);
        // A sent trap's texts join the histories; what was typed meanwhile stays.
        ReadControls();
        operation_.Remember(request);
        WriteControls();
      });
}

void CSendTrapPropertyPage::StopOperations() {
  request_->Stop();
}

void CSendTrapPropertyPage::OnSetActive() {
  ReadControls();
  // The Options may have chosen another adapter since the page last showed.
  operation_.SetSenderIpChoices(
      SenderIpChoices(net::CAdapterTable::Instance().IPv4Adapters(), app_.Network().adapter));
  FillHistory(sender_ip_, operation_.Form().sender_ips, operation_.Form().sender_ip);
  ShowTimeStamp();
  time_stamp_timer_.start();
}

void CSendTrapPropertyPage::OnKillActive() {
  request_->Finish();
  time_stamp_timer_.stop();
  StoreToApp();
}

void CSendTrapPropertyPage::StoreToApp() {
  // A trap on its way writes its fixed entries into the list the settings are about to read.
  request_->Finish();
  ReadControls();
  operation_.StoreTo(app_.SendTrap());
}

}  // namespace pages
