#include "logs/transaction_log_view.h"

namespace logs {

CTransactionLogView::CTransactionLogView(app::CSondaraUtilityApp& app, QWidget* parent) : QWidget(parent), app_(app) {}

}  // namespace logs
