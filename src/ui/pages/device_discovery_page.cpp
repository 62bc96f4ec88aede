#include "ui/pages/device_discovery_page.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "logs/log_entry_points.h"
#include "ops/operation_common.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "ui/message_box_dialog.h"
#include "ui/pages/form_controls_view.h"
#include "ui/save_file_dialog.h"
#include "ui/text_conversion.h"
#include "util/app_folders.h"
#include "util/file_replace.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

constexpr wchar_t kSection[] = L"Device Discovery";
// Whether "&Fast sweep" is ticked, kept in the profile beside the column widths.
constexpr wchar_t kFastSweepKey[] = L"FastSweep";
constexpr int kColumns = 3;
constexpr int kTimerMs = 50;
// A dotted IPv4 address is at most 15 characters; the settings keep at most 63.
constexpr int kAddressTextLimit = 63;

}  // namespace

CDeviceDiscoveryPropertyPage::CDeviceDiscoveryPropertyPage(app::CSondaraUtilityApp& app,
                                                           QWidget* parent, ProbeFactory probes)
    : CPropertyPage(app::kPageDeviceDiscovery, QStringLiteral("&Device Discovery"), parent),
      app_(app),
      operation_(app.Discovery(), logs::EventLogSink(), logs::TransactionLogSink(),
                 std::move(probes)) {
  BuildControls();
  start_->setText(Q(operation_.Form().start_ip));
  end_->setText(Q(operation_.Form().end_ip));
  fast_->setChecked(app_.GetProfileInt(kSection, kFastSweepKey, 0) != 0);
  list_->RestoreWidths(app_, kSection, kColumns);
  timer_.setInterval(kTimerMs);
  connect(&timer_, &QTimer::timeout, this, &CDeviceDiscoveryPropertyPage::OnTimer);
}

CDeviceDiscoveryPropertyPage::~CDeviceDiscoveryPropertyPage() {
  timer_.stop();
  list_->StoreWidths(app_, kSection, kColumns);
  operation_.Stop();
  StoreToApp();
  delete list_;  // its cells read the devices, which go with the operation before the children
}

void CDeviceDiscoveryPropertyPage::BuildControls() {
  auto* settings = new QGroupBox(QStringLiteral("Discovery Settings"), this);
  start_ = new QLineEdit(settings);
  start_->setObjectName(QStringLiteral("startIp"));
  end_ = new QLineEdit(settings);
  end_->setObjectName(QStringLiteral("endIp"));
  for (QLineEdit* edit : {start_, end_}) {
    edit->setMaxLength(kAddressTextLimit);
    edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(QStringLiteral("000.000.000.000")) +
                        16);
  }
  begin_ = new QPushButton(tvkutil::UiText(tvkutil::ids::kBeginDiscovery), settings);
  begin_->setObjectName(QStringLiteral("beginDiscovery"));
  // Wide enough for either caption, so the button does not jump when it changes.
  begin_->setMinimumWidth(
      std::max(begin_->sizeHint().width(),
               begin_->fontMetrics().horizontalAdvance(
                   tvkutil::UiText(tvkutil::ids::kStop).remove(QLatin1Char('&'))) +
                   24));
  fast_ = new QCheckBox(QStringLiteral("Fast s&weep"), settings);
  fast_->setObjectName(QStringLiteral("fastSweep"));
  fast_->setToolTip(QStringLiteral(
      "Probe the next address every 10 ms without waiting for the last one's reply"));

  auto* row = new QHBoxLayout(settings);
  const auto add_captioned = [row](const QString& caption, QWidget* control) {
    auto* label = new QLabel(caption);
    label->setBuddy(control);
    row->addWidget(label);
    row->addWidget(control);
    row->addSpacing(16);
  };
  add_captioned(QStringLiteral("&Starting IP Address:"), start_);
  add_captioned(QStringLiteral("E&nding IP Address:"), end_);
  // The box under the button, so the row still fits an 800 pixel wide screen.
  auto* command = new QVBoxLayout;
  command->addWidget(begin_);
  command->addWidget(fast_);
  row->addLayout(command);
  row->addStretch();

  list_ = app::CResultsTableView::Over(
      operation_.Devices(),
      [](const CDeviceInfo& device, std::size_t index, int column) {
        switch (column) {
          case 0:
            return QString::number(index + 1);
          case 1:
            return Q(device.ip);
          default:
            return Q(device.description);
        }
      },
      {tvkutil::UiText(tvkutil::ids::kColumnNumber), tvkutil::UiText(tvkutil::ids::kColumnIp),
       tvkutil::UiText(tvkutil::ids::kColumnDescription)},
      this);
  list_->setObjectName(QStringLiteral("discoveryList"));

  save_ = new QPushButton(QStringLiteral("S&ave Results"), this);
  save_->setObjectName(QStringLiteral("saveResults"));
  save_->setEnabled(false);
  for (QPushButton* button : {begin_, save_}) {
    // Outside a dialog Enter must not press a button behind the user's back.
    button->setAutoDefault(false);
    button->setDefault(false);
  }

  // Hidden until the first sweep.
  progress_bar_ = new QProgressBar(this);
  progress_bar_->setObjectName(QStringLiteral("sweepProgress"));
  progress_bar_->setRange(0, 100);
  progress_bar_->setMaximumWidth(160);
  progress_bar_->hide();
  progress_line_ = new QLabel(this);
  progress_line_->setObjectName(QStringLiteral("sweepProgressLine"));
  // A long line must not widen the page beyond the screen.
  progress_line_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

  auto* save_row = new QHBoxLayout;
  save_row->addWidget(progress_bar_);
  save_row->addWidget(progress_line_, 1);
  save_row->addWidget(save_);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(settings);
  layout->addWidget(list_, 1);
  layout->addLayout(save_row);

  // Enter in an address starts a sweep; while one runs it does nothing (the button reads
  // "St&op" then).
  StartOnEnter(begin_, {start_, end_}, [this] { return idle_; });
  connect(begin_, &QPushButton::clicked, this, &CDeviceDiscoveryPropertyPage::OnBeginStop);
  connect(save_, &QPushButton::clicked, this, &CDeviceDiscoveryPropertyPage::OnSaveResults);
  connect(fast_, &QCheckBox::toggled, this,
          [this](bool on) { app_.WriteProfileInt(kSection, kFastSweepKey, on ? 1 : 0); });
}

