#include "ui/request_runner.h"

#include <QApplication>
#include <memory>

namespace app {

CRequestRunner::CRequestRunner(QWidget* page, QList<QWidget*> controls)
    : QObject(page), page_(page) {
  for (QWidget* control : controls)
    controls_.append(control);
}

CRequestRunner::~CRequestRunner() {
  // The page is going: whatever the request found has nowhere to go.
  runner_.Join();
}

bool CRequestRunner::StartJob(Job job) {
  if (runner_.HasThread())
    return false;
  const unsigned generation = ++generation_;
  // Shared, so that the job is still here to run when no thread can be had.
  const auto shared_job = std::make_shared<Job>(std::move(job));
  const bool started = runner_.Start([this, shared_job, generation](std::stop_token stop) {
    std::function<void()> deliver;
    try {
      deliver = (*shared_job)(stop);
    } catch (...) {
      // The operations turn their own failures into log lines; anything else leaves the
      // page as it was before the click.
    }
    {
      const std::lock_guard hold(mutex_);
      pending_ = std::move(deliver);
    }
    // Queued: runs on the window's thread once it is free, never inside the thread.
    QMetaObject::invokeMethod(
        this, [this, generation] { Deliver(generation); }, Qt::QueuedConnection);
  });
  if (!started) {
    // No thread to be had: the request runs here, as it always could.
    std::function<void()> deliver = (*shared_job)({});
    if (deliver)
      deliver();
    return true;
  }
  ShowBusy(true);
  return true;
}

void CRequestRunner::Deliver(unsigned generation) {
  // Finish may have delivered already; its queued call then finds nothing to do.
  if (generation != generation_ || !runner_.HasThread())
    return;
  runner_.Join();
  std::function<void()> deliver;
  {
    const std::lock_guard hold(mutex_);
    deliver = std::move(pending_);
  }
  ShowBusy(false);
  if (deliver)
    deliver();
}

void CRequestRunner::Finish() {
  if (runner_.HasThread())
    Deliver(generation_);
}

void CRequestRunner::Stop() {
  runner_.RequestStop();
  Finish();
}

void CRequestRunner::ShowBusy(bool busy) {
  if (busy) {
    were_enabled_.clear();
    had_focus_ = nullptr;
    for (const QPointer<QWidget>& control : controls_) {
      were_enabled_.push_back(control && control->isEnabled());
      if (control && control->hasFocus())
        had_focus_ = control;
      if (control)
        control->setEnabled(false);
    }
    // A disabled button hands its focus on; it gets it back unless the user moved it meanwhile.
    focus_moved_to_ = had_focus_ ? QApplication::focusWidget() : nullptr;
    if (page_)
      page_->setCursor(Qt::WaitCursor);
    return;
  }
  for (qsizetype i = 0; i < controls_.size(); ++i) {
    if (controls_[i] && were_enabled_.at(static_cast<std::size_t>(i)))
      controls_[i]->setEnabled(true);
  }
  if (had_focus_ && QApplication::focusWidget() == focus_moved_to_)
    had_focus_->setFocus(Qt::OtherFocusReason);
  if (page_)
    page_->unsetCursor();
}

}  // namespace app
