#include "ui/pages/ping_view.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include <string>
#include <utility>

#include "logs/log_entry_points.h"
#include "net/address.h"
#include "ops/ping_operation.h"
#include "settings/sondara_utility_app.h"
#include "ui/message_box_dialog.h"
#include "ui/pages/form_controls_view.h"
#include "ui/request_runner.h"
#include "util/string_table.h"

namespace pages {

CPingView::CPingView(app::CSondaraUtilityApp& app, QWidget* parent) : QWidget(parent), app_(app) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(15, 4, 8, 4);
  auto* label = new QLabel(QStringLiteral("&IP/Host:"), this);
  host_ = new QLineEdit(QString::fromStdWString(app_.Ping().host), this);
  host_->setObjectName(QStringLiteral("pingHost"));
  host_->setMinimumWidth(220);
  label->setBuddy(host_);
  ping_ = new QPushButton(QStringLiteral("&Ping"), this);
  ping_->setObjectName(QStringLiteral("pingButton"));
  layout->addWidget(label);
  layout->addWidget(host_);
  layout->addWidget(ping_);
  layout->addStretch();
  ping_->setAutoDefault(false);
  StartOnEnter(ping_, {host_});
  request_ = new app::CRequestRunner(this, {ping_});
  connect(ping_, &QPushButton::clicked, this, &CPingView::OnPing);
  if (!app_.IcmpAvailable()) {
    // Said once the event log pane exists and is registered.
    QTimer::singleShot(0, this, [] { logs::LogEvent(tvkutil::ids::kIcmpUnavailable); });
  }
}

void CPingView::ShowToolbar(bool show) {
  setVisible(show);
}

void CPingView::StoreToApp() {
  app_.Ping().host = host_->text().toStdWString();
}

void CPingView::StopPing() {
  request_->Stop();
}

void CPingView::OnPing() {
  if (request_->Running())
    return;
  StoreToApp();
  const auto& network = app_.Network();
  PingTarget target;
  target.host = app_.Ping().host;
  target.use_ipv6 = network.use_ipv6 != 0;
  target.ipv6_scope_id = network.adapter.is_ipv4 ? 0 : network.adapter.ipv6_scope_id;
  app::CMessageBoxUi ui(this);
  if (!CheckPingHost(target, ui))
    return;
  // The sent and reply rows reach the transaction log from the thread as they happen.
  // The resolver's reason is kept on the worker's thread; it travels back with the outcome.
  request_->Start(
      [target](std::stop_token stop) {
        const PingOutcome outcome = ResolveAndPing(target, logs::TransactionLogSink(), stop);
        return std::pair(outcome, net::LastLookupFailure());
      },
      [this, target](std::pair<PingOutcome, std::wstring> result) {
        app::CMessageBoxUi later(this);
        ReportPingOutcome(target, result.first, later, result.second);
        // The rows are in the transaction log; the event log says how it ended.
        if (result.first == PingOutcome::kReply)
          logs::LogEvent(tvkutil::ids::kRequestDone, std::wstring(L"Ping"), target.host);
        else if (result.first == PingOutcome::kNoReply)
          logs::LogEvent(tvkutil::ids::kPingNotAnswered, target.host);
      });
}

}  // namespace pages
