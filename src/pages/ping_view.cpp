#include "pages/ping_view.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/sondara_utility_app.h"

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
  connect(ping_, &QPushButton::clicked, this, &CPingView::OnPing);
}

void CPingView::ShowToolbar(bool show) { setVisible(show); }

void CPingView::StoreToApp() { app_.Ping().host = host_->text().toStdWString(); }

void CPingView::OnPing() {}

}  // namespace pages
