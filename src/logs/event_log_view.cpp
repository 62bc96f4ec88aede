#include "logs/event_log_view.h"

namespace logs {

CEventLogView::CEventLogView(app::CSondaraUtilityApp& app, QWidget* parent) : QWidget(parent), app_(app) {}

}  // namespace logs
