#include "ui/pages/notifications_page.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QVBoxLayout>
#include <filesystem>

#include "logs/datagram_store.h"
#include "logs/log_entry_points.h"
#include "ops/operation_common.h"
#include "ops/results_file.h"
#include "ops/usm_fields.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "snmp/integer32.h"
#include "snmp/type_names.h"
#include "ui/logs/decoded_message_view.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/numeric_edit.h"
#include "ui/pages/form_controls_view.h"
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

constexpr int kPortTextLimit = 5;
constexpr int kTickMs = 250;
constexpr wchar_t kSection[] = L"Notifications";
constexpr wchar_t kPortKey[] = L"Port";
enum Column {
  kColTime,
  kColSource,
  kColVersion,
  kColCommunity,
  kColType,
  kColNotification,
  kColUpTime,
  kColBindings,
  kColumns
};

QString SourceText(const NotificationRow& row) {
  const bool v6 = row.source.find(L':') != std::wstring::npos;
  return (v6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2"))
      .arg(Q(row.source))
      .arg(row.source_port);
}

}  // namespace

// The filters by source and by notification: a row stays when its text holds what is typed.
class CNotificationFilter : public QSortFilterProxyModel {
 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;
  void SetTexts(const QString& source, const QString& notification) {
    source_ = source.trimmed();
    notification_ = notification.trimmed();
    invalidateFilter();
  }
  bool Filtering() const { return !source_.isEmpty() || !notification_.isEmpty(); }

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
    auto holds = [&](int column, const QString& text) {
      return text.isEmpty() || sourceModel()
                                   ->data(sourceModel()->index(row, column, parent))
                                   .toString()
                                   .contains(text, Qt::CaseInsensitive);
    };
    return holds(kColSource, source_) && holds(kColNotification, notification_);
  }

 private:
  QString source_;
  QString notification_;
};

CNotificationsPropertyPage::CNotificationsPropertyPage(app::CSondaraUtilityApp& app,
                                                       QWidget* parent)
    : CPropertyPage(app::kPageNotifications, QStringLiteral("&Notifications"), parent), app_(app) {
  BuildControls();
  port_->SetText(
      QString::number(app_.GetProfileInt(kSection, kPortKey, static_cast<int>(kNotificationPort))));
}

CNotificationsPropertyPage::~CNotificationsPropertyPage() {
  operation_.Stop();
  list_->StoreWidths(app_, kSection, kColumns);
  StoreToApp();
  // The table reads the operation's rows, which go before the children would.
  delete list_;
  list_ = nullptr;
}

QString CNotificationsPropertyPage::Named(const std::wstring& oid) {
  const std::wstring name = app::CMibNames::Instance().NameOf(oid);
  return Q(name.empty() ? oid : name);
}