void CDeviceDiscoveryPropertyPage::ReadControls() {
  operation_.Form().start_ip = start_->text().toStdWString();
  operation_.Form().end_ip = end_->text().toStdWString();
}

void CDeviceDiscoveryPropertyPage::ShowRunning(bool running) {
  begin_->setText(tvkutil::UiText(running ? tvkutil::ids::kStop : tvkutil::ids::kBeginDiscovery));
  start_->setEnabled(!running);
  end_->setEnabled(!running);
  fast_->setEnabled(!running);
  if (running)
    save_->setEnabled(false);
}

void CDeviceDiscoveryPropertyPage::OnBeginStop() {
  begin_->setEnabled(false);
  idle_ = !idle_;
  if (idle_) {
    // A sweep was running: stop it and show the idle page at once rather than a tick later.
    {
      app::CWaitCursor wait;
      operation_.Stop();
    }
    OnTimer();
  } else {
    ReadControls();
    app::CMessageBoxUi ui(this);
    ui.MapField(kFieldStartIp, start_);
    ui.MapField(kFieldEndIp, end_);
    const app::NetworkSettings& network = app_.Network();
    if (operation_.Begin({.timeout_ms = network.request_timeout_ms,
                          .retries = network.retries,
                          .fast = fast_->isChecked()},
                         ui)) {
      ShowRunning(true);
      progress_bar_->show();
      ShowRunningStatus(
          this,
          QStringLiteral("Device Discovery: sweeping %1 to %2").arg(start_->text(), end_->text()));
      timer_.start();
    } else {
      idle_ = true;
    }
  }
  begin_->setEnabled(true);
}

void CDeviceDiscoveryPropertyPage::ShowProgress() {
  const ProgressSnapshot progress = operation_.Progress();
  progress_bar_->setValue(progress.total == 0 ? 100 : ProgressPercent(progress));
  progress_line_->setText(Q(SweepProgressLine(progress)));
}

void CDeviceDiscoveryPropertyPage::OnTimer() {
  // Finished is read first, so the last tick shows the whole sweep.
  const bool finished = operation_.Finished();
  list_->Poll();
  ShowProgress();
  if (!finished) {
    begin_->setText(tvkutil::UiText(tvkutil::ids::kStop));
    return;
  }
  ShowRunningStatus(this, {});
  ShowRunning(false);
  idle_ = true;
  save_->setEnabled(operation_.Devices().Count() > 0);
  timer_.stop();
  operation_.Join();
}

void CDeviceDiscoveryPropertyPage::OnSaveResults() {
  const QString path =
      app::AskSavePath(this, app_, kSection, tvkutil::Folders().device_discovery_folder,
                       tvkutil::ids::kCsvFilter, tvkutil::ids::kCsvExtension);
  if (path.isEmpty())
    return;
  const std::error_code failed = operation_.SaveResults(path.toStdString());
  if (!failed) {
    logs::LogEvent(tvkutil::ids::kFileSaved, path.toStdWString());
    return;
  }
  app::ShowMessageBox(
      this,
      Q(tvkutil::WithReason(tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kUnableToSave),
                                             SIZE_MAX, path.toStdWString()),
                            failed)),
      app::MessageIcon::kWarning);
}

void CDeviceDiscoveryPropertyPage::StoreToApp() {
  ReadControls();
  operation_.StoreTo(app_.Discovery());
}

void CDeviceDiscoveryPropertyPage::StopOperations() {
  if (idle_)
    return;
  operation_.Stop();
  OnTimer();
}

}  // namespace pages
