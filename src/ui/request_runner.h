// CRequestRunner: runs one request of a page (a Get, a Set, a ping, a trap) on a thread of its
// own, so that the window repaints and its menus and other pages work while the request waits
// for the network, and hands the request's result back to the window's thread.
//
// While a request runs, the page shows the wait cursor (over that page only) and the controls
// named at construction are disabled: the button that started it and any other that would use
// the same request state. The work itself never touches a widget; the page checks its fields
// before it starts a request and shows the result in `deliver`, on the window's thread.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <mutex>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <vector>

#include "util/runner.h"

namespace app {

class CRequestRunner : public QObject {
  Q_OBJECT

 public:
  // `page` shows the wait cursor while a request runs; `controls` are disabled meanwhile.
  CRequestRunner(QWidget* page, QList<QWidget*> controls);
  // Waits for a running request; its result is not delivered any more.
  ~CRequestRunner() override;
  CRequestRunner(const CRequestRunner&) = delete;
  CRequestRunner& operator=(const CRequestRunner&) = delete;

  // Runs `work` (no widgets: any thread; given the stop token when it takes one) and then, on
  // the window's thread, `deliver` with what `work` returned. False, and nothing runs, while
  // another request of this runner runs. When no thread can be had, both run at once on the
  // window's thread.
  template <typename Work, typename Deliver>
  bool Start(Work work, Deliver deliver) {
    return StartJob(
        [work = std::move(work), deliver = std::move(deliver)](std::stop_token stop) mutable {
          auto result = [&] {
            if constexpr (std::is_invocable_v<Work&, std::stop_token>)
              return work(stop);
            else
              return work();
          }();
          return std::function<void()>(
              [deliver = std::move(deliver), result = std::move(result)]() mutable {
                deliver(std::move(result));
              });
        });
  }

  bool Running() const { return runner_.HasThread(); }
  // Leaving the page, removing it: waits for a running request (at most its time-outs) and
  // delivers its result now, so nothing it found is lost.
  void Finish();
  // Closing the window: asks a running request to stop, which ends its wait at once, then
  // Finish.
  void Stop();

 private:
  // Returns what is to run on the window's thread afterwards.
  using Job = std::function<std::function<void()>(std::stop_token)>;
  bool StartJob(Job job);
  void Deliver(unsigned generation);
  void ShowBusy(bool busy);

  QPointer<QWidget> page_;
  QList<QPointer<QWidget>> controls_;
  std::vector<bool> were_enabled_;
  QPointer<QWidget> had_focus_;
  QPointer<QWidget> focus_moved_to_;
  tvkutil::CRunner runner_;
  std::mutex mutex_;
  std::function<void()> pending_;  // set by the thread just before it ends
  unsigned generation_ = 0;        // which request a queued delivery belongs to
};

}  // namespace app