void CNotificationsPropertyPage::BuildControls() {
  auto* settings = new QGroupBox(QStringLiteral("Receive Traps and Informs"), this);
  auto* grid = new QGridLayout(settings);
  port_ = new tvkutil::CNumericEdit(settings);
  port_->setObjectName(QStringLiteral("notificationsPort"));
  port_->SetTextLimit(kPortTextLimit);
  port_->setFixedWidth(port_->fontMetrics().horizontalAdvance(QStringLiteral("0000000")) + 12);
  listen_ = new QPushButton(QStringLiteral("&Listen"), settings);
  listen_->setObjectName(QStringLiteral("listenButton"));
  listen_->setAutoDefault(false);
  listen_->setFixedWidth(
      std::max(listen_->sizeHint().width(),
               listen_->fontMetrics().horizontalAdvance(tvkutil::UiText(ids::kStop)) + 24));
  source_filter_ = new QLineEdit(settings);
  source_filter_->setObjectName(QStringLiteral("notificationsSourceFilter"));
  trap_filter_ = new QLineEdit(settings);
  trap_filter_->setObjectName(QStringLiteral("notificationsTrapFilter"));
  AddRow(grid, 0, QStringLiteral("&Port:"), port_);
  grid->addWidget(listen_, 0, 2, Qt::AlignLeft);
  AddRow(grid, 1, QStringLiteral("So&urce filter:"), source_filter_);
  auto* trap_caption = new QLabel(QStringLiteral("Notif&ication filter:"), settings);
  trap_caption->setBuddy(trap_filter_);
  auto* trap_row = new QHBoxLayout;
  trap_row->addWidget(trap_caption);
  trap_row->addWidget(trap_filter_, 1);
  grid->addLayout(trap_row, 1, 2);
  grid->setColumnStretch(1, 1);
  grid->setColumnStretch(2, 1);

  const tvkutil::CPolledList<NotificationRow>& rows = operation_.Rows();
  list_ = app::CResultsTableView::Over(
      rows,
      [](const NotificationRow& row, std::size_t, int column) -> QString {
        const bool broken =
            row.kind == NotificationKind::kMalformed || row.kind == NotificationKind::kOther;
        switch (column) {
          case kColTime:
            return Q(NotificationTimeText(row.received));
          case kColSource:
            return SourceText(row);
          case kColVersion:
            return Q(row.version);
          case kColCommunity:
            return Q(row.community);
          case kColType:
            return Q(NotificationTypeText(row));
          case kColNotification:
            return Named(row.trap_oid);
          case kColUpTime:
            return row.sys_up_time ? Q(snmp::TimeTicksText(*row.sys_up_time)) : QString();
          default: {
            if (broken) {
              return row.kind == NotificationKind::kMalformed ? QStringLiteral("offset %1: %2")
                                                                    .arg(row.damage_offset)
                                                                    .arg(Q(row.problem))
                                                              : Q(row.problem);
            }
            QStringList bindings;
            for (const NotificationBinding& b : row.bindings)
              bindings << Named(b.oid) + QStringLiteral(" = ") + Q(b.value);
            return bindings.join(QStringLiteral("; "));
          }
        }
      },
      {QStringLiteral("Time"), QStringLiteral("Source"), QStringLiteral("Version"),
       QStringLiteral("Community/User"), QStringLiteral("Type"), QStringLiteral("Notification"),
       QStringLiteral("sysUpTime"), QStringLiteral("Bindings")},
      this);
  list_->setObjectName(QStringLiteral("notificationsList"));
  filter_ = new CNotificationFilter(this);
  filter_->setSourceModel(list_->Model());
  list_->setModel(filter_);
  list_->RestoreWidths(app_, kSection, kColumns);

  bindings_ = new QTableWidget(0, 3, this);
  bindings_->setObjectName(QStringLiteral("notificationBindings"));
  bindings_->setHorizontalHeaderLabels({tvkutil::UiText(ids::kColumnOid),
                                        tvkutil::UiText(ids::kColumnDataType),
                                        tvkutil::UiText(ids::kColumnValue)});
  bindings_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  bindings_->setSelectionBehavior(QAbstractItemView::SelectRows);
  bindings_->verticalHeader()->hide();
  bindings_->horizontalHeader()->setStretchLastSection(true);
  decoded_ = new logs::CDecodedMessageView(this);
  decoded_->setObjectName(QStringLiteral("notificationDecoded"));
  auto* below = new QSplitter(Qt::Horizontal, this);
  below->addWidget(bindings_);
  below->addWidget(decoded_);
  below->setChildrenCollapsible(false);
  auto* split = new QSplitter(Qt::Vertical, this);
  split->addWidget(list_);
  split->addWidget(below);
  split->setStretchFactor(0, 3);
  split->setStretchFactor(1, 2);
  split->setChildrenCollapsible(false);
  // A few rows of the list in view however small the window; the page scrolls for the rest.
  list_->setMinimumHeight(list_->horizontalHeader()->sizeHint().height() +
                          6 * list_->verticalHeader()->defaultSectionSize());

  counts_ = new QLabel(this);
  counts_->setObjectName(QStringLiteral("notificationsCounts"));
  // A long line must not widen the page beyond the screen.
  counts_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  save_ = new QPushButton(QStringLiteral("S&ave"), this);
  save_->setObjectName(QStringLiteral("notificationsSave"));
  clear_ = new QPushButton(QStringLiteral("Clea&r"), this);
  clear_->setObjectName(QStringLiteral("notificationsClear"));
  for (QPushButton* b : {save_, clear_})
    b->setAutoDefault(false);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(counts_, 1);
  bottom->addWidget(save_);
  bottom->addWidget(clear_);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(settings);
  layout->addWidget(split, 1);
  layout->addLayout(bottom);

  StartOnEnter(listen_, {port_}, [this] { return !listening_; });
  timer_ = new QTimer(this);
  timer_->setInterval(kTickMs);
  connect(timer_, &QTimer::timeout, this, &CNotificationsPropertyPage::OnTimer);
  connect(listen_, &QPushButton::clicked, this, &CNotificationsPropertyPage::OnListen);
  connect(save_, &QPushButton::clicked, this, &CNotificationsPropertyPage::OnSave);
  connect(clear_, &QPushButton::clicked, this, &CNotificationsPropertyPage::OnClear);
  for (QLineEdit* f : {source_filter_, trap_filter_}) {
    connect(f, &QLineEdit::textChanged, this,
            [this] { filter_->SetTexts(source_filter_->text(), trap_filter_->text()); });
  }
  connect(list_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          &CNotificationsPropertyPage::ShowSelected);
  connect(&app::CMibNames::Instance(), &app::CMibNames::ShownChanged, this, [this] {
    list_->viewport()->update();
    ShowSelected();
  });
  ShowCounts();
}

