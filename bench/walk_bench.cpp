// walk_bench HOST PORT COMMUNITY [--bulk N|auto] [--v3 USER AUTH_PASSWORD PRIV_PASSWORD]
//
// With --v3 the walk speaks SNMPv3 as USER at authPriv with SHA-256 and AES-128 instead of v2c.
// Walks an agent from .1.3.6.1 with version 2c through the walk operation of the walkMIB page,
// with both logs registered and drained the way the window drains them: every 100 ms the
// pending rows are moved in and the rows in view are formatted as the panes paint them, and
// every 250 ms the results are counted as the page's list does. Prints the time the
// walk took and, as its last line, "objects N". Exits 0 when the walk completed.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>

#include "logs/event_log.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "ops/walk_mib_operation.h"
#include "util/runner.h"
#include "util/text.h"

namespace {

using Clock = std::chrono::steady_clock;

struct PrintingUi : app::IOperationUi {
  void ShowMessage(const std::wstring& text, app::MessageIcon, int) override {
    std::cerr << tvkutil::ToUtf8(text) << '\n';
  }
  bool AskYesNo(const std::wstring&, int) override { return true; }
};

// A pane scrolls to its newest row after each tick and paints the rows in view; this many fill
// a tall pane.
constexpr std::size_t kRowsInView = 40;

// One tick of both panes: the pending rows move in and the cells in view are formatted.
std::size_t DrainTick(logs::CEventLog& events, logs::CTransactionLog& transactions) {
  std::size_t chars = 0;
  if (events.MovePending().appended > 0) {
    const std::size_t n = events.ShownCount();
    for (std::size_t i = n - std::min(n, kRowsInView); i < n; ++i) {
      const logs::CEventEntry& entry = events.Shown(i);
      chars += logs::DateText(entry.stamp).size() + logs::TimeText(entry.stamp).size() +
               std::wstring(entry.text).size();
    }
  }
  if (transactions.MovePending().appended > 0) {
    const std::size_t n = transactions.ShownCount();
    for (std::size_t i = n - std::min(n, kRowsInView); i < n; ++i) {
      const logs::CTransactionRow& row = transactions.Shown(i);
      chars += std::wstring(row.text).size();
      if (row.first_row) {
        chars += logs::DateText(row.stamp).size() + logs::TimeText(row.stamp).size() +
                 logs::SourceColumnText(row).size();
      }
    }
  }
  return chars;
}

int Usage() {
  std::cerr << "usage: walk_bench HOST PORT COMMUNITY [--bulk N|auto] [--v3 USER AUTH_PASSWORD "
               "PRIV_PASSWORD]\n";
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4)
    return Usage();
  int bulk = 0;
  const char* v3[3] = {};
  for (int i = 4; i < argc; ++i) {
    if (std::strcmp(argv[i], "--bulk") == 0 && i + 1 < argc) {
      ++i;
      bulk = std::strcmp(argv[i], "auto") == 0 ? pages::kBulkAuto : std::atoi(argv[i]);
    } else if (std::strcmp(argv[i], "--v3") == 0 && i + 3 < argc) {
      for (const char*& field : v3)
        field = argv[++i];
    } else {
      return Usage();
    }
  }

  logs::CEventLog events;
  logs::CTransactionLog transactions;
  logs::RegisterEventLog(&events);
  logs::RegisterTransactionLog(&transactions);
  pages::CWalkMIBOperation walk{app::WalkMibSettings{}};
  std::size_t formatted = 0, listed = 0;
  // The window's thread: the logs every 100 ms, the list every 250 ms.
  std::jthread window([&](std::stop_token walked) {
    const auto start = Clock::now();
    auto next = start;
    auto next_list = start + std::chrono::milliseconds(250);
    for (;;) {
      next += std::chrono::milliseconds(100);
      const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
      if (tvkutil::SleepUnlessStopped(walked, std::max(wait, std::chrono::milliseconds(0))))
        break;
      formatted += DrainTick(events, transactions);
      if (Clock::now() >= next_list) {
        listed = walk.Results().Count();
        next_list += std::chrono::milliseconds(250);
      }
    }
  });

  pages::WalkMibForm& form = walk.Form();
  form.host = tvkutil::FromUtf8Lenient(argv[1]);
  form.version = L"2c";
  form.port_text = tvkutil::FromUtf8Lenient(argv[2]);
  form.community = tvkutil::FromUtf8Lenient(argv[3]);
  if (v3[0] != nullptr) {
    form.version = L"3";
    form.usm = {tvkutil::FromUtf8Lenient(v3[0]),
                L"authPriv",
                L"SHA-256",
                tvkutil::FromUtf8Lenient(v3[1]),
                L"AES",
                tvkutil::FromUtf8Lenient(v3[2]),
                L"Automatic",
                L"",
                L""};
  }
  form.start_oid = L".1.3.6.1";
  pages::WalkOptions options;
  options.udp.request_timeout_ms = 1000;
  options.udp.retries = 3;
  options.bulk_repetitions = bulk;

  PrintingUi ui;
  const auto start = Clock::now();
  if (!walk.BeginWalk(options, ui)) {
    window.request_stop();
    window.join();
    return 2;
  }
  walk.EndWalk();  // waits for the worker
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  window.request_stop();
  window.join();
  formatted += DrainTick(events, transactions);
  logs::RegisterEventLog(nullptr);
  logs::RegisterTransactionLog(nullptr);

  const std::size_t objects = walk.Results().Count();
  std::printf("status %s\n", tvkutil::ToUtf8(walk.FinalStatusLine()).c_str());
  std::printf("seconds %.3f\n", seconds);
  std::printf("objects/s %.0f\n", seconds > 0 ? static_cast<double>(objects) / seconds : 0.0);
  std::printf("listed at last tick %zu, log characters formatted %zu\n", listed, formatted);
  std::printf("objects %zu\n", objects);
  return walk.FinalStatus() == pages::WalkStatus::kComplete ? 0 : 1;
}