void CNotificationsPropertyPage::ShowListening(bool listening) {
  listening_ = listening;
  listen_->setText(listening ? tvkutil::UiText(ids::kStop) : QStringLiteral("&Listen"));
  port_->setEnabled(!listening);
  ShowRunningStatus(
      this, listening
                ? QStringLiteral("Notifications: listening on UDP port %1").arg(operation_.Port())
                : QString());
  if (listening)
    timer_->start();
}

void CNotificationsPropertyPage::OnListen() {
  if (listening_) {
    operation_.Stop();
    OnTimer();
    return;
  }
  const std::uint32_t port = tvkutil::WcsToU32(port_->text().toStdWString());
  if (port == 0 || port > 65535) {
    app::ShowMessageBox(this, QStringLiteral("Enter a UDP port from 1 to 65535."),
                        app::MessageIcon::kWarning);
    port_->setFocus();
    return;
  }
  StoreToApp();
  ListenRequest request;
  request.port = static_cast<std::uint16_t>(port);
  // SNMPv3 notifications come from the users the other pages speak as, with their passwords.
  for (const app::UsmSettings* usm :
       {&app_.GetSet().usm, &app_.WalkMib().usm, &app_.SendTrap().usm}) {
    const snmp::usm::UserSecurity user = UserSecurityOf(*usm);
    if (!user.user_name.empty() &&
        std::none_of(request.users.begin(), request.users.end(),
                     [&](const auto& u) { return u.user_name == user.user_name; }))
      request.users.push_back(user);
  }
  request.engine_id = NotificationEngineId(app_, true);
  const std::wstring why = operation_.Start(request, UdpSettingsFrom(app_.Network()));
  if (!why.empty()) {
    // The event log has the same words; the rows received so far stay.
    app::ShowMessageBox(this, Q(why), app::MessageIcon::kWarning);
    return;
  }
  ShowListening(true);
}

void CNotificationsPropertyPage::OnTimer() {
  // Finished is read before the rows are counted, so the last tick shows every row.
  const bool finished = operation_.Finished();
  list_->Poll();
  ShowCounts();
  if (!finished)
    return;
  timer_->stop();
  if (listening_)
    ShowListening(false);
}

void CNotificationsPropertyPage::ShowCounts() {
  QString text = QStringLiteral("%1, %2 malformed, %3 dropped by the kernel")
                     .arg(Q(NotificationCountText(operation_.Received())))
                     .arg(operation_.Malformed())
                     .arg(operation_.KernelDrops());
  if (operation_.LetGo() > 0)
    text += QStringLiteral("; the list keeps the newest %1, %2 let go")
                .arg(kMaxNotificationRows)
                .arg(operation_.LetGo());
  if (filter_->Filtering())
    text += QStringLiteral("; %1 shown").arg(filter_->rowCount());
  counts_->setText(text);
  save_->setEnabled(filter_->rowCount() > 0);
  clear_->setEnabled(list_->Model()->rowCount({}) > 0);
}

void CNotificationsPropertyPage::ShowSelected() {
  const QModelIndex current = filter_->mapToSource(list_->currentIndex());
  NotificationRow row;
  const bool found =
      current.isValid() && operation_.Rows().With(static_cast<std::size_t>(current.row()),
                                                  [&](const NotificationRow& r) { row = r; });
  bindings_->setRowCount(0);
  if (!found) {
    decoded_->ShowNote(QString());
    return;
  }
  bindings_->setRowCount(static_cast<int>(row.bindings.size()));
  for (int i = 0; const NotificationBinding& b : row.bindings) {
    bindings_->setItem(i, 0, new QTableWidgetItem(Named(b.oid)));
    bindings_->setItem(i, 1, new QTableWidgetItem(Q(snmp::TypeNameOfTag(b.tag))));
    // Labels and names as the other pages show them; the list keeps the numbers.
    std::wstring value = b.value;
    if (b.tag == snmp::kTagOid)
      value = Named(b.value).toStdWString();
    else if (b.tag == snmp::kTagInteger32)
      value = app::CMibNames::Instance().NamedValue(b.oid, snmp::CInteger32(b.value));
    bindings_->setItem(i, 2, new QTableWidgetItem(Q(value.empty() ? b.value : value)));
    ++i;
  }
  auto datagram = std::make_shared<logs::KeptDatagram>();
  datagram->direction = logs::kDirectionReceived;
  datagram->time_us =
      std::chrono::duration_cast<std::chrono::microseconds>(row.received.time_since_epoch())
          .count();
  datagram->bytes = std::move(row.bytes);
  decoded_->ShowDatagram(datagram);
}

std::vector<std::wstring> CNotificationsPropertyPage::ShownCsvRows() const {
  std::vector<std::wstring> lines;
  for (int i = 0; i < filter_->rowCount(); ++i) {
    const QModelIndex at = filter_->mapToSource(filter_->index(i, 0));
    operation_.Rows().With(static_cast<std::size_t>(at.row()), [&](const NotificationRow& row) {
      lines.push_back(NotificationCsvRow(row));
    });
  }
  return lines;
}

void CNotificationsPropertyPage::OnSave() {
  list_->Poll();
  const QString path =
      app::AskSavePath(this, app_, kSection, tvkutil::Folders().data_folder + "Notifications",
                       ids::kCsvFilter, ids::kCsvExtension);
  if (path.isEmpty())
    return;
  std::wstring text = NotificationCsvHeader();
  for (const std::wstring& line : ShownCsvRows())
    text += L"\n" + line;
  const std::error_code failed =
      WriteResultsFile(std::filesystem::path(path.toStdString()), tvkutil::ToUtf8(text + L"\n"));
  if (!failed) {
    logs::LogEvent(ids::kFileSaved, path.toStdWString());
    return;
  }
  app::ShowMessageBox(
      this,
      Q(tvkutil::WithReason(
          tvkutil::FormatN(tvkutil::LoadString(ids::kUnableToSave), SIZE_MAX, path.toStdWString()),
          failed)),
      app::MessageIcon::kWarning);
}

void CNotificationsPropertyPage::OnClear() {
  list_->Model()->Reset([this] { operation_.ClearRows(); });
  list_->Poll();
  ShowSelected();
  ShowCounts();
}

void CNotificationsPropertyPage::StoreToApp() {
  const std::uint32_t port = tvkutil::WcsToU32(port_->text().toStdWString());
  if (port > 0 && port <= 65535)
    app_.WriteProfileInt(kSection, kPortKey, static_cast<int>(port));
}

void CNotificationsPropertyPage::StopOperations() {
  operation_.Stop();
  if (listening_)
    OnTimer();
}

}  // namespace pages
